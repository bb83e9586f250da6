#include "response/ResponseHead.hpp"

#include "response/HTTPResponseUnit.hpp"

#include "zol/http/HTTPException.hpp"
#include "zol/text/TormudaTextOperations.hpp"
#include "zol/text/untokenize.hpp"

namespace ZOLNS2::HTTP::HTTPResponseUnit
{

namespace
{

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

} // namespace

void refuse(int line, const blocxx::String& message, int errorCode)
{
    throw HTTPException(SOURCE_UNIT, line, message.c_str(), errorCode, nullptr, -1);
}

void storeStatusLine(const Words& words, StatusLine& statusLine)
{
    statusLine.version = toVersion(words);
    statusLine.statusCode = toStatusCode(words);
    statusLine.reasonPhrase = toReasonPhrase(words);
}

void logFields(OperationLog& log, const OpenWBEM::HTTPHeaderMap& headerMap)
{
    BLOCXX_LOG_UNFAILING(
        dump_to_log(headerMap.begin(), headerMap.end(), log.logger(), "header: ", true, log.signature()))
}

void logHead(OperationLog& log, const Words& words, const OpenWBEM::HTTPHeaderMap& headerMap)
{
    if (!log.admits(blocxx::E_DEBUG3_LEVEL))
    {
        return;
    }
    ZOL_LOG(log, DEBUG3, "Obtained HTTP headers:");
    logFields(log, headerMap);
    ZOL_LOG(log, DEBUG3, "Converting header format from response:");
    BLOCXX_LOG_UNFAILING(dump_to_log(words, log.logger(), "Response status line: ", true, log.signature()))
    ZOL_LOG(log, DEBUG3, "End response lines");
}

} // namespace ZOLNS2::HTTP::HTTPResponseUnit
