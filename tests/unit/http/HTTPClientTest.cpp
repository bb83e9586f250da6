#include "zol/http/HTTPClient.hpp"

#include "support/Descriptor.hpp"
#include "support/LogLines.hpp"
#include "support/ScriptedContent.hpp"
#include "support/ScriptedServer.hpp"
#include "support/TemporaryDirectory.hpp"
#include "support/TextOf.hpp"

#include "blocxx/LogMessage.hpp"
#include "blocxx/Socket.hpp"
#include "blocxx/SocketAddress.hpp"
#include "blocxx/SocketException.hpp"
#include "zol/http/HTTPException.hpp"
#include "zol/mime/OctetStreamContent.hpp"
#include "zol/mime/TextContent.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace
{

using blocxx::SSLClientCtxRef;
using blocxx::String;
using blocxx::Timeout;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;
using zol_test::logLines;
using zol_test::respondingWith;
using zol_test::ScriptedServer;
using zol_test::ServerConnection;
using zol_test::textOf;
using ZOLNS2::HTTP::getPage;
using ZOLNS2::HTTP::Headers;
using ZOLNS2::HTTP::HTTPException;
using ZOLNS2::HTTP::Request;
using ZOLNS2::HTTP::RequestLine;
using ZOLNS2::HTTP::Response;
using ZOLNS2::MIME::ContentRef;
using ZOLNS2::MIME::TextPlainContent;

const char* const CLIENT = "zol.common.http.client";

/// A TCP connect to this address fails at once, without a packet: how a fetch read a URL shows in the exception.
const std::string UNREACHABLE = "255.255.255.255";

/// No resolver looks up a name with so long a label.
const std::string UNRESOLVABLE = std::string(70, 'a');

Request requestFor(const std::string& url, const ContentRef& content = ContentRef())
{
    return Request(RequestLine("GET", "/page", url.c_str(), ZOLNS2::HTTP::HTTP_1_1), Headers(), content,
                   SSLClientCtxRef());
}

Response fetch(const std::string& url)
{
    return getPage(requestFor(url), Timeout::relative(10));
}

std::string messageOfFailedFetch(const std::string& url)
{
    try
    {
        fetch(url);
    }
    catch (const blocxx::Exception& e)
    {
        return std::string(e.type()) + ": " + e.getMessage();
    }
    return "no exception";
}

TEST(HTTPClient, FetchesAPageFromTheHostAndPortOfTheURL)
{
    ScriptedServer server(
        respondingWith("HTTP/1.1 200 OK\r\nContent-Type: text/html\r\nContent-Length: 5\r\n\r\nhello"));
    const Response response = fetch(server.address());
    EXPECT_EQ(response.statusLine.statusCode, 200);
    EXPECT_EQ(toString(response.contentType), "text/html");
    ASSERT_EQ(response.contents.size(), 1U);
    EXPECT_EQ(textOf(response.contents[0]), "hello");
    EXPECT_THAT(server.requests(), ElementsAre("GET /page HTTP/1.1\r\n\r\n"));
}

TEST(HTTPClient, ReadsAHeadWholeWhateverItsSizeAndItsCuts)
{
    for (const size_t size : {16383U, 16384U, 16385U, 32768U, 65535U, 65536U, 65537U, 90000U})
    {
        std::string head = "HTTP/1.1 200 OK\r\nContent-Length: 20000\r\nFirst: 1\r\n";
        while (head.size() + 200 < size)
        {
            head += "Line: " + std::string(100, 'v') + "\r\n";
        }
        head += "Last: " + std::string(size - head.size() - 10, 'z') + "\r\n\r\n";
        ASSERT_EQ(head.size(), size);
        for (const size_t cut : {size_t{16384}, size_t{16383}, size - 1, size})
        {
            ScriptedServer server(
                [&](ServerConnection& peer)
                {
                    peer.receiveHead();
                    const std::string bytes = head + std::string(20000, 'b');
                    peer.send(bytes.substr(0, cut));
                    peer.pause(std::chrono::milliseconds(2));
                    peer.send(bytes.substr(cut));
                });
            const Response response = fetch(server.address());
            EXPECT_EQ(textOf(response.headers.getHeaderValue("first")), "1") << size << " " << cut;
            EXPECT_EQ(textOf(response.headers.getHeaderValue("last")).find_first_not_of('z'), std::string::npos);
            EXPECT_EQ(textOf(response.contents[0]), std::string(20000, 'b')) << size << " " << cut;
        }
    }
}

TEST(HTTPClient, SendsTheRequestAsItWasComposedAndNothingElse)
{
    ScriptedServer server(
        [](ServerConnection& peer)
        {
            peer.receiveHead();
            peer.receive(4);
            peer.send("HTTP/1.0 204 Fine\r\n\r\n");
        });
    Headers headers;
    headers.addHeader("X-B", "2");
    headers.addHeader("x-a", "1");
    headers.addHeader("X-B", "3");
    const Request request(RequestLine("POST", "/cgi", server.address().c_str(), ZOLNS2::HTTP::HTTP_1_0), headers,
                          ContentRef(new TextPlainContent("body")), SSLClientCtxRef());
    getPage(request, Timeout::relative(10));
    EXPECT_THAT(server.requests(), ElementsAre("POST /cgi HTTP/1.0\r\nX-B: 2\r\nx-a: 1\r\nX-B: 3\r\n\r\nbody"));
}

TEST(HTTPClient, BodyIsReadWhenItIsPulledAndKeepsTheConnectionOpen)
{
    ScriptedServer server(
        [](ServerConnection& peer)
        {
            peer.receiveHead();
            peer.send("HTTP/1.1 200 OK\r\n\r\n");
            EXPECT_TRUE(peer.waitUntilPeerCloses());
        });
    Response response = fetch(server.address());
    EXPECT_FALSE(server.waitUntilIdle(std::chrono::milliseconds(100))) << "the content holds the connection";
    ContentRef content = response.getNextPart();
    response = Response();
    EXPECT_FALSE(server.waitUntilIdle(std::chrono::milliseconds(100))) << "any reference to it does";
    content = ContentRef();
    EXPECT_TRUE(server.waitUntilIdle());
}

TEST(HTTPClient, ErrorStatusThrowsItsCodeAndClosesTheConnection)
{
    ScriptedServer server(
        [](ServerConnection& peer)
        {
            peer.receiveHead();
            peer.send("HTTP/1.1 302 Found\r\nLocation: /elsewhere\r\n\r\n");
            EXPECT_TRUE(peer.waitUntilPeerCloses());
        });
    try
    {
        fetch(server.address());
        FAIL() << "no redirect is followed";
    }
    catch (const HTTPException& e)
    {
        EXPECT_EQ(e.getErrorCode(), 302);
        EXPECT_STREQ(e.getMessage(), "Error response from http server: HTTP/1.1 302 Found");
    }
    EXPECT_TRUE(server.waitUntilIdle());
    EXPECT_EQ(server.connections(), 1U);
}

TEST(HTTPClient, BlanksAroundTheHostBeforeAColonAreDropped)
{
    ScriptedServer server(respondingWith("HTTP/1.1 200 OK\r\n\r\n"));
    EXPECT_EQ(fetch(" \t127.0.0.1 :" + std::to_string(server.port())).statusLine.statusCode, 200);
}

TEST(HTTPClient, WithoutAColonTheHostIsTheWholeURLAndThePort80)
{
    const zol_test::LogCapture log(blocxx::E_DEBUG3_LEVEL);
    EXPECT_THAT(messageOfFailedFetch(UNREACHABLE), HasSubstr(UNREACHABLE + ":80"));
    EXPECT_THAT(logLines(log, CLIENT),
                ElementsAre("DEBUG2 HTTP Client: Making the following request: GET /page HTTP/1.1\r\n",
                            "DEBUG2 HTTP Client: Requested URL: " + UNREACHABLE));
}

TEST(HTTPClient, HostWithoutColonIsNotTrimmed)
{
    EXPECT_THAT(messageOfFailedFetch(" " + UNRESOLVABLE + " "),
                StartsWith("UnknownHostException: Unknown host:  " + UNRESOLVABLE + " "));
}

TEST(HTTPClient, AnIPv6AddressInBracketsIsNotTakenAsAHost)
{
    EXPECT_THAT(messageOfFailedFetch("[::1]:80"), StartsWith("UnknownHostException: Unknown host: ["));
}

TEST(HTTPClient, UnknownHostPassesUnchanged)
{
    EXPECT_THAT(messageOfFailedFetch(UNRESOLVABLE + ":1"),
                StartsWith("UnknownHostException: Unknown host: " + UNRESOLVABLE));
}

TEST(HTTPClient, LogsNoPortTextWhereThereIsAPort)
{
    const zol_test::LogCapture log(blocxx::E_DEBUG3_LEVEL);
    messageOfFailedFetch(UNREACHABLE + ":8080");
    EXPECT_THAT(logLines(log, CLIENT),
                ElementsAre("DEBUG2 HTTP Client: Making the following request: GET /page HTTP/1.1\r\n",
                            "DEBUG2 HTTP Client: Requested URL: " + UNREACHABLE + ":8080",
                            "DEBUG3 HTTP Client: No port in requested URL: GET /page HTTP/1.1\r\n"));
}

TEST(HTTPClient, PortsUpTo65535AreTaken)
{
    EXPECT_THAT(messageOfFailedFetch(UNREACHABLE + ":8080"), HasSubstr(UNREACHABLE + ":8080"));
    EXPECT_THAT(messageOfFailedFetch(UNREACHABLE + ":65535"), HasSubstr(UNREACHABLE + ":65535"));
    EXPECT_THAT(messageOfFailedFetch(UNREACHABLE + ":00081"), HasSubstr(UNREACHABLE + ":81"));
}

TEST(HTTPClient, EverythingElseIsLoggedAsAnErrorAndPort80)
{
    for (const std::string port : {"http", "65536", "70000", "-1", "+81", "0x51", "81 ", " 81", "81/page", "8:1"})
    {
        const zol_test::LogCapture log(blocxx::E_ERROR_LEVEL);
        EXPECT_THAT(messageOfFailedFetch(UNREACHABLE + ":" + port), HasSubstr(UNREACHABLE + ":80")) << port;
        EXPECT_THAT(
            logLines(log, CLIENT),
            ElementsAre(testing::AllOf(StartsWith("ERROR HTTP Client: Could not convert " + port +
                                                  " to a port number.  Going with port 80.  Conversion Exception: "),
                                       HasSubstr("StringConversionException"))))
            << port;
    }
}

TEST(HTTPClient, EmptyPortIsNotANumberEither)
{
    const zol_test::LogCapture log(blocxx::E_ERROR_LEVEL);
    EXPECT_THAT(messageOfFailedFetch(UNREACHABLE + ":"), HasSubstr(UNREACHABLE + ":80"));
    EXPECT_THAT(
        logLines(log, CLIENT),
        ElementsAre(StartsWith("ERROR HTTP Client: Could not convert  to a port number.  Going with port 80.  ")));
}

TEST(HTTPClient, SchemeIsTakenAsHostAndPort80)
{
    const zol_test::LogCapture log(blocxx::E_ERROR_LEVEL);
    EXPECT_THAT(messageOfFailedFetch(UNRESOLVABLE + "://127.0.0.1:8080/"),
                StartsWith("UnknownHostException: Unknown host: " + UNRESOLVABLE));
    EXPECT_THAT(logLines(log, CLIENT),
                ElementsAre(StartsWith("ERROR HTTP Client: Could not convert //127.0.0.1:8080/ to a port number.  ")));
}

TEST(HTTPClient, TLSKeepsThePort)
{
    const SSLClientCtxRef tls(new blocxx::SSLClientCtx());
    const Request request(RequestLine("GET", "/", UNREACHABLE.c_str(), ZOLNS2::HTTP::HTTP_1_1), Headers(), tls);
    try
    {
        getPage(request, Timeout::relative(10));
        FAIL() << "nothing listens there";
    }
    catch (const blocxx::Exception& e)
    {
        EXPECT_THAT(e.getMessage(), HasSubstr(UNREACHABLE + ":80"));
    }
}

TEST(HTTPClient, RequestWithATLSContextSpeaksTLS)
{
    std::atomic<int> firstByte{-1};
    ScriptedServer server([&](ServerConnection& peer) { firstByte = static_cast<unsigned char>(peer.receive(1)[0]); });
    const SSLClientCtxRef tls(new blocxx::SSLClientCtx());
    const Request request(RequestLine("GET", "/", server.address().c_str(), ZOLNS2::HTTP::HTTP_1_1), Headers(), tls);
    EXPECT_THROW(getPage(request, Timeout::relative(10)), blocxx::Exception);
    const int handshakeRecord = 22;
    EXPECT_EQ(firstByte, handshakeRecord);
}

TEST(HTTPClient, RefusedConnectIsTheSocketExceptionAndLogsNoError)
{
    const zol_test::LogCapture log(blocxx::E_ERROR_LEVEL);
    const zol_test::LoopbackSocket closed(zol_test::LoopbackSocket::E_BOUND);
    EXPECT_THROW(fetch("127.0.0.1:" + std::to_string(closed.port)), blocxx::SocketException);
    EXPECT_THAT(logLines(log, CLIENT), IsEmpty());
}

TEST(HTTPClient, LogsEveryStep)
{
    ScriptedServer server(respondingWith("HTTP/1.1 200 OK\r\n\r\n"));
    const zol_test::LogCapture log(blocxx::E_DEBUG3_LEVEL);
    fetch(server.address());
    EXPECT_THAT(logLines(log, CLIENT),
                ElementsAre("DEBUG2 HTTP Client: Making the following request: GET /page HTTP/1.1\r\n",
                            "DEBUG2 HTTP Client: Requested URL: " + server.address(),
                            "DEBUG3 HTTP Client: No port in requested URL: GET /page HTTP/1.1\r\n",
                            "DEBUG2 HTTP Client: Sending the request...",
                            "DEBUG2 HTTP Client: Reading the response..."));
}

/// Shows every record to a function, on the thread that writes it.
class WatchingAppender : public blocxx::LogAppender
{
public:
    explicit WatchingAppender(std::function<void(const std::string&)> watch)
        : LogAppender(ALL_COMPONENTS, ALL_CATEGORIES, ""), m_watch(std::move(watch))
    {
    }

private:
    void doProcessLogMessage(const blocxx::String&, const blocxx::LogMessage& message) const override
    {
        m_watch(message.message.c_str());
    }

    std::function<void(const std::string&)> m_watch;
};

/// Records when it is read.
class WatchedContent : public zol_test::ScriptedContent
{
public:
    explicit WatchedContent(bool& wasRead) : ScriptedContent({"the body"}), m_wasRead(wasRead) {}
    size_t getData(char* buf, size_t len, const ZOLNS2::MIME::ContentStreamStateRef& state) override
    {
        m_wasRead = true;
        return ScriptedContent::getData(buf, len, state);
    }

private:
    bool& m_wasRead;
};

TEST(HTTPClient, SaysThatItSendsBeforeItWritesAndThatItReadsAfterTheFlush)
{
    std::atomic<bool> received{false};
    ScriptedServer server(
        [&received](ServerConnection& peer)
        {
            peer.receiveHead();
            peer.receive(8);
            received = true;
            peer.send("HTTP/1.1 200 OK\r\n\r\n");
        });
    bool wasRead = false;
    bool readWhenSending = true;
    bool receivedWhenReading = false;
    const blocxx::LogAppenderRef former = blocxx::LogAppender::getDefaultLogAppender();
    blocxx::LogAppender::setDefaultLogAppender(new WatchingAppender(
        [&](const std::string& message)
        {
            if (message == "HTTP Client: Sending the request...")
            {
                readWhenSending = wasRead;
            }
            if (message == "HTTP Client: Reading the response...")
            {
                // The request has been sent, or never will be: the thread that would flush it waits here.
                for (int i = 0; i < 500 && !received; ++i)
                {
                    std::this_thread::sleep_for(std::chrono::milliseconds(10));
                }
                receivedWhenReading = received;
            }
        }));
    const Response response =
        getPage(requestFor(server.address(), ContentRef(new WatchedContent(wasRead))), Timeout::relative(10));
    blocxx::LogAppender::setDefaultLogAppender(former);
    EXPECT_EQ(response.statusLine.statusCode, 200);
    EXPECT_FALSE(readWhenSending);
    EXPECT_TRUE(wasRead);
    EXPECT_TRUE(receivedWhenReading);
}

TEST(HTTPClient, UploadOfFilesArrivesWhole)
{
    const zol_test::TemporaryDirectory directory;
    const std::string full(4096, 'f');
    const std::string empty = directory.write("empty", "");
    const std::vector<String> names = {directory.write("full", full), empty, directory.write("tail", "tail"), empty};
    ScriptedServer server(
        [](ServerConnection& peer)
        {
            peer.receiveHead();
            peer.receive(4100);
            peer.send("HTTP/1.1 200 OK\r\n\r\n");
        });
    const ContentRef files(
        new ZOLNS2::MIME::FileApplicationOctetStreamContent(blocxx::Array<String>(names.begin(), names.end())));
    const Response response = getPage(requestFor(server.address(), files), Timeout::relative(10));
    EXPECT_TRUE(response.requestIsComplete());
    EXPECT_EQ(server.requests().at(0).substr(server.requests().at(0).size() - 4100), full + "tail");
}

TEST(HTTPClient, ResponseSaysThatTheRequestWasNotSentWhole)
{
    ScriptedServer::Options options;
    options.receiveBufferSize = 4096;
    ScriptedServer server(options,
                          [](ServerConnection& peer)
                          {
                              peer.receiveHead();
                              peer.send("HTTP/1.1 200 OK\r\n\r\nearly");
                              peer.shutdownWrite();
                              peer.pause(std::chrono::seconds(20)); // and reads no more of the body
                          });
    blocxx::Socket::setDefaultTimeouts(Timeout::relative(0.5F));
    const std::string body(32 << 20, 'b');
    const ContentRef content(new ZOLNS2::MIME::ApplicationOctetStreamContent(body.data(), body.size()));
    const Response response = getPage(requestFor(server.address(), content), Timeout::relative(10));
    blocxx::Socket::setDefaultTimeouts(Timeout::relative(300));
    EXPECT_EQ(response.statusLine.statusCode, 200);
    EXPECT_FALSE(response.requestIsComplete());
    EXPECT_EQ(textOf(response.contents[0]), "early") << "what the server said stays readable";
    EXPECT_FALSE(Response(response).requestIsComplete());
}

TEST(HTTPClient, ContentThatNeverEndsDoesNotHoldTheFetch)
{
    const zol_test::TemporaryDirectory directory;
    ScriptedServer server([](ServerConnection& peer) { peer.waitUntilPeerCloses(); });
    const ContentRef missing(
        new ZOLNS2::MIME::FileApplicationOctetStreamContent(String((directory.path() / "missing").string())));
    EXPECT_THROW(getPage(requestFor(server.address(), missing), Timeout::relative(10)), HTTPException);
}

TEST(HTTPClient, LogsNothingBelowDebug2WhereNothingIsWrong)
{
    ScriptedServer server(respondingWith("HTTP/1.1 200 OK\r\n\r\n"));
    const zol_test::LogCapture log(blocxx::E_DEBUG_LEVEL);
    fetch(server.address());
    EXPECT_THAT(logLines(log, CLIENT), IsEmpty());
}

TEST(HTTPClient, EmptyRequestBodyFailsTheFetch)
{
    ScriptedServer server(respondingWith("HTTP/1.1 200 OK\r\n\r\n"));
    const zol_test::LogCapture log(blocxx::E_ERROR_LEVEL);
    try
    {
        getPage(requestFor(server.address(), ContentRef(new TextPlainContent(""))), Timeout::relative(10));
        FAIL() << "the stream has failed";
    }
    catch (const HTTPException& e)
    {
        EXPECT_STREQ(e.getMessage(), "Status lines in HTTP response are empty.");
    }
    EXPECT_THAT(logLines(log, CLIENT),
                ElementsAre("ERROR HTTP Client: Sending output caused input to be marked bad (not flushed yet)."));
    server.waitUntilIdle();
    server.ignoreErrors();
}

TEST(HTTPClient, NothingIsLoggedAsAnErrorWhenTheResponseIsRefused)
{
    ScriptedServer server(respondingWith("HTTP/1.1 500 Oh\r\n\r\n"));
    const zol_test::LogCapture log(blocxx::E_ERROR_LEVEL);
    EXPECT_THROW(fetch(server.address()), HTTPException);
    EXPECT_THAT(logLines(log, CLIENT), IsEmpty());
    EXPECT_THAT(logLines(log, "zol.common.http.response"), ElementsAre(HasSubstr("Error retrieving http response: ")));
}

TEST(HTTPClient, FetchesFromManyThreadsAtOnce)
{
    ScriptedServer server(respondingWith("HTTP/1.1 200 OK\r\nContent-Length: 5\r\n\r\nhello"));
    std::atomic<int> fetched{0};
    std::vector<std::thread> threads;
    for (int i = 0; i < 8; ++i)
    {
        threads.emplace_back(
            [&]
            {
                for (int j = 0; j < 5; ++j)
                {
                    fetched += textOf(fetch(server.address()).contents[0]) == "hello" ? 1 : 0;
                }
            });
    }
    for (std::thread& thread : threads)
    {
        thread.join();
    }
    EXPECT_EQ(fetched, 40);
}

} // namespace
