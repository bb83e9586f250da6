#include "zol/mime/UnbufferedContent.hpp"

#include "connection/HTTPConnectionImpl.hpp"
#include "content/HTTPContentUnit.hpp"

#include "zol/mime/ContentException.hpp"

#include <algorithm>
#include <ios>
#include <istream>
#include <limits>

namespace ZOLNS2::MIME
{

namespace
{

constexpr auto LARGEST_READ = static_cast<size_t>(std::numeric_limits<std::streamsize>::max());

/// What getData does, without a stream, which the connection would have to make for it, and without records.
size_t readFrom(HTTP::HTTPConnectionImpl& connection, char* buffer, size_t count)
{
    return connection.fail() ? END_OF_DATA : connection.read(buffer, std::min(count, LARGEST_READ));
}

} // namespace

UnbufferedContentStreamState::~UnbufferedContentStreamState() = default;

UnbufferedContent::UnbufferedContent(const HTTP::HTTPTransferDecoderRef& decoder, const ContentTypeHeader& contentType,
                                     unsigned long contentLength)
    : m_decoder(decoder), m_contentLength(contentLength), m_contentType(contentType), m_used(false)
{
}

UnbufferedContent::UnbufferedContent(const HTTP::HTTPConnection& connection, const ContentTypeHeader& contentType,
                                     unsigned long contentLength)
    : m_connection(connection), m_failedBeforeBody(HTTP::HTTPConnectionImpl::of(*m_connection).fail()),
      m_contentLength(contentLength), m_contentType(contentType), m_used(false)
{
}

UnbufferedContent::~UnbufferedContent() = default;

ContentTypeHeader UnbufferedContent::getContentType()
{
    return m_contentType;
}

bool UnbufferedContent::hasContentLength()
{
    return m_contentLength != std::numeric_limits<unsigned long>::max();
}

unsigned long UnbufferedContent::getContentLength()
{
    return m_contentLength;
}

size_t UnbufferedContent::getData(char* buffer, size_t count, const ContentStreamStateRef&)
{
    if (!m_decoder && m_connection && blocxx::LogAppender::nothingIsLogged())
    {
        return readFrom(HTTP::HTTPConnectionImpl::of(*m_connection), buffer, count);
    }
    const OperationLog log(LOG_UNIT, __PRETTY_FUNCTION__);
    std::istream& body = getTransferDecoder()->istream();
    ZOL_LOG(log, DEBUG3, blocxx::Format("Getting up to %1 bytes from unbuffered http content.", count));
    if (body.fail())
    {
        ZOL_LOG(log, DEBUG3, "Cannot read: Stream is no longer good.");
        return END_OF_DATA;
    }
    // A request for "everything", all bits set, must not turn into a negative one.
    body.read(buffer, static_cast<std::streamsize>(std::min(count, LARGEST_READ)));
    const auto extracted = static_cast<size_t>(body.gcount());
    if (extracted < count)
    {
        ZOL_LOG(log, DEBUG3, blocxx::Format("Actually read %1 bytes.", extracted));
    }
    return extracted;
}

ContentStreamStateRef UnbufferedContent::createInitialStreamState() const
{
    if (m_used)
    {
        throw ContentException(SOURCE_UNIT, __LINE__, "Attempted reuse of a one-time http stream", -1, nullptr, -1);
    }
    m_used = true;
    const OperationLog log(LOG_UNIT, __PRETTY_FUNCTION__);
    ZOL_LOG(log, DEBUG2, blocxx::Format("Creating initial stream state for content: %1", m_contentType));
    return ContentStreamStateRef(new UnbufferedContentStreamState);
}

bool UnbufferedContent::endedBadly(const ContentStreamStateRef&) const
{
    const HTTP::HTTPTransferDecoderRef decoder = getTransferDecoder();
    return decoder->istream().fail() && !decoder->bodyIsComplete();
}

HTTP::HTTPTransferDecoderRef UnbufferedContent::getTransferDecoder() const
{
    if (!m_decoder && m_connection)
    {
        m_decoder = HTTP::HTTPTransferDecoderRef(new HTTP::DefaultTransferDecoder(*m_connection, m_failedBeforeBody));
    }
    return m_decoder;
}

} // namespace ZOLNS2::MIME
