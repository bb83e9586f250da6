#include "HTTPContent/OctetStreamType.hpp"
#include "HTTPContent/OwnState.hpp"

#include "zol/mime/OctetStreamContent.hpp"

#include <algorithm>
#include <cstring>
#include <limits>

namespace ZOLNS2::MIME
{

ApplicationOctetStreamContentStreamState::~ApplicationOctetStreamContentStreamState() = default;

ApplicationOctetStreamContent::ApplicationOctetStreamContent(const blocxx::Array<unsigned char>& bytes) : m_data(bytes)
{
}

ApplicationOctetStreamContent::ApplicationOctetStreamContent(const char* bytes, size_t length)
    : m_data(reinterpret_cast<const unsigned char*>(bytes), reinterpret_cast<const unsigned char*>(bytes) + length)
{
}

ApplicationOctetStreamContent::~ApplicationOctetStreamContent() = default;

ContentTypeHeader ApplicationOctetStreamContent::getContentType()
{
    return octetStreamType();
}

bool ApplicationOctetStreamContent::hasContentLength()
{
    return true;
}

size_t ApplicationOctetStreamContent::getContentLength()
{
    return m_data.size();
}

size_t ApplicationOctetStreamContent::getData(char* buf, size_t len, const ContentStreamStateRef& state)
{
    auto& own = ownState<ApplicationOctetStreamContentStreamState>(state);
    // Read through a constant view: the bytes are not changed, so they need not be unshared.
    const blocxx::Array<unsigned char>& data = m_data;
    if (own.position >= data.size())
    {
        return std::numeric_limits<size_t>::max();
    }
    const size_t count = std::min(len, data.size() - own.position);
    if (count > 0)
    {
        std::memcpy(buf, &data[own.position], count);
        own.position += count;
    }
    return count;
}

ContentStreamStateRef ApplicationOctetStreamContent::createInitialStreamState() const
{
    return ContentStreamStateRef(new ApplicationOctetStreamContentStreamState);
}

} // namespace ZOLNS2::MIME
