#include "HTTPResponse/SourceUnit.hpp"

#include "zol/http/HTTPException.hpp"
#include "zol/http/Response.hpp"
#include "zol/text/TormudaTextOperations.hpp"
#include "zol/text/untokenize.hpp"

#include <istream>

namespace ZOLNS2::HTTP
{

using namespace HTTPResponseUnit;

namespace
{

using Words = blocxx::Array<blocxx::String>;

[[noreturn]] void refuse(int line, const blocxx::String& message, int errorCode = -1)
{
    throw HTTPException(SOURCE_UNIT, line, message.c_str(), errorCode, nullptr, -1);
}

Version toVersion(const Words& words)
{
    if (words[0] == "HTTP/1.1")
    {
        return HTTP_1_1;
    }
    if (words[0] == "HTTP/1.0")
    {
        return HTTP_1_0;
    }
    refuse(__LINE__,
           blocxx::Format("Unrecognizable HTTP version in response from HTTP server: %1.", untokenize(words, " ")));
}

unsigned short toStatusCode(const Words& words)
{
    const blocxx::String text = words.size() >= 2 ? words[1] : blocxx::String();
    try
    {
        return text.toUInt16();
    }
    catch (const blocxx::StringConversionException&)
    {
        refuse(__LINE__, blocxx::Format("Unrecognizable status code (%1) in response from HTTP server: %2", text,
                                        untokenize(words, " ")));
    }
}

blocxx::String toReasonPhrase(const Words& words)
{
    if (words.size() <= 3)
    {
        return words.size() == 3 ? words[2] : blocxx::String();
    }
    return untokenize(Words(words.begin() + 2, words.end()), " ");
}

void logHead(blocxx::Logger& logger, const Words& words, const OpenWBEM::HTTPHeaderMap& headerMap)
{
    if (logger.getLogLevel() < blocxx::E_DEBUG3_LEVEL)
    {
        return;
    }
    ZOL_LOG(logger, DEBUG3, "Obtained HTTP headers:");
    dump_to_log(headerMap.begin(), headerMap.end(), logger, "header: ", true);
    ZOL_LOG(logger, DEBUG3, "Converting header format from response:");
    dump_to_log(words, logger, "Response status line: ", true);
    ZOL_LOG(logger, DEBUG3, "End response lines");
}

} // namespace

void Response::checkStatus(HTTPConnection& conn)
{
    checkStatus(conn.istream());
}

void Response::checkStatus(std::istream& istr)
{
    const blocxx::Logger logger(COMPONENT_NAME);
    ZOL_LOG(logger, DEBUG3,
            istr.fail() ? "Response::CheckStatus: Input stream is bad!"
                        : "Response::CheckStatus: Input stream is good");
    OpenWBEM::HTTPHeaderMap headerMap;
    Words words;
    ZOL_LOG(logger, DEBUG3, "Checking request status line.");
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
    ZOL_LOG(logger, DEBUG3, "Status line and headers checked out.");
}

void Response::convertToNewHeaderFormat(Words statusLines, const OpenWBEM::HTTPHeaderMap& headerMap)
{
    const Words& words = statusLines;
    blocxx::Logger logger(COMPONENT_NAME);
    logHead(logger, words, headerMap);
    if (words.empty())
    {
        refuse(__LINE__, "Status lines in HTTP response are empty.");
    }
    ZOL_LOG(logger, DEBUG3, blocxx::Format("Complete status line: %1", untokenize(words, " ")));
    statusLine.version = toVersion(words);
    statusLine.statusCode = toStatusCode(words);
    statusLine.reasonPhrase = toReasonPhrase(words);
    ZOL_LOG(logger, DEBUG3, blocxx::Format("Status line: %1", statusLine.toString()));
    for (const auto& [name, value] : headerMap)
    {
        ZOL_LOG(logger, DEBUG3, blocxx::Format("Returned Header: Name: %1, Value: %2", name, value));
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

} // namespace ZOLNS2::HTTP
