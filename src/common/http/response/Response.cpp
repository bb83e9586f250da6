#include "zol/http/Response.hpp"

#include "connection/HTTPConnectionImpl.hpp"
#include "connection/InputEnd.hpp"
#include "content/ContentTypeStore.hpp"
#include "content/UnbufferedContentStore.hpp"
#include "message/HeadInPlace.hpp"
#include "message/HeaderStore.hpp"
#include "response/HTTPResponseUnit.hpp"
#include "response/MultipartBody.hpp"
#include "response/ResponseHead.hpp"
#include "response/SinglePartBody.hpp"
#include "response/StoreHead.hpp"

#include "blocxx/BaseStreamBuffer.hpp"
#include "blocxx/internal/DirectInput.hpp"
#include "blocxx/internal/ForcedUnwind.hpp"
#include "blocxx/internal/GetArea.hpp"
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

/// Parsed once, and copied where the records of the parsing are not wanted. Never destroyed, so that a response can be made
/// at any time of a process's life.
const MIME::ContentTypeHeader& parsedDefaultType()
{
    static const MIME::ContentTypeHeader* const parsed = []
    {
        auto* const header = new MIME::ContentTypeHeader;
        header->setContentTypeString(DEFAULT_TYPE);
        return header;
    }();
    return *parsed;
}

enum EHeadInPlace
{
    E_HEAD_STORED,
    E_INPUT_ENDED, ///< in order or not, before the first byte; the connection shows it
    E_NOT_IN_PLACE ///< nothing has been taken
};

/// One read of the connection. What it throws sets badbit, as it would on a stream.
template <class Read>
bool readOnce(HTTPConnectionImpl& connection, const Read& read)
{
    return blocxx::Internal::catchAllButUnwind(read,
                                               [&]() -> bool
                                               {
                                                   connection.setstate(std::ios_base::badbit);
                                                   throw;
                                               });
}

/// Reads a head that arrives in one piece. The plain way, which is what the other overload of checkStatus does, reads line
/// by line, through a stream and into a map; it costs three times as much. Both end the input without asking it again.
EHeadInPlace readHeadInPlace(HTTPConnectionImpl& connection, Response& response, bool& hasType)
{
    if (connection.fail())
    {
        return E_NOT_IN_PLACE;
    }
    const blocxx::Internal::DirectInput input(&connection.buffer());
    if (!readOnce(connection, [&] { return input.fillGetArea(HeadInPlace::FIRST_READ_SIZE); }))
    {
        connection.setstate(std::ios_base::eofbit | std::ios_base::failbit);
        return E_INPUT_ENDED;
    }
    HeadInPlace head;
    const auto held = [&] { return blocxx::Internal::GetArea::of(connection.buffer()); };
    if (!head.scan(held()) && !(HeadInPlace::needsMore(held()) &&
                                readOnce(connection, [&] { return input.extendGetArea(); }) && head.scan(held())))
    {
        return E_NOT_IN_PLACE;
    }
    hasType = storeHead(head, response);
    blocxx::Internal::GetArea::consume(connection.buffer(), head.length());
    return E_HEAD_STORED;
}

[[noreturn]] void refuseEmpty()
{
    refuse(__LINE__, "Status lines in HTTP response are empty.");
}

void requireSuccess(const StatusLine& statusLine)
{
    if (statusLine.statusCode / 100 != 2)
    {
        refuse(__LINE__, blocxx::Format("Error response from http server: %1", statusLine.toString()),
               statusLine.statusCode);
    }
}

bool isMultipart(const MIME::ContentTypeHeader& contentType)
{
    return MIME::ContentTypeStore::isOfType(contentType, "multipart");
}

/// The first content makes the array in one go.
void appendContent(MIME::Contents& contents, const MIME::ContentRef& content)
{
    if (contents.empty())
    {
        contents = MIME::Contents(&content, &content + 1);
        return;
    }
    contents.push_back(content);
}

} // namespace

Response::Response() : currentPart(0)
{
    setDefaultType();
}

void Response::setDefaultType()
{
    m_hasDefaultType = true;
    if (blocxx::LogAppender::nothingIsLogged())
    {
        contentType = parsedDefaultType();
        return;
    }
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
    bool hasType = false;
    const EHeadInPlace result = blocxx::LogAppender::nothingIsLogged()
                                    ? readHeadInPlace(HTTPConnectionImpl::of(conn), *this, hasType)
                                    : E_NOT_IN_PLACE;
    if (!m_hasDefaultType && !hasType)
    {
        setDefaultType();
    }
    switch (result)
    {
    case E_HEAD_STORED:
        requireSuccess(statusLine);
        break;
    case E_INPUT_ENDED:
        refuseEmpty();
    case E_NOT_IN_PLACE:
        checkStatus(conn.istream());
        break;
    }
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
    requireSuccess(statusLine);
    ZOL_LOG(log, DEBUG3, "Status line and headers checked out.");
}

void Response::convertToNewHeaderFormat(Words statusLines, const OpenWBEM::HTTPHeaderMap& headerMap)
{
    const Words& words = statusLines;
    OperationLog log(LOG_UNIT, __PRETTY_FUNCTION__);
    logHead(log, words, headerMap);
    if (words.empty())
    {
        refuseEmpty();
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
    HTTPConnectionImpl& connection = HTTPConnectionImpl::of(conn);
    // The stream's bits cannot tell: a write that failed in the middle of a body has left none.
    m_requestIsComplete = connection.buffer().outputState() == blocxx::BaseStreamBuffer::E_OUTPUT_SENT;
    if (isMultipart(contentType))
    {
        ZOL_LOG(log, DEBUG, "Content is multi-part.  Reading all parts to memory.");
        m_readToItsEnd =
            parseMultipartContent(conn.istream(), contents, contentType) && inputEndedInOrder(conn.istream());
        return;
    }
    unsigned long length = std::numeric_limits<unsigned long>::max();
    const blocxx::String* const announced = HeaderStore::find(headers, "content-length");
    if (announced != nullptr && !announced->empty())
    {
        length = announced->toUInt64();
        ZOL_LOG(log, DEBUG, blocxx::Format("Content is single part with size %1 and type %2", length, contentType));
    }
    appendContent(contents, MIME::UnbufferedContentStore::attach(conn, headers, contentType, length));
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
    // The default type is set where the head names none: most do.
    Response response = blocxx::LogAppender::nothingIsLogged() ? Response(Response::WithoutType()) : Response();
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
