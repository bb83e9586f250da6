#include "support/ConnectTo.hpp"
#include "support/LogLines.hpp"
#include "support/ScriptedServer.hpp"

#include "blocxx/LogAppender.hpp"
#include "blocxx/LogMessage.hpp"
#include "zol/http/HTTPException.hpp"
#include "zol/http/Response.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>
#include <streambuf>
#include <string>
#include <utility>
#include <vector>

namespace
{

using blocxx::String;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;
using zol_test::logLines;
using ZOLNS2::HTTP::HTTPException;
using ZOLNS2::HTTP::Response;

/// The result of reading a head: the response as it was left, and the exception if there was one.
struct Outcome
{
    Response response;
    bool refused = false;
    std::string message;
    int errorCode = 0;
    std::string file;
};

struct BufferBroke
{
};

/// Delivers its bytes one at a time, and throws after the last one.
class ThrowingBuffer : public std::streambuf
{
public:
    explicit ThrowingBuffer(std::string bytes) : m_bytes(std::move(bytes)) {}

protected:
    int_type underflow() override
    {
        if (m_next == m_bytes.size())
        {
            throw BufferBroke();
        }
        m_byte = m_bytes[m_next++];
        setg(&m_byte, &m_byte, &m_byte + 1);
        return traits_type::to_int_type(m_byte);
    }

private:
    const std::string m_bytes;
    size_t m_next = 0;
    char m_byte = 0;
};

Outcome readHead(std::istream& input)
{
    Outcome outcome;
    try
    {
        outcome.response.checkStatus(input);
    }
    catch (const HTTPException& e)
    {
        outcome.refused = true;
        outcome.message = e.getMessage();
        outcome.errorCode = e.getErrorCode();
        outcome.file = e.getFile();
        EXPECT_EQ(e.getSubClassId(), -1);
        EXPECT_EQ(e.getSubException(), nullptr);
    }
    return outcome;
}

Outcome readHead(const std::string& text)
{
    std::istringstream input(text);
    return readHead(input);
}

std::vector<std::string> headerLines(const Response& response)
{
    std::vector<std::string> lines;
    for (const auto& header : response.headers)
    {
        lines.push_back(std::string(header.name.c_str()) + "=" + header.value.c_str());
    }
    return lines;
}

TEST(ResponseHead, FirstLineIsVersionCodeAndReason)
{
    const Outcome outcome = readHead("HTTP/1.1 200 OK\r\n\r\n");
    ASSERT_FALSE(outcome.refused) << outcome.message;
    EXPECT_EQ(outcome.response.statusLine.version, ZOLNS2::HTTP::HTTP_1_1);
    EXPECT_EQ(outcome.response.statusLine.statusCode, 200);
    EXPECT_EQ(outcome.response.statusLine.reasonPhrase, "OK");
}

TEST(ResponseHead, ReasonMayBeMissing)
{
    const Outcome outcome = readHead("HTTP/1.0 204\r\n\r\n");
    ASSERT_FALSE(outcome.refused) << outcome.message;
    EXPECT_EQ(outcome.response.statusLine.version, ZOLNS2::HTTP::HTTP_1_0);
    EXPECT_EQ(outcome.response.statusLine.statusCode, 204);
    EXPECT_EQ(outcome.response.statusLine.reasonPhrase, "");
}

TEST(ResponseHead, ReasonIsItsWordsWithOneBlankBetween)
{
    const Outcome outcome = readHead("HTTP/1.1  200   All\tis   well \r\n\r\n");
    ASSERT_FALSE(outcome.refused) << outcome.message;
    EXPECT_EQ(outcome.response.statusLine.reasonPhrase, "All is well");
}

TEST(ResponseHead, StreamIsLeftAtTheFirstByteOfTheBody)
{
    std::istringstream input("HTTP/1.1 200 OK\r\nA: 1\r\n\r\nbody");
    ASSERT_FALSE(readHead(input).refused);
    std::string rest;
    std::getline(input, rest);
    EXPECT_EQ(rest, "body");
}

TEST(ResponseHead, CodesFrom200To299Succeed)
{
    EXPECT_FALSE(readHead("HTTP/1.1 200 X\r\n\r\n").refused);
    EXPECT_FALSE(readHead("HTTP/1.1 299 Whatever\r\n\r\n").refused);
}

TEST(ResponseHead, EveryOtherCodeIsAnErrorWithTheCodeAsErrorCode)
{
    for (const int code : {0, 2, 20, 99, 100, 199, 300, 301, 404, 500, 599, 999, 2000, 65535})
    {
        const std::string line = "HTTP/1.1 " + std::to_string(code) + " X";
        const Outcome outcome = readHead(line + "\r\n\r\n");
        EXPECT_TRUE(outcome.refused) << code;
        EXPECT_EQ(outcome.message, "Error response from http server: " + line);
        EXPECT_EQ(outcome.errorCode, code);
    }
}

TEST(ResponseHead, ErrorStatusLeavesTheWholeHeadInTheResponse)
{
    const Outcome outcome = readHead("HTTP/1.1 404 Not Found\r\nContent-Type: text/html\r\nX: y\r\n\r\n");
    ASSERT_TRUE(outcome.refused);
    EXPECT_EQ(outcome.message, "Error response from http server: HTTP/1.1 404 Not Found");
    EXPECT_EQ(outcome.errorCode, 404);
    EXPECT_EQ(outcome.file, "HTTPResponse");
    EXPECT_EQ(outcome.response.statusLine.statusCode, 404);
    EXPECT_EQ(outcome.response.statusLine.reasonPhrase, "Not Found");
    EXPECT_EQ(outcome.response.contentType.getSubType(), "html");
    EXPECT_THAT(headerLines(outcome.response), ElementsAre("x=y"));
    EXPECT_TRUE(outcome.response.contents.empty());
}

TEST(ResponseHead, ErrorStatusOfHTTP10IsPrintedAsSuch)
{
    EXPECT_EQ(readHead("HTTP/1.0 500 Oh\r\n\r\n").message, "Error response from http server: HTTP/1.0 500 Oh");
}

TEST(ResponseHead, ErrorStatusWithoutReasonEndsInABlank)
{
    EXPECT_EQ(readHead("HTTP/1.1 500\r\n\r\n").message, "Error response from http server: HTTP/1.1 500 ");
}

TEST(ResponseHead, VersionIsTakenLiterally)
{
    for (const std::string line : {"http/1.1 200 OK", "HTTP/2 200 OK", "HTTP/1.10 200 OK", "HTTP/1.2 200 OK",
                                   "HTTP 200 OK", "SSH-2.0-x", "A: 1"})
    {
        const Outcome outcome = readHead(line + "\r\n\r\n");
        ASSERT_TRUE(outcome.refused) << line;
        EXPECT_EQ(outcome.message, "Unrecognizable HTTP version in response from HTTP server: " + line + ".");
        EXPECT_EQ(outcome.errorCode, -1);
        EXPECT_EQ(outcome.file, "HTTPResponse");
    }
}

TEST(ResponseHead, CompleteLineInMessagesHasOneBlankBetweenWords)
{
    EXPECT_EQ(readHead("HTTP/3 \t 200   O  K\r\n\r\n").message,
              "Unrecognizable HTTP version in response from HTTP server: HTTP/3 200 O K.");
}

TEST(ResponseHead, CodeIsADecimalSixteenBitNumber)
{
    for (const std::string code : {"2x0", "+200", "-1", "0x200", "65536", "twohundred"})
    {
        const std::string line = "HTTP/1.1 " + code + " OK";
        const Outcome outcome = readHead(line + "\r\n\r\n");
        ASSERT_TRUE(outcome.refused) << line;
        EXPECT_EQ(outcome.message, "Unrecognizable status code (" + code + ") in response from HTTP server: " + line);
        EXPECT_EQ(outcome.errorCode, -1);
        EXPECT_EQ(outcome.file, "HTTPResponse");
    }
}

TEST(ResponseHead, MissingCodeIsUnrecognizable)
{
    EXPECT_EQ(readHead("HTTP/1.1\r\n\r\n").message,
              "Unrecognizable status code () in response from HTTP server: HTTP/1.1");
}

TEST(ResponseHead, BadVersionLeavesTheStatusLineAlone)
{
    Response response;
    response.statusLine = ZOLNS2::HTTP::StatusLine(ZOLNS2::HTTP::HTTP_1_0, 7, "before");
    std::istringstream input("HTTP/9 200 OK\r\nA: 1\r\n\r\n");
    EXPECT_THROW(response.checkStatus(input), HTTPException);
    EXPECT_EQ(response.statusLine.version, ZOLNS2::HTTP::HTTP_1_0);
    EXPECT_EQ(response.statusLine.statusCode, 7);
    EXPECT_EQ(response.statusLine.reasonPhrase, "before");
    EXPECT_THAT(headerLines(response), IsEmpty());
}

TEST(ResponseHead, BadCodeLeavesOnlyTheVersionStored)
{
    Response response;
    response.statusLine = ZOLNS2::HTTP::StatusLine(ZOLNS2::HTTP::HTTP_1_0, 7, "before");
    std::istringstream input("HTTP/1.1 20O OK\r\nA: 1\r\n\r\n");
    EXPECT_THROW(response.checkStatus(input), HTTPException);
    EXPECT_EQ(response.statusLine.version, ZOLNS2::HTTP::HTTP_1_1);
    EXPECT_EQ(response.statusLine.statusCode, 7);
    EXPECT_EQ(response.statusLine.reasonPhrase, "before");
    EXPECT_THAT(headerLines(response), IsEmpty());
}

TEST(ResponseHead, InputWithoutAFirstLineHasNoStatusLines)
{
    for (const std::string text : {"", "\r\n", "\r\n\r\n\r\n"})
    {
        const Outcome outcome = readHead(text);
        ASSERT_TRUE(outcome.refused);
        EXPECT_EQ(outcome.message, "Status lines in HTTP response are empty.");
        EXPECT_EQ(outcome.errorCode, -1);
        EXPECT_EQ(outcome.file, "HTTPResponse");
    }
}

TEST(ResponseHead, FailedStreamHasNoStatusLines)
{
    std::istringstream input("HTTP/1.1 200 OK\r\n\r\n");
    input.setstate(std::ios::failbit);
    EXPECT_EQ(readHead(input).message, "Status lines in HTTP response are empty.");
}

TEST(ResponseHead, NoWordsAreRefusedByTheConversionItself)
{
    Response response;
    EXPECT_THROW(response.convertToNewHeaderFormat(blocxx::Array<String>(), OpenWBEM::HTTPHeaderMap()), HTTPException);
}

TEST(ResponseHead, RefusedHeadOfThreeWordsIsAnError)
{
    const Outcome outcome = readHead("HTTP/1.1 200 OK\r\nno colon\r\n\r\n");
    ASSERT_TRUE(outcome.refused);
    EXPECT_EQ(outcome.message, "Unable to parse status line: HTTP/1.1200OK");
    EXPECT_EQ(outcome.errorCode, -1);
    EXPECT_EQ(outcome.file, "HTTPResponse");
}

TEST(ResponseHead, CutHeadOfThreeWordsIsAnError)
{
    EXPECT_EQ(readHead("HTTP/1.1 200 OK\r\nContent-Length: 1").message, "Unable to parse status line: HTTP/1.1200OK");
}

TEST(ResponseHead, RefusedHeadOfTwoOrFourWordsIsTakenAsRead)
{
    for (const std::string line : {"HTTP/1.1 200", "HTTP/1.1 200 All well", "HTTP/1.1 200 All is well"})
    {
        std::istringstream input(line + "\r\nA: 1\r\nno colon\r\nB: 2\r\n\r\nbody");
        const Outcome outcome = readHead(input);
        EXPECT_FALSE(outcome.refused) << outcome.message;
        EXPECT_EQ(outcome.response.statusLine.statusCode, 200);
        EXPECT_THAT(headerLines(outcome.response), ElementsAre("a=1"));
        EXPECT_TRUE(input.fail()) << "a cut head must not pass for a whole response";
    }
}

TEST(ResponseHead, RefusedHeadOfOneWordHasNoCode)
{
    const Outcome outcome = readHead("HTTP/1.1\r\nno colon\r\n\r\n");
    EXPECT_TRUE(outcome.refused);
    EXPECT_EQ(outcome.message, "Unrecognizable status code () in response from HTTP server: HTTP/1.1");
}

TEST(ResponseHead, OfAConnectionIsReadAsThatOfItsStreamAndNothingElse)
{
    const std::string wire = "HTTP/1.1 200 OK\r\nX: 1\r\nContent-Type: text/plain\r\n\r\nbody";
    std::istringstream stream(wire);
    zol_test::LogCapture log;
    Response fromStream;
    fromStream.checkStatus(stream);
    const std::vector<std::string> expected = log.messages();
    zol_test::ScriptedServer server([&wire](zol_test::ServerConnection& peer) { peer.send(wire); });
    ZOLNS2::HTTP::HTTPConnection connection = zol_test::connectTo(server);
    log.clear();
    Response response;
    response.checkStatus(connection);
    EXPECT_EQ(log.messages(), expected);
    EXPECT_EQ(headerLines(response), headerLines(fromStream));
    EXPECT_EQ(toString(response.contentType), "text/plain");
    EXPECT_TRUE(response.contents.empty());
    EXPECT_TRUE(connection.istream().good());
    EXPECT_EQ(connection.istream().get(), 'b');
}

TEST(ResponseHead, WhatTheStreamsBufferThrowsPassesUnchangedWithBadbit)
{
    // After whole words and lines, and in the middle of each.
    const std::string head = "HTTP/1.1 200 All well\r\nA: 1\r\nContent-Type: text/plain\r\n\r\n";
    for (size_t length = 0; length < head.size(); ++length)
    {
        ThrowingBuffer buffer(head.substr(0, length));
        std::istream input(&buffer);
        Response response;
        EXPECT_THROW(response.checkStatus(input), BufferBroke) << length;
        EXPECT_TRUE(input.bad()) << length;
        ThrowingBuffer again(head.substr(0, length));
        std::istream extracted(&again);
        EXPECT_THROW(extracted >> response, BufferBroke) << length;
        EXPECT_TRUE(extracted.bad()) << length;
    }
}

TEST(ResponseHead, HeadersAreInNameOrderWithoutContentType)
{
    const Outcome outcome =
        readHead("HTTP/1.1 200 OK\r\nContent-Type: text/xml\r\nX-B: 2\r\nA-Header: 1\r\nCONTENT-LENGTH: 3\r\n\r\n");
    ASSERT_FALSE(outcome.refused) << outcome.message;
    EXPECT_THAT(headerLines(outcome.response), ElementsAre("a-header=1", "content-length=3", "x-b=2"));
    EXPECT_EQ(outcome.response.headers.getHeaderValue("content-type"), "");
    EXPECT_EQ(outcome.response.contentType.getType(), "text");
    EXPECT_EQ(outcome.response.contentType.getSubType(), "xml");
    EXPECT_EQ(outcome.response.contentType.getContentTypeString(), "content-type: text/xml");
}

TEST(ResponseHead, ContentTypeIsFoundInAnyCase)
{
    OpenWBEM::HTTPHeaderMap map;
    map["Content-TYPE"] = "text/plain";
    blocxx::Array<String> words;
    words.push_back("HTTP/1.1");
    words.push_back("200");
    Response response;
    response.convertToNewHeaderFormat(words, map);
    EXPECT_EQ(response.contentType.getContentTypeString(), "Content-TYPE: text/plain");
    EXPECT_THAT(headerLines(response), IsEmpty());
}

TEST(ResponseHead, WithoutContentTypeItStaysAnOctetStream)
{
    const Outcome outcome = readHead("HTTP/1.1 200 OK\r\nA: 1\r\n\r\n");
    EXPECT_EQ(toString(outcome.response.contentType), "application/octet-stream");
}

struct GaveUp
{
};

/// Ends a parse that would not end on its own.
class ImpatientAppender : public blocxx::LogAppender
{
    void doProcessLogMessage(const String&, const blocxx::LogMessage& record) const override
    {
        if (record.message.indexOf("Huh?") != String::npos && ++m_complaints % 1000 == 0)
        {
            throw GaveUp();
        }
    }

    mutable int m_complaints = 0;
};

TEST(ResponseHead, TrailingSemicolonIsParsedBeforeTheStatusIsLookedAt)
{
    const blocxx::LogAppenderScope scope{blocxx::LogAppenderRef(new ImpatientAppender)};
    EXPECT_THROW(readHead("HTTP/1.1 200 OK\r\nContent-Type: text/html;\r\n\r\n"), GaveUp);
    EXPECT_THROW(readHead("HTTP/1.1 404 Not Found\r\nContent-Type: text/html;\r\n\r\n"), GaveUp);
}

TEST(ResponseHead, SecondHeadAppendsItsHeaders)
{
    Response response;
    std::istringstream first("HTTP/1.1 200 OK\r\nB: 1\r\n\r\n");
    std::istringstream second("HTTP/1.0 201 Made\r\nA: 2\r\n\r\n");
    response.checkStatus(first);
    response.checkStatus(second);
    EXPECT_THAT(headerLines(response), ElementsAre("b=1", "a=2"));
    EXPECT_EQ(response.statusLine.statusCode, 201);
}

TEST(ResponseHead, LogsEveryStep)
{
    const zol_test::LogCapture log(blocxx::E_DEBUG3_LEVEL);
    ASSERT_FALSE(readHead("HTTP/1.1 200 OK\r\nContent-Type: text/xml\r\nA: 1\r\n\r\n").refused);
    EXPECT_THAT(
        logLines(log, "zol.common.http.response"),
        ElementsAre(
            "DEBUG3 response: Response::CheckStatus: Input stream is good",
            "DEBUG3 response: Checking request status line.",
            "DEBUG3 response: Obtained HTTP headers:", "DEBUG3 header: [a,1]", "DEBUG3 header: [content-type,text/xml]",
            "DEBUG3 response: Converting header format from response:", "DEBUG3 Response status line:  [3 elements]:",
            "DEBUG3 Response status line: HTTP/1.1", "DEBUG3 Response status line: 200",
            "DEBUG3 Response status line: OK", "DEBUG3 response: End response lines",
            "DEBUG3 response: Complete status line: HTTP/1.1 200 OK", "DEBUG3 response: Status line: HTTP/1.1 200 OK",
            "DEBUG3 response: Returned Header: Name: a, Value: 1",
            "DEBUG3 response: Returned Header: Name: content-type, Value: text/xml",
            "DEBUG3 response: Status line and headers checked out."));
}

TEST(ResponseHead, DumpedLinesNameTheFunctionThatDumps)
{
    const zol_test::LogCapture log(blocxx::E_DEBUG3_LEVEL);
    ASSERT_FALSE(readHead("HTTP/1.1 200 OK\r\nA: 1\r\n\r\n").refused);
    int dumped = 0;
    for (const zol_test::LogRecord& record : log.records())
    {
        if (record.file == "TormudaTextOperations")
        {
            EXPECT_THAT(record.method, testing::HasSubstr("Response::convertToNewHeaderFormat(")) << record.message;
            ++dumped;
        }
    }
    EXPECT_EQ(dumped, 5);
}

TEST(ResponseHead, LogsThatTheStreamIsBadAndContinues)
{
    const zol_test::LogCapture log(blocxx::E_DEBUG3_LEVEL);
    std::istringstream input("HTTP/1.1 200 OK\r\n\r\n");
    input.setstate(std::ios::badbit);
    EXPECT_TRUE(readHead(input).refused);
    EXPECT_THAT(logLines(log, "zol.common.http.response"),
                ElementsAre("DEBUG3 response: Response::CheckStatus: Input stream is bad!",
                            "DEBUG3 response: Checking request status line.", "DEBUG3 response: Obtained HTTP headers:",
                            "DEBUG3 response: Converting header format from response:",
                            "DEBUG3 Response status line:  [0 elements]:", "DEBUG3 response: End response lines"));
}

TEST(ResponseHead, EndOfFileAloneIsAGoodStream)
{
    const zol_test::LogCapture log(blocxx::E_DEBUG3_LEVEL);
    std::istringstream input("HTTP/1.1 200 OK\r\n\r\n");
    input.setstate(std::ios::eofbit);
    readHead(input);
    EXPECT_THAT(logLines(log, "zol.common.http.response"),
                Contains("DEBUG3 response: Response::CheckStatus: Input stream is good"));
}

TEST(ResponseHead, ErrorStatusIsNotLoggedAsCheckedOut)
{
    const zol_test::LogCapture log(blocxx::E_DEBUG3_LEVEL);
    EXPECT_TRUE(readHead("HTTP/1.1 404 No\r\n\r\n").refused);
    EXPECT_THAT(logLines(log, "zol.common.http.response"),
                Not(Contains("DEBUG3 response: Status line and headers checked out.")));
}

TEST(ResponseHead, BelowDebug3NothingIsLogged)
{
    const zol_test::LogCapture log(blocxx::E_DEBUG2_LEVEL);
    EXPECT_FALSE(readHead("HTTP/1.1 200 OK\r\nA: 1\r\n\r\n").refused);
    EXPECT_TRUE(readHead("HTTP/1.1 404 No\r\n\r\n").refused);
    EXPECT_THAT(logLines(log, "zol.common.http.response"), IsEmpty());
}

} // namespace
