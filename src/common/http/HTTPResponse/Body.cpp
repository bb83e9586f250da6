#include "HTTPResponse/BodyReaders.hpp"
#include "HTTPResponse/SourceUnit.hpp"

#include "blocxx/BaseStreamBuffer.hpp"
#include "zol/http/HTTPTransferDecoder.hpp"
#include "zol/http/Response.hpp"
#include "zol/mime/UnbufferedContent.hpp"

#include <array>
#include <istream>
#include <limits>

namespace ZOLNS2::HTTP
{

using namespace HTTPResponseUnit;

namespace
{

constexpr size_t READ_SIZE = 2048;

bool isMultipart(const MIME::ContentTypeHeader& contentType)
{
    return contentType.getType().equalsIgnoreCase("multipart");
}

/// Whether a stream that has been read until it failed just came to its end.
bool endedInOrder(const std::istream& istr)
{
    // A buffer of the library knows more than the stream's bits do.
    const auto* buffer = dynamic_cast<const blocxx::BaseStreamBuffer*>(istr.rdbuf());
    return istr.eof() && !istr.bad() &&
           (buffer == nullptr || buffer->inputState() == blocxx::BaseStreamBuffer::E_INPUT_ENDED);
}

} // namespace

void Response::parseResponseData(HTTPConnection& conn)
{
    const blocxx::Logger logger(COMPONENT_NAME);
    m_readToItsEnd = false;
    if (isMultipart(contentType))
    {
        ZOL_LOG(logger, DEBUG, "Content is multi-part.  Reading all parts to memory.");
        m_readToItsEnd = parseMultipartContent(conn.istream(), contents, contentType) && endedInOrder(conn.istream());
        return;
    }
    unsigned long length = std::numeric_limits<unsigned long>::max();
    const blocxx::String announced = headers.getHeaderValue("content-length");
    if (!announced.empty())
    {
        length = announced.toUInt64();
        ZOL_LOG(logger, DEBUG, blocxx::Format("Content is single part with size %1 and type %2", length, contentType));
    }
    contents.push_back(
        MIME::ContentRef(new MIME::UnbufferedContent(getTransferDecoder(conn, headers), contentType, length)));
}

void Response::parseResponseData(std::istream& istr)
{
    m_readToItsEnd = false;
    if (isMultipart(contentType))
    {
        m_readToItsEnd = parseMultipartContent(istr, contents, contentType) && endedInOrder(istr);
    }
    else
    {
        const bool failedBefore = istr.fail();
        parseSinglePartContent(istr, contents, contentType);
        m_readToItsEnd = !failedBefore && endedInOrder(istr);
    }
}

bool Response::bodyIsComplete() const
{
    for (const MIME::ContentRef& content : contents)
    {
        if (const auto unbuffered = content.cast_to<MIME::UnbufferedContent>())
        {
            return unbuffered->getTransferDecoder()->bodyIsComplete();
        }
    }
    return m_readToItsEnd;
}

void HTTPResponseUnit::parseSinglePartContent(std::istream& istr, MIME::Contents& contents,
                                              const MIME::ContentTypeHeader& contentType)
{
    const blocxx::Logger logger(COMPONENT_NAME);
    ZOL_LOG(logger, DEBUG2, "Reading data (not multi-part)");
    std::array<char, READ_SIZE> block{};
    ReceivedBytes body;
    while (!istr.fail())
    {
        const std::streamsize count = istr.read(block.data(), block.size()).gcount();
        if (count <= 0)
        {
            ZOL_LOG(logger, DEBUG, blocxx::Format("Didn't read a positive number of bytes: %1", count));
            break;
        }
        body.append(block.data(), static_cast<size_t>(count));
    }
    ZOL_LOG(logger, DEBUG3, "Creating content...");
    const MIME::ContentRef content = createContent(body, contentType);
    if (!content)
    {
        ZOL_LOG(logger, ERROR,
                blocxx::Format("Failed to create content for response .. (FIXME: Bad error message).: %1",
                               contentType.getType()));
        return;
    }
    contents.push_back(content);
}

} // namespace ZOLNS2::HTTP
