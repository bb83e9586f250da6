#include "zol/http/Response.hpp"

#include "connection/InputEnd.hpp"
#include "response/HTTPResponseUnit.hpp"
#include "response/MultipartBody.hpp"
#include "response/ResponseHead.hpp"
#include "response/SinglePartBody.hpp"

#include "blocxx/BaseStreamBuffer.hpp"
#include "zol/http/HTTPTransferDecoder.hpp"
#include "zol/mime/UnbufferedContent.hpp"
#include "zol/text/untokenize.hpp"

#include <istream>
#include <limits>
#include <ostream>

namespace ZOLNS2::HTTP
{

using namespace HTTPResponseUnit;

namespace
{

blocxx::GlobalString DEFAULT_TYPE = BLOCXX_GLOBAL_STRING_INIT("Content-type: application/octet-stream");

bool outputIsSent(const std::ostream& output)
{
    // The stream's bits cannot tell: a write that failed in the middle of a body has left none.
    const auto* const buffer = dynamic_cast<const blocxx::BaseStreamBuffer*>(output.rdbuf());
    return buffer == nullptr || buffer->outputState() == blocxx::BaseStreamBuffer::E_OUTPUT_SENT;
}

bool isMultipart(const MIME::ContentTypeHeader& contentType)
{
    return contentType.getType().equalsIgnoreCase("multipart");
}

} // namespace

Response::Response() : currentPart(0)
{
    contentType.setContentTypeString(DEFAULT_TYPE);
}

MIME::ContentRef Response::getNextPart()
{
    if (currentPart < contents.size())
    {
        return contents[currentPart++];
    }
    return MIME::ContentRef();
}

blocxx::Array<char> Response::convertToByteArray(const blocxx::StringBuffer& buffer)
{
    // Deliberate: the zero bytes are not overwritten, the characters follow them.
    blocxx::Array<char> bytes(buffer.length() + 1, '\0');
    bytes.insert(bytes.end(), buffer.c_str(), buffer.c_str() + buffer.length());
    return bytes;
}

void Response::checkStatus(HTTPConnection& conn)
{
    checkStatus(conn.istream());
}

void Response::checkStatus(std::istream& istr)
{
    const OperationLog log(LOG_UNIT, __PRETTY_FUNCTION__);
    ZOL_LOG(log, DEBUG3,
            istr.fail() ? "Response::CheckStatus: Input stream is bad!"
                        : "Response::CheckStatus: Input stream is good");
    OpenWBEM::HTTPHeaderMap headerMap;
    Words words;
    ZOL_LOG(log, DEBUG3, "Checking request status line.");
    // Deliberate: only exactly three words are refused here. An empty first line is refused further down, and any other
    // number of words is taken as if the head had been read; the failed stream then yields no body.
    if (!OpenWBEM::HTTPUtils::parseHeader(headerMap, words, istr) && words.size() == 3)
    {
        refuse(__LINE__, "Unable to parse status line: " + words[0] + words[1] + words[2]);
    }
    convertToNewHeaderFormat(words, headerMap);
    if (statusLine.statusCode / 100 != 2)
    {
        refuse(__LINE__, blocxx::Format("Error response from http server: %1", statusLine.toString()),
               statusLine.statusCode);
    }
    ZOL_LOG(log, DEBUG3, "Status line and headers checked out.");
}

void Response::convertToNewHeaderFormat(Words statusLines, const OpenWBEM::HTTPHeaderMap& headerMap)
{
    const Words& words = statusLines;
    OperationLog log(LOG_UNIT, __PRETTY_FUNCTION__);
    logHead(log, words, headerMap);
    if (words.empty())
    {
        refuse(__LINE__, "Status lines in HTTP response are empty.");
    }
    ZOL_LOG(log, DEBUG3, blocxx::Format("Complete status line: %1", untokenize(words, " ")));
    storeStatusLine(words, statusLine);
    ZOL_LOG(log, DEBUG3, blocxx::Format("Status line: %1", statusLine.toString()));
    for (const auto& [name, value] : headerMap)
    {
        ZOL_LOG(log, DEBUG3, blocxx::Format("Returned Header: Name: %1, Value: %2", name, value));
        if (name.equalsIgnoreCase("content-type"))
        {
            contentType.setContentTypeString(name + ": " + value);
        }
        else
        {
            headers.addHeader(name, value);
        }
    }
}

void Response::parseResponseData(HTTPConnection& conn)
{
    const OperationLog log(LOG_UNIT, __PRETTY_FUNCTION__);
    m_readToItsEnd = false;
    m_requestIsComplete = outputIsSent(conn.ostream());
    if (isMultipart(contentType))
    {
        ZOL_LOG(log, DEBUG, "Content is multi-part.  Reading all parts to memory.");
        m_readToItsEnd =
            parseMultipartContent(conn.istream(), contents, contentType) && inputEndedInOrder(conn.istream());
        return;
    }
    unsigned long length = std::numeric_limits<unsigned long>::max();
    const blocxx::String announced = headers.getHeaderValue("content-length");
    if (!announced.empty())
    {
        length = announced.toUInt64();
        ZOL_LOG(log, DEBUG, blocxx::Format("Content is single part with size %1 and type %2", length, contentType));
    }
    contents.push_back(
        MIME::ContentRef(new MIME::UnbufferedContent(getTransferDecoder(conn, headers), contentType, length)));
}

void Response::parseResponseData(std::istream& istr)
{
    m_readToItsEnd = false;
    if (isMultipart(contentType))
    {
        m_readToItsEnd = parseMultipartContent(istr, contents, contentType) && inputEndedInOrder(istr);
    }
    else
    {
        const bool failedBefore = istr.fail();
        parseSinglePartContent(istr, contents, contentType);
        m_readToItsEnd = !failedBefore && inputEndedInOrder(istr);
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

namespace
{

/// Runs one step of reading a response; a blocxx exception that leaves it is logged on its way out.
template <typename Step>
void logFailures(const OperationLog& log, const Step& step)
{
    try
    {
        step();
    }
    catch (const blocxx::Exception& e)
    {
        ZOL_LOG(log, ERROR, blocxx::Format("Error retrieving http response: %1", e));
        throw;
    }
}

} // namespace

Response getResponse(HTTPConnection& conn)
{
    const OperationLog log(LOG_UNIT, __PRETTY_FUNCTION__);
    Response response;
    logFailures(log,
                [&]
                {
                    response.checkStatus(conn);
                    response.parseResponseData(conn);
                });
    return response;
}

std::istream& operator>>(std::istream& istr, Response& response)
{
    const OperationLog log(LOG_UNIT, __PRETTY_FUNCTION__);
    logFailures(log,
                [&]
                {
                    response.checkStatus(istr);
                    response.parseResponseData(istr);
                });
    return istr;
}

} // namespace ZOLNS2::HTTP
