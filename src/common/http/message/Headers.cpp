#include "zol/http/Headers.hpp"

#include "message/WireText.hpp"

#include <algorithm>
#include <ostream>
#include <string>

namespace ZOLNS2::HTTP
{

namespace
{

// What most heads need, so that their lines are stored with one allocation.
constexpr size_t FIRST_CAPACITY = 8;

/// What all new collections share. It is never destroyed, so that one can be made at any time of a process's life.
const blocxx::COWReference<std::vector<Header>>& noHeaders()
{
    static const auto* const none =
        new blocxx::COWReference<std::vector<Header>>(blocxx::COWReference<std::vector<Header>>::make());
    return *none;
}

} // namespace

Headers::Headers() : m_headers(noHeaders()) {}

blocxx::String Headers::getHeaderValue(const blocxx::String& name) const
{
    const auto found =
        std::find_if(begin(), end(), [&name](const Header& header) { return header.name.equalsIgnoreCase(name); });
    return found == end() ? blocxx::String() : found->value;
}

void Headers::addHeader(const blocxx::String& name, const blocxx::String& value)
{
    // Before anything else: name and value may lie in the vector that is about to grow.
    Header header(name, value);
    std::vector<Header>& headers = *m_headers;
    if (headers.capacity() == 0)
    {
        headers.reserve(FIRST_CAPACITY);
    }
    headers.push_back(std::move(header));
}

// Unformatted writes: a width left on the stream must not pad a line on the wire.
std::ostream& operator<<(std::ostream& out, const Header& header)
{
    std::string text;
    appendWireText(text, header);
    return out.write(text.data(), static_cast<std::streamsize>(text.size()));
}

std::ostream& operator<<(std::ostream& out, const Headers& headers)
{
    std::string text;
    appendWireText(text, headers);
    return out.write(text.data(), static_cast<std::streamsize>(text.size()));
}

} // namespace ZOLNS2::HTTP
