#include "zol/mime/UnbufferedContent.hpp"

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

} // namespace

UnbufferedContentStreamState::~UnbufferedContentStreamState() = default;

UnbufferedContent::UnbufferedContent(const HTTP::HTTPTransferDecoderRef& decoder, const ContentTypeHeader& contentType,
                                     unsigned long contentLength)
    : m_decoder(decoder), m_contentLength(contentLength), m_contentType(contentType), m_used(false)
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
    const OperationLog log(LOG_UNIT, __PRETTY_FUNCTION__);
    std::istream& body = m_decoder->istream();
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
    return m_decoder->istream().fail() && !m_decoder->bodyIsComplete();
}

HTTP::HTTPTransferDecoderRef UnbufferedContent::getTransferDecoder() const
{
    return m_decoder;
}

} // namespace ZOLNS2::MIME
