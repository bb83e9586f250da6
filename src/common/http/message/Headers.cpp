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

Headers::const_iterator find(const Headers& headers, const blocxx::String& name)
{
    return std::find_if(headers.begin(), headers.end(),
                        [&name](const Header& header) { return header.name.equalsIgnoreCase(name); });
}

} // namespace

Headers::Headers() : m_headers(noHeaders()) {}

Headers::Headers(std::initializer_list<Header> lines)
    : m_headers(blocxx::COWReference<std::vector<Header>>::make(lines.begin(), lines.end()))
{
}

blocxx::String Headers::getHeaderValue(const blocxx::String& name) const
{
    const const_iterator found = find(*this, name);
    return found == end() ? blocxx::String() : found->value;
}

bool Headers::has(const blocxx::String& name) const
{
    return find(*this, name) != end();
}

blocxx::Array<blocxx::String> Headers::getAll(const blocxx::String& name) const
{
    blocxx::Array<blocxx::String> values;
    for (const Header& header : *this)
    {
        if (header.name.equalsIgnoreCase(name))
        {
            values.push_back(header.value);
        }
    }
    return values;
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
