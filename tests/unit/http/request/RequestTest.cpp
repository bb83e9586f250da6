#include "zol/http/Request.hpp"

#include "support/Allocations.hpp"
#include "support/ScriptedContent.hpp"

#include "zol/http/HTTPException.hpp"
#include "zol/mime/TextContent.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <iomanip>
#include <iterator>
#include <sstream>
#include <string>

using namespace ZOLNS2;
using HTTP::Headers;
using HTTP::Request;
using HTTP::RequestLine;
using zol_test::ScriptedContent;

namespace
{

const Request::SSLContextRef plain;

RequestLine lineOf(const char* method)
{
    return RequestLine(method, "/cgi", "example.com:8080", HTTP::HTTP_1_1);
}

Headers twoHeaders()
{
    Headers headers;
    headers.addHeader("Host", "example.com");
    headers.addHeader("X-A", "1");
    return headers;
}

MIME::ContentRef text(const char* content)
{
    return MIME::ContentRef(new MIME::TextPlainContent(content));
}

std::string wireForm(const Request& request)
{
    std::ostringstream out;
    out << request;
    return out.str();
}

std::string readAll(std::istream& in)
{
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

/// Records how it is written to.
class NotingBuffer : public std::stringbuf
{
public:
    std::vector<std::streamsize> blocks;
    int singleBytes = 0;
    int flushes = 0;

protected:
    std::streamsize xsputn(const char* from, std::streamsize count) override
    {
        blocks.push_back(count);
        return std::stringbuf::xsputn(from, count);
    }
    int_type overflow(int_type c) override
    {
        ++singleBytes;
        return std::stringbuf::overflow(c);
    }
    int sync() override
    {
        ++flushes;
        return 0;
    }
};

} // namespace

TEST(Request, WithoutContentEndsWithTheBlankLine)
{
    EXPECT_EQ(wireForm(Request(lineOf("GET"), twoHeaders(), plain)),
              "GET /cgi HTTP/1.1\r\nHost: example.com\r\nX-A: 1\r\n\r\n");
}

TEST(Request, WithNullContentIsARequestWithoutContent)
{
    const Request request(lineOf("GET"), Headers(), MIME::ContentRef(), plain);
    EXPECT_EQ(wireForm(request), "GET /cgi HTTP/1.1\r\n\r\n");
    EXPECT_FALSE(request.getContent());
    EXPECT_FALSE(request.getEntityBody());
}

TEST(Request, WithoutHeadersTheBlankLineFollowsTheRequestLine)
{
    EXPECT_EQ(wireForm(Request(lineOf("GET"), Headers(), plain)), "GET /cgi HTTP/1.1\r\n\r\n");
}

TEST(Request, BodyFollowsTheBlankLineAndNoHeaderIsAdded)
{
    EXPECT_EQ(wireForm(Request(lineOf("POST"), twoHeaders(), text("hello"), plain)),
              "POST /cgi HTTP/1.1\r\nHost: example.com\r\nX-A: 1\r\n\r\nhello");
}

TEST(Request, DuplicatedHeadersAreWrittenAsOftenAsTheyOccur)
{
    Headers headers;
    headers.addHeader("X-A", "1");
    headers.addHeader("x-a", "2");
    headers.addHeader("X-A", "1");
    EXPECT_EQ(wireForm(Request(lineOf("GET"), headers, plain)),
              "GET /cgi HTTP/1.1\r\nX-A: 1\r\nx-a: 2\r\nX-A: 1\r\n\r\n");
}

TEST(Request, BodyIsNotComparedWithTheContentLengthHeader)
{
    Headers headers;
    headers.addHeader("Content-Length", "2");
    headers.addHeader("Transfer-Encoding", "chunked");
    EXPECT_EQ(wireForm(Request(lineOf("POST"), headers, text("hello"), plain)),
              "POST /cgi HTTP/1.1\r\nContent-Length: 2\r\nTransfer-Encoding: chunked\r\n\r\nhello");
}

TEST(Request, HeadersAddedAfterConstructionAreNotSent)
{
    Headers headers = twoHeaders();
    const Request request(lineOf("GET"), headers, plain);
    headers.addHeader("X-Late", "1");
    EXPECT_EQ(request.getHeaders().getHeaderValue("X-Late"), "");
}

TEST(Request, AccessorsGiveWhatWasPassed)
{
    const MIME::ContentRef content = text("x");
    const Request::SSLContextRef context(new blocxx::SSLClientCtx);
    const Request request(lineOf("POST"), twoHeaders(), content, context);
    EXPECT_EQ(request.getRequestLine().method, "POST");
    EXPECT_EQ(request.getRequestLine().url, "example.com:8080");
    EXPECT_EQ(request.getHeaders().getHeaderValue("x-a"), "1");
    EXPECT_EQ(request.getContent(), content);
    EXPECT_EQ(request.getSSLContext(), context);
    EXPECT_EQ(Request(lineOf("GET"), twoHeaders(), context).getSSLContext(), context);
}

TEST(Request, CopiesShareContentAndHeaders)
{
    const Request request(lineOf("POST"), twoHeaders(), text("x"), plain);
    const Request copy(request);
    EXPECT_EQ(copy.getContent(), request.getContent());
    EXPECT_EQ(&*copy.getHeaders().begin(), &*request.getHeaders().begin());
}

TEST(Request, EachEntityBodyReadsTheWholeBody)
{
    const Request request(lineOf("POST"), Headers(), text("hello"), plain);
    const HTTP::EntityBodyRef first = request.getEntityBody();
    const HTTP::EntityBodyRef second = request.getEntityBody();
    EXPECT_EQ(readAll(*first), "hello");
    EXPECT_EQ(readAll(*second), "hello");
    EXPECT_TRUE(first->hasContentLength());
    EXPECT_EQ(first->getContentLength(), 5U);
}

TEST(Request, EntityBodyOutlivesTheRequest)
{
    HTTP::EntityBodyRef body;
    {
        body = Request(lineOf("POST"), Headers(), text("hello"), plain).getEntityBody();
    }
    EXPECT_EQ(readAll(*body), "hello");
}

TEST(Request, WrittenTwiceGivesHeadAndBodyTwice)
{
    const Request request(lineOf("POST"), Headers(), text("hello"), plain);
    std::ostringstream out;
    out << request << request;
    EXPECT_EQ(out.str(), "POST /cgi HTTP/1.1\r\n\r\nhelloPOST /cgi HTTP/1.1\r\n\r\nhello");
}

TEST(Request, WidthLeftOnTheStreamDoesNotPadIt)
{
    std::ostringstream out;
    out << std::setw(60) << Request(lineOf("GET"), Headers(), plain);
    EXPECT_EQ(out.str(), "GET /cgi HTTP/1.1\r\n\r\n");
}

TEST(Request, LargeBodyIsCopiedInBlocks)
{
    const std::string bytes = zol_test::distinctBytes(100000);
    const MIME::ContentRef content(new ScriptedContent({bytes}));
    NotingBuffer buffer;
    std::ostream out(&buffer);
    out << Request(lineOf("POST"), Headers(), content, plain);
    EXPECT_TRUE(out.good());
    EXPECT_EQ(buffer.str(), "POST /cgi HTTP/1.1\r\n\r\n" + bytes);
    EXPECT_EQ(std::count(buffer.blocks.begin(), buffer.blocks.end(), 4096), 24);
    EXPECT_LT(buffer.singleBytes, 30);
}

TEST(Request, IsFlushedAfterTheBody)
{
    NotingBuffer buffer;
    std::ostream out(&buffer);
    out << Request(lineOf("POST"), Headers(), text("hello"), plain);
    EXPECT_EQ(buffer.flushes, 1);
}

TEST(Request, WithoutContentIsLeftToTheCallerToFlush)
{
    NotingBuffer buffer;
    std::ostream out(&buffer);
    out << Request(lineOf("GET"), Headers(), plain);
    EXPECT_EQ(buffer.flushes, 0);
}

TEST(Request, HeadOfUsualSizeIsGatheredInOneAllocation)
{
    class Sink : public std::streambuf
    {
    public:
        size_t taken = 0;

    protected:
        std::streamsize xsputn(const char*, std::streamsize count) override
        {
            taken += static_cast<size_t>(count);
            return count;
        }
    };
    const auto requestOfHeadSize = [](size_t size)
    {
        const size_t around = std::string("GET  HTTP/1.1\r\n\r\n").size();
        return Request(RequestLine("GET", std::string(size - around, 'x').c_str(), "", ZOLNS2::HTTP::HTTP_1_1),
                       Headers(), blocxx::SSLClientCtxRef());
    };
    const Request usual = requestOfHeadSize(512);
    const Request large = requestOfHeadSize(513);
    Sink sink;
    std::ostream out(&sink);
    EXPECT_EQ(zol_test::allocationsOf([&] { out << usual; }).count, 1U);
    EXPECT_EQ(sink.taken, 512U);
    EXPECT_EQ(zol_test::allocationsOf([&] { out << large; }).count, 2U);
}

TEST(Request, BodyWithoutBytesLeavesFailbitOnTheOutput)
{
    std::ostringstream out;
    EXPECT_NO_THROW(out << Request(lineOf("POST"), Headers(), text(""), plain));
    EXPECT_TRUE(out.fail());
    EXPECT_FALSE(out.bad());
    EXPECT_EQ(out.str(), "POST /cgi HTTP/1.1\r\n\r\n");
}

TEST(Request, ContentThatThrowsBeforeItsFirstByteLeavesFailbit)
{
    const blocxx::IntrusiveReference<ScriptedContent> content(new ScriptedContent({"abc"}));
    content->throwAtPiece = 0;
    std::ostringstream out;
    EXPECT_NO_THROW(out << Request(lineOf("POST"), Headers(), content, plain));
    EXPECT_TRUE(out.fail());
}

TEST(Request, ContentThatThrowsHalfWayLeavesFailbitAfterItsBytes)
{
    const blocxx::IntrusiveReference<ScriptedContent> content(new ScriptedContent({"abc", "def"}));
    content->throwAtPiece = 1;
    std::ostringstream out;
    EXPECT_NO_THROW(out << Request(lineOf("POST"), Headers(), content, plain));
    EXPECT_TRUE(out.fail());
    EXPECT_EQ(out.str(), "POST /cgi HTTP/1.1\r\n\r\nabc");
}

TEST(Request, ContentThatRefusesAReaderThrowsAfterTheHead)
{
    const blocxx::IntrusiveReference<ScriptedContent> content(new ScriptedContent({"abc"}));
    content->refusesReaders = true;
    std::ostringstream out;
    EXPECT_THROW(out << Request(lineOf("POST"), Headers(), content, plain), std::runtime_error);
    EXPECT_EQ(out.str(), "POST /cgi HTTP/1.1\r\n\r\n");
}

TEST(Request, FailedOutputIsLeftAsItIs)
{
    std::ostringstream out;
    out.setstate(std::ios_base::badbit);
    EXPECT_NO_THROW(out << Request(lineOf("GET"), twoHeaders(), plain));
    EXPECT_TRUE(out.bad());
    EXPECT_EQ(out.str(), "");
}
