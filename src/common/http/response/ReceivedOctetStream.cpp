#include "response/ReceivedOctetStream.hpp"

#include "content/OwnState.hpp"

#include <algorithm>
#include <utility>

namespace ZOLNS2::HTTP::HTTPResponseUnit
{

ReceivedOctetStream::ReceivedOctetStream(MIME::StoredBytes bytes)
    : ApplicationOctetStreamContent(blocxx::Array<unsigned char>()), m_bytes(std::move(bytes))
{
}

ReceivedOctetStream::~ReceivedOctetStream() = default;

size_t ReceivedOctetStream::getContentLength()
{
    return m_bytes.size();
}

size_t ReceivedOctetStream::getData(char* buf, size_t len, const MIME::ContentStreamStateRef& state)
{
    auto& own = MIME::ownState<MIME::ApplicationOctetStreamContentStreamState>(state);
    if (own.position >= m_bytes.size())
    {
        return MIME::END_OF_DATA;
    }
    const size_t count = std::min(len, m_bytes.size() - own.position);
    m_bytes.copy(own.position, count, buf);
    own.position += count;
    return count;
}

} // namespace ZOLNS2::HTTP::HTTPResponseUnit
