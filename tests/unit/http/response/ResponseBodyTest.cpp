#include "support/ConnectTo.hpp"
#include "support/LogLines.hpp"
#include "support/ScriptedServer.hpp"
#include "support/TextOf.hpp"

#include "zol/http/HTTPException.hpp"
#include "zol/http/Response.hpp"
#include "zol/mime/ContentException.hpp"
#include "zol/mime/OctetStreamContent.hpp"
#include "zol/mime/TextContent.hpp"
#include "zol/mime/UnbufferedContent.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>
#include <sstream>
#include <string>
#include <vector>

namespace
{

using blocxx::IntrusiveReference;
using blocxx::StringConversionException;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using zol_test::connectTo;
using zol_test::logLines;
using zol_test::ScriptedServer;
using zol_test::sending;
using zol_test::ServerConnection;
using zol_test::textOf;
using ZOLNS2::HTTP::ChunkedTransferDecoder;
using ZOLNS2::HTTP::DefaultTransferDecoder;
using ZOLNS2::HTTP::getResponse;
using ZOLNS2::HTTP::HTTPConnection;
using ZOLNS2::HTTP::HTTPException;
using ZOLNS2::HTTP::Response;
using ZOLNS2::MIME::ApplicationOctetStreamContent;
using ZOLNS2::MIME::ContentException;
using ZOLNS2::MIME::ContentRef;
using ZOLNS2::MIME::TextPlainContent;
using ZOLNS2::MIME::UnbufferedContent;

const char* const RESPONSE = "zol.common.http.response";
const unsigned long UNKNOWN_LENGTH = std::numeric_limits<unsigned long>::max();

/// The response to "HTTP/1.1 200 OK", the given header lines and a body, read over a connection.
Response receive(const std::string& headerLines, const std::string& body)
{
    ScriptedServer server(sending("HTTP/1.1 200 OK\r\n" + headerLines + "\r\n" + body));
    HTTPConnection connection = connectTo(server);
    return getResponse(connection);
}

IntrusiveReference<UnbufferedContent> onlyContentOf(const Response& response)
{
    EXPECT_EQ(response.contents.size(), 1U);
    return response.contents[0].cast_to<UnbufferedContent>();
}

/// A response whose body alone is read, from a plain stream.
Response extractBody(const std::string& contentType, const std::string& body)
{
    Response response;
    response.contentType.setContentTypeString(("Content-Type: " + contentType).c_str());
    std::istringstream input(body);
    response.parseResponseData(input);
    return response;
}

template <class Kind>
std::string onlyContentAs(const Response& response)
{
    if (response.contents.size() != 1U || !response.contents[0].cast_to<Kind>())
    {
        return "not one content of that kind";
    }
    return textOf(response.contents[0]);
}

TEST(ResponseBody, OnAConnectionItIsLeftForItsContentToRead)
{
    const Response response = receive("Content-Length: 5\r\nContent-Type: image/png\r\n", "hello");
    const auto content = onlyContentOf(response);
    ASSERT_TRUE(content);
    EXPECT_TRUE(content->hasContentLength());
    EXPECT_EQ(content->getContentLength(), 5U);
    EXPECT_EQ(toString(content->getContentType()), "image/png");
    EXPECT_TRUE(content->getTransferDecoder().cast_to<DefaultTransferDecoder>());
    EXPECT_EQ(textOf(content), "hello");
}

TEST(ResponseBody, WithoutContentLengthTheLengthIsUnknownAndNoSizeIsLogged)
{
    const zol_test::LogCapture log(blocxx::E_DEBUG_LEVEL);
    const Response response = receive("", "hello");
    const auto content = onlyContentOf(response);
    ASSERT_TRUE(content);
    EXPECT_FALSE(content->hasContentLength());
    EXPECT_EQ(content->getContentLength(), UNKNOWN_LENGTH);
    EXPECT_EQ(toString(content->getContentType()), "application/octet-stream");
    EXPECT_THAT(logLines(log, RESPONSE), IsEmpty());
}

TEST(ResponseBody, AnnouncedSizeAndTypeAreLogged)
{
    const zol_test::LogCapture log(blocxx::E_DEBUG_LEVEL);
    receive("Content-Length: 5\r\nContent-Type: text/plain; charset=a b\r\n", "hello");
    EXPECT_THAT(logLines(log, RESPONSE), ElementsAre("DEBUG response: Content is single part with size 5 and type "
                                                     "text/plain; charset=\"a b\""));
}

TEST(ResponseBody, EmptyContentLengthCountsAsNone)
{
    EXPECT_FALSE(onlyContentOf(receive("Content-Length:\r\n", "hello"))->hasContentLength());
}

TEST(ResponseBody, ContentLengthMayBeTheLargestNumber)
{
    EXPECT_EQ(onlyContentOf(receive("Content-Length: 18446744073709551614\r\n", ""))->getContentLength(),
              UNKNOWN_LENGTH - 1);
    EXPECT_FALSE(onlyContentOf(receive("Content-Length: 18446744073709551615\r\n", ""))->hasContentLength());
}

TEST(ResponseBody, ContentLengthIsConvertedBeforeTheDecoderIsMade)
{
    ScriptedServer server([](ServerConnection& peer) { peer.waitUntilPeerCloses(); });
    HTTPConnection connection = connectTo(server);
    Response bad;
    bad.headers.addHeader("content-length", "12x");
    Response good;
    good.headers.addHeader("content-length", "12");
    const zol_test::LogCapture log;
    EXPECT_THROW(bad.parseResponseData(connection), StringConversionException);
    EXPECT_THAT(log.messages("zol.common.http"), IsEmpty());
    good.parseResponseData(connection);
    EXPECT_THAT(log.messages(),
                ElementsAre("response: Content is single part with size 12 and type application/octet-stream",
                            "response: Creating transfer decoder for transfer encoding \"\""));
}

TEST(ResponseBody, PlainStreamIsReadIn2048ByteBlocks)
{
    class NotingBuffer : public std::stringbuf
    {
    public:
        explicit NotingBuffer(const std::string& bytes) : std::stringbuf(bytes) {}
        std::vector<std::streamsize> requests;

    protected:
        std::streamsize xsgetn(char* to, std::streamsize count) override
        {
            requests.push_back(count);
            return std::stringbuf::xsgetn(to, count);
        }
    };
    NotingBuffer buffer(std::string(5000, 'x'));
    std::istream input(&buffer);
    Response response;
    response.parseResponseData(input);
    EXPECT_THAT(buffer.requests, ElementsAre(2048, 2048, 2048));
    EXPECT_EQ(textOf(response.contents[0]), std::string(5000, 'x'));
}

TEST(ResponseBody, ContentLengthThatIsNotANumberIsLoggedAndThrown)
{
    for (const std::string length : {"12x", "18446744073709551616", "-1", "+5", "5, 6", "0x5"})
    {
        const zol_test::LogCapture log(blocxx::E_ERROR_LEVEL);
        EXPECT_THROW(receive("Content-Length: " + length + "\r\n", "hello"), StringConversionException) << length;
        EXPECT_THAT(logLines(log, RESPONSE),
                    ElementsAre(testing::AllOf(HasSubstr("ERROR response: Error retrieving http response: "),
                                               HasSubstr("StringConversionException"))));
    }
}

TEST(ResponseBody, TransferEncodingChoosesTheDecoder)
{
    const auto content = onlyContentOf(receive("Transfer-Encoding: Chunked\r\n", "5\r\nhello\r\n0\r\n\r\n"));
    ASSERT_TRUE(content);
    EXPECT_TRUE(content->getTransferDecoder().cast_to<ChunkedTransferDecoder>());
    EXPECT_EQ(textOf(content), "hello");
    EXPECT_TRUE(content->getTransferDecoder()->bodyIsComplete());
}

TEST(ResponseBody, ContentGoesAfterThoseThatAreThere)
{
    ScriptedServer server(sending("hello"));
    HTTPConnection connection = connectTo(server);
    Response response;
    response.contents.push_back(ContentRef(new TextPlainContent("before")));
    response.parseResponseData(connection);
    ASSERT_EQ(response.contents.size(), 2U);
    EXPECT_EQ(textOf(response.contents[0]), "before");
    EXPECT_EQ(textOf(response.contents[1]), "hello");
}

TEST(ResponseBody, RefusedHeadTakenAsReadHasNoBodyAndIsNotComplete)
{
    for (const std::string line : {"HTTP/1.1 200", "HTTP/1.1 200 All well", "HTTP/1.1 200 All is well"})
    {
        ScriptedServer server(sending(line + "\r\nA: 1\r\nno colon\r\n\r\nhello"));
        HTTPConnection connection = connectTo(server);
        const auto content = onlyContentOf(getResponse(connection));
        ASSERT_TRUE(content);
        EXPECT_EQ(textOf(content), "") << line;
        EXPECT_FALSE(content->getTransferDecoder()->bodyIsComplete()) << line;
    }
}

TEST(ResponseBody, CutHeadTakenAsReadIsNotComplete)
{
    ScriptedServer server(sending("HTTP/1.1 200\r\nContent-Length: 1"));
    HTTPConnection connection = connectTo(server);
    const auto content = onlyContentOf(getResponse(connection));
    ASSERT_TRUE(content);
    EXPECT_EQ(textOf(content), "");
    EXPECT_FALSE(content->getTransferDecoder()->bodyIsComplete());
}

TEST(ResponseBody, ErrorStatusOverAConnectionIsLoggedAndThrown)
{
    const zol_test::LogCapture log(blocxx::E_ERROR_LEVEL);
    ScriptedServer server(sending("HTTP/1.1 404 Not Found\r\n\r\nbody"));
    HTTPConnection connection = connectTo(server);
    try
    {
        getResponse(connection);
        FAIL() << "404 is not a success";
    }
    catch (const HTTPException& e)
    {
        EXPECT_EQ(e.getErrorCode(), 404);
    }
    EXPECT_THAT(logLines(log, RESPONSE), ElementsAre(testing::MatchesRegex(
                                             "ERROR response: Error retrieving http response: HTTPResponse: [0-9]+ "
                                             "HTTPException: 404: Error response from http server: HTTP/1.1 404 "
                                             "Not Found")));
    std::string rest;
    std::getline(connection.istream(), rest);
    EXPECT_EQ(rest, "body") << "the body of an error response is not read";
}

TEST(ResponseBody, MultipartOnAConnectionIsLoggedAndReadAtOnce)
{
    const zol_test::LogCapture log(blocxx::E_DEBUG_LEVEL);
    EXPECT_THROW(receive("Content-Type: Multipart/Related\r\n", "hello"), ContentException);
    EXPECT_THAT(logLines(log, RESPONSE),
                ElementsAre("DEBUG response: Content is multi-part.  Reading all parts to memory.",
                            HasSubstr("ERROR response: Error retrieving http response: ")));
}

TEST(ResponseBody, MultipartIsReadFromTheRawConnection)
{
    const Response response = receive("Content-Type: multipart/mixed; boundary=B\r\nTransfer-Encoding: chunked\r\n"
                                      "Content-Length: 12x\r\n",
                                      "20\r\n--B\r\nContent-Type: text/plain\r\n\r\n5\r\nhello\r\n--B--\r\n0\r\n\r\n");
    EXPECT_EQ(onlyContentAs<TextPlainContent>(response), "5\r\nhello") << "no chunk is decoded and no length read";
}

TEST(ResponseBody, MultipartOfAnySubtypeOnAPlainStreamGoesToTheMultipartReader)
{
    for (const char* const type : {"multipart/mixed", "MULTIPART/related", "multipart/x"})
    {
        EXPECT_THROW(extractBody(type, "hello"), ContentException) << type;
    }
}

TEST(ResponseBody, BodyOfFewerThanTwoBytesIsEmptyText)
{
    for (const char* const type : {"text/plain", "application/octet-stream", "image/png", "text/plain; charset=UTF-16"})
    {
        for (const char* const body : {"", "x"})
        {
            const zol_test::LogCapture log(blocxx::E_DEBUG_LEVEL);
            const Response response = extractBody(type, body);
            EXPECT_EQ(onlyContentAs<TextPlainContent>(response), "") << type;
            EXPECT_EQ(toString(response.contents[0]->getContentType()), "text/plain; charset=UTF-8") << type;
            std::vector<std::string> expected;
            if (std::string(body).empty())
            {
                expected.push_back("DEBUG response: Didn't read a positive number of bytes: 0");
            }
            expected.push_back("DEBUG response: createContent(): Length of content (" +
                               std::to_string(std::string(body).size()) +
                               ") is too short.  Returning an empty text/plain type");
            EXPECT_EQ(logLines(log, RESPONSE), expected);
        }
    }
}

TEST(ResponseBody, TwoBytesAreABody)
{
    EXPECT_EQ(onlyContentAs<TextPlainContent>(extractBody("text/plain", "hi")), "hi");
}

TEST(ResponseBody, MainTypeAloneDecidesTheKind)
{
    for (const char* const type : {"text/plain", "text/xml", "TEXT/html", "text/"})
    {
        EXPECT_EQ(onlyContentAs<TextPlainContent>(extractBody(type, "hello")), "hello") << type;
    }
    for (const char* const type : {"application/octet-stream", "Application/xml", "application/text"})
    {
        EXPECT_EQ(onlyContentAs<ApplicationOctetStreamContent>(extractBody(type, "hello")), "hello") << type;
    }
}

TEST(ResponseBody, BytesArriveAsTheyAre)
{
    const std::string body("a\0\r\n\xff"
                           "b",
                           6);
    EXPECT_EQ(onlyContentAs<TextPlainContent>(extractBody("text/plain", body)), body);
    EXPECT_EQ(onlyContentAs<ApplicationOctetStreamContent>(extractBody("application/x", body)), body);
}

TEST(ResponseBody, LongBodiesArriveWhole)
{
    for (const size_t size : {2047U, 2048U, 2049U, 4096U, 100000U})
    {
        std::string body(size, 'x');
        body.back() = 'y';
        EXPECT_TRUE(onlyContentAs<TextPlainContent>(extractBody("text/plain", body)) == body) << size;
    }
}

TEST(ResponseBody, BytesBeforeAReadErrorAreKept)
{
    struct BreakingBuffer : std::stringbuf
    {
        BreakingBuffer() : std::stringbuf("hello", std::ios::in) {}
        int_type underflow() override
        {
            if (in_avail() > 0)
            {
                return std::stringbuf::underflow();
            }
            throw std::runtime_error("device");
        }
        std::streamsize xsgetn(char* to, std::streamsize count) override
        {
            const std::streamsize got = std::stringbuf::xsgetn(to, std::min(count, in_avail()));
            if (got == 0)
            {
                throw std::runtime_error("device");
            }
            return got;
        }
    } buffer;
    std::istream input(&buffer);
    Response response;
    response.contentType.setContentTypeString("Content-Type: text/plain");
    response.parseResponseData(input);
    EXPECT_EQ(onlyContentAs<TextPlainContent>(response), "hello");
}

TEST(ResponseBody, FailedStreamGivesEmptyTextWithoutARead)
{
    const zol_test::LogCapture log(blocxx::E_DEBUG_LEVEL);
    Response response;
    std::istringstream input("hello");
    input.setstate(std::ios::failbit);
    response.parseResponseData(input);
    EXPECT_EQ(onlyContentAs<TextPlainContent>(response), "");
    EXPECT_THAT(logLines(log, RESPONSE),
                ElementsAre("DEBUG response: createContent(): Length of content (0) is too short.  Returning an empty "
                            "text/plain type"));
}

TEST(ResponseBody, OnlyUTF16MakesSixteenBitText)
{
    const std::string body("a\0b\0c", 5);
    for (const char* const charset : {"UTF-16", "utf-16"})
    {
        const Response response = extractBody(std::string("text/plain; charset=") + charset, body);
        EXPECT_EQ(onlyContentAs<TextPlainContent>(response), body.substr(0, 4)) << "an odd byte is dropped";
        EXPECT_EQ(toString(response.contents[0]->getContentType()), "text/plain; charset=UTF-16");
    }
    for (const char* const charset : {"UTF-16LE", "UTF-16BE", "UTF16", "UTF-8", "latin1"})
    {
        const Response response = extractBody(std::string("text/plain; charset=") + charset, body);
        EXPECT_EQ(onlyContentAs<TextPlainContent>(response), body) << charset;
        EXPECT_EQ(toString(response.contents[0]->getContentType()), "text/plain; charset=UTF-8");
    }
}

TEST(ResponseBody, CharsetParameterNameIsTakenLiterally)
{
    EXPECT_EQ(onlyContentAs<TextPlainContent>(extractBody("text/plain; Charset=UTF-16", "hello")), "hello");
}

TEST(ResponseBody, UnsupportedTypeIsLoggedAndDropped)
{
    const zol_test::LogCapture log(blocxx::E_ERROR_LEVEL);
    const Response response = extractBody("image/png", "\x89PNG");
    EXPECT_TRUE(response.contents.empty());
    EXPECT_THAT(
        logLines(log, RESPONSE),
        ElementsAre("ERROR response: Invalid header type given to createContent(): image",
                    "ERROR response: Failed to create content for response .. (FIXME: Bad error message).: image"));
}

TEST(ResponseBody, LogsEveryStepOfAPlainStream)
{
    Response response;
    std::istringstream input(std::string(2048, 'x'));
    const zol_test::LogCapture log(blocxx::E_DEBUG3_LEVEL);
    response.parseResponseData(input);
    EXPECT_THAT(logLines(log, RESPONSE),
                ElementsAre("DEBUG2 response: Reading data (not multi-part)",
                            "DEBUG response: Didn't read a positive number of bytes: 0",
                            "DEBUG3 response: Creating content...",
                            "DEBUG3 response: createContent(): Extracting content for 2048 bytes of data.",
                            "DEBUG2 response: Creating an ApplicationOctetStreamContent type for the given data."));
}

TEST(ResponseBody, LogsWhichKindOfTextItMakes)
{
    const zol_test::LogCapture log(blocxx::E_DEBUG2_LEVEL);
    extractBody("text/plain", "hello");
    extractBody("text/plain; charset=UTF-16", "hello");
    EXPECT_THAT(logLines(log, RESPONSE),
                ElementsAre("DEBUG2 response: Reading data (not multi-part)",
                            "DEBUG2 response: Creating a TextPlainContent type for the given data (8 bit).",
                            "DEBUG2 response: Reading data (not multi-part)",
                            "DEBUG2 response: Creating a TextPlainContent type for the given data (UTF-16)."));
}

} // namespace
