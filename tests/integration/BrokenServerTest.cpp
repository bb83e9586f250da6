#include "Fetch.hpp"
#include "support/Process.hpp"
#include "support/ScriptedServer.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <chrono>

namespace
{

using namespace ZOLNS2;
using namespace zol_integration;
using namespace std::chrono_literals;
using testing::HasSubstr;
using zol_test::ScriptedServer;
using zol_test::ServerConnection;

const char* const OK = "HTTP/1.1 200 OK\r\n";
const char* const CHUNKED = "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n";

// How long something takes, checked against a bound at the end of the scope.
class Within
{
public:
    explicit Within(std::chrono::milliseconds limit) : m_limit(limit) {}
    ~Within() { EXPECT_LT(std::chrono::steady_clock::now() - m_start, m_limit); }

private:
    std::chrono::milliseconds m_limit;
    std::chrono::steady_clock::time_point m_start = std::chrono::steady_clock::now();
};

// A server that reads the head of each request and then sends `answer`.
ScriptedServer::Script answering(const std::string& answer)
{
    return [answer](ServerConnection& c)
    {
        c.receiveHead();
        c.send(answer);
    };
}

Body onlyBody(HTTP::Response response)
{
    return readBody(response.getNextPart());
}

std::string patternOfText()
{
    std::string text = pattern(3000);
    for (char& c : text)
    {
        c = static_cast<char>('a' + static_cast<unsigned char>(c) % 26);
    }
    return text;
}

TEST(SlowServer, AnAnswerMayComeOneByteAtATime)
{
    ScriptedServer server(
        [](ServerConnection& c)
        {
            c.receiveHead();
            c.sendSlowly("HTTP/1.1 200 Very  Well\r\nX-Folded: a\r\n b\r\nContent-Length: 11\r\n\r\nhello world",
                         200us);
        });
    HTTP::Response response = fetch(server.port(), Ask());
    EXPECT_STREQ(response.statusLine.reasonPhrase.c_str(), "Very Well");
    EXPECT_EQ(headerOf(response, "x-folded"), "a b");
    EXPECT_EQ(bodyOf(response), "hello world");
}

TEST(SlowServer, ChunksMayComeOneByteAtATime)
{
    ScriptedServer server(
        [](ServerConnection& c)
        {
            c.receiveHead();
            c.sendSlowly(std::string(CHUNKED) + "5;x=y\r\nhello\r\n06\r\n world\r\n0\r\nTrailer: t\r\n\r\n", 200us);
        });
    EXPECT_EQ(bodyOf(fetch(server.port(), Ask())), "hello world");
}

TEST(SlowServer, BytesAreHandedOverAsTheyArrive)
{
    std::atomic<bool> seen = false;
    ScriptedServer server(
        [&](ServerConnection& c)
        {
            c.receiveHead();
            c.send(std::string(CHUNKED) + "5\r\nhello");
            for (int i = 0; i < 1000 && !seen; ++i)
            {
                c.pause(10ms);
            }
            c.send("\r\n0\r\n\r\n");
        });
    HTTP::Response response = fetch(server.port(), Ask());
    const MIME::ContentRef content = response.getNextPart();
    const MIME::ContentStreamStateRef state = content->createInitialStreamState();
    char block[5];
    EXPECT_EQ(content->getData(block, 5, state), 5u);
    seen = true;
    EXPECT_EQ(std::string(block, 5), "hello");
    EXPECT_EQ(content->getData(block, 5, state), 0u);
    EXPECT_EQ(content->getData(block, 5, state), static_cast<std::size_t>(-1));
}

TEST(SlowServer, ProgressRestartsTheReceiveTimeout)
{
    const DefaultTimeouts timeouts(0.4F);
    ScriptedServer server(
        [](ServerConnection& c)
        {
            c.receiveHead();
            c.sendSlowly(std::string(OK) + "Content-Length: 4\r\n\r\n", 0us);
            c.sendSlowly("abcd", 250ms);
        });
    EXPECT_EQ(bodyOf(fetch(server.port(), Ask())), "abcd");
}

TEST(SilentServer, SilenceAfterTheRequestEndsWithTheReceiveTimeout)
{
    const DefaultTimeouts timeouts(0.3F);
    ScriptedServer server([](ServerConnection& c) { c.waitUntilPeerCloses(); });
    const Within bound(5s);
    const Refusal refusal = refusalOf([&] { fetch(server.port(), Ask()); });
    EXPECT_EQ(refusal.type, "HTTPException");
    EXPECT_EQ(refusal.message, "Status lines in HTTP response are empty.");
}

TEST(SilentServer, SilenceInTheHandshakeEndsWithTheConnectTimeout)
{
    ScriptedServer server([](ServerConnection& c) { c.waitUntilPeerCloses(); });
    Ask ask;
    ask.tls = blocxx::SSLClientCtxRef(new blocxx::SSLClientCtx());
    const std::string address = "127.0.0.1:" + std::to_string(server.port());
    const Within bound(5s);
    const Refusal refusal =
        refusalOf([&] { HTTP::getPage(requestFor(ask, address), blocxx::Timeout::relative(0.3F)); });
    EXPECT_EQ(refusal.type, "SocketException");
    EXPECT_EQ(refusal.code, ETIMEDOUT);
    EXPECT_THAT(refusal.message, HasSubstr("TLS handshake"));
    EXPECT_THAT(refusal.message, HasSubstr(address));
}

TEST(SilentServer, SilenceInTheBodyCutsIt)
{
    const DefaultTimeouts timeouts(0.3F);
    ScriptedServer server(
        [](ServerConnection& c)
        {
            c.receiveHead();
            c.send(std::string(OK) + "\r\nhello");
            c.waitUntilPeerCloses();
        });
    const Within bound(5s);
    const Body body = onlyBody(fetch(server.port(), Ask()));
    EXPECT_EQ(body.bytes, "hello");
    EXPECT_TRUE(body.ended);
    EXPECT_FALSE(body.complete);
}

TEST(SilentServer, AnUploadThatNobodyReadsEndsWithTheSendTimeout)
{
    const DefaultTimeouts timeouts(0.3F);
    ScriptedServer::Options options;
    options.receiveBufferSize = 4096;
    ScriptedServer server(options,
                          [](ServerConnection& c)
                          {
                              c.receiveHead();
                              c.pause(10s);
                          });
    const std::string bytes(32 << 20, 'u');
    Ask ask;
    ask.method = "POST";
    ask.content = MIME::ContentRef(new MIME::ApplicationOctetStreamContent(bytes.data(), bytes.size()));
    const Within bound(8s);
    EXPECT_EQ(refusalOf([&] { fetch(server.port(), ask); }).message, "Status lines in HTTP response are empty.");
}

TEST(EndingServer, AConnectionThatEndsBeforeTheHeadHasNoStatusLine)
{
    ScriptedServer server([](ServerConnection& c) { c.receiveHead(); });
    EXPECT_EQ(refusalOf([&] { fetch(server.port(), Ask()); }).message, "Status lines in HTTP response are empty.");
}

TEST(EndingServer, AResetBeforeTheHeadHasNoStatusLine)
{
    ScriptedServer server(
        [](ServerConnection& c)
        {
            c.receiveHead();
            c.reset();
        });
    EXPECT_EQ(refusalOf([&] { fetch(server.port(), Ask()); }).message, "Status lines in HTTP response are empty.");
}

TEST(EndingServer, AResetInTheHeadIsNotASuccess)
{
    ScriptedServer server(
        [](ServerConnection& c)
        {
            c.receiveHead();
            c.send(std::string(OK) + "Content-Type: text/plain\r\nContent-");
            c.pause(100ms);
            c.reset();
        });
    EXPECT_EQ(refusalOf([&] { fetch(server.port(), Ask()); }).message, "Unable to parse status line: HTTP/1.1200OK");
}

TEST(EndingServer, AnEndInTheHeadIsNotASuccess)
{
    ScriptedServer server(answering(std::string(OK) + "Content-Type: text/plain\r\n"));
    EXPECT_EQ(refusalOf([&] { fetch(server.port(), Ask()); }).message, "Unable to parse status line: HTTP/1.1200OK");
}

TEST(EndingServer, AfterACutHeadThatWasTakenTheBodyIsNotComplete)
{
    // A status line of four words is converted even when the head behind it could not be read.
    ScriptedServer server(answering("HTTP/1.1 200 Very Well\r\nContent-Type: text/plain\r\n"));
    const Body body = onlyBody(fetch(server.port(), Ask()));
    EXPECT_EQ(body.bytes, "");
    EXPECT_TRUE(body.ended);
    EXPECT_FALSE(body.complete);
}

TEST(EndingServer, AResetInTheBodyCutsItBehindWhatHasArrived)
{
    ScriptedServer server(
        [](ServerConnection& c)
        {
            c.receiveHead();
            c.send(std::string(OK) + "\r\n" + std::string(1000, 'x'));
            c.pause(200ms);
            c.reset();
        });
    const Body body = onlyBody(fetch(server.port(), Ask()));
    EXPECT_EQ(body.bytes, std::string(1000, 'x'));
    EXPECT_TRUE(body.ended);
    EXPECT_FALSE(body.complete);
}

TEST(EndingServer, AnEndBeforeTheAnnouncedLengthShowsInTheCount)
{
    ScriptedServer server(answering(std::string(OK) + "Content-Length: 1000\r\n\r\nhello"));
    const Body body = onlyBody(fetch(server.port(), Ask()));
    EXPECT_EQ(body.bytes, "hello");
    EXPECT_TRUE(body.ended);
    EXPECT_FALSE(body.complete);
}

TEST(EndingServer, ACutChunkIsNotComplete)
{
    for (const char* wire : {"a\r\nhello", "5\r\nhello", "5\r\nhello\r\n", "5\r\nhello\r\n4"})
    {
        SCOPED_TRACE(wire);
        ScriptedServer server(answering(std::string(CHUNKED) + wire));
        const Body body = onlyBody(fetch(server.port(), Ask()));
        EXPECT_EQ(body.bytes, "hello");
        EXPECT_TRUE(body.ended);
        EXPECT_FALSE(body.complete);
    }
}

TEST(EndingServer, AMalformedChunkIsNotComplete)
{
    for (const char* wire :
         {"5\r\nhello\r\n-1\r\nx", "5\r\nhelloworld\r\n0\r\n\r\n", "5\r\nhello\r\n0x1\r\nx\r\n0\r\n\r\n"})
    {
        SCOPED_TRACE(wire);
        ScriptedServer server(answering(std::string(CHUNKED) + wire));
        const Body body = onlyBody(fetch(server.port(), Ask()));
        EXPECT_EQ(body.bytes, "hello");
        EXPECT_FALSE(body.complete);
    }
}

TEST(EndingServer, AnEndInTheTrailerIsTolerated)
{
    ScriptedServer server(answering(std::string(CHUNKED) + "5\r\nhello\r\n0\r\nTrailer: t"));
    const Body body = onlyBody(fetch(server.port(), Ask()));
    EXPECT_EQ(body.bytes, "hello");
    EXPECT_TRUE(body.complete);
}

// Sends the same text again and again until the client has had enough; gives the number of bytes that it let pass.
ScriptedServer::Script endlessly(const std::string& first, const std::string& again, std::atomic<std::uint64_t>& sent)
{
    return [=, &sent](ServerConnection& c)
    {
        c.receiveHead();
        c.send(first);
        std::string block;
        while (block.size() < 16384)
        {
            block += again;
        }
        while (sent < (std::uint64_t(1) << 30) && c.send(block))
        {
            sent += block.size();
        }
    };
}

class EndlessServer : public testing::TestWithParam<std::pair<const char*, const char*>>
{
};

TEST_P(EndlessServer, AHeadWithoutEndIsRefused)
{
    std::atomic<std::uint64_t> sent = 0;
    ScriptedServer server(endlessly(GetParam().first, GetParam().second, sent));
    const Within bound(20s);
    const Refusal refusal = refusalOf([&] { fetch(server.port(), Ask()); });
    EXPECT_EQ(refusal.type, "HTTPException") << refusal.message;
    ASSERT_TRUE(server.waitUntilIdle());
    // What the kernel buffers on both sides counts too.
    EXPECT_LT(sent, std::uint64_t(32) << 20);
}

INSTANTIATE_TEST_SUITE_P(Heads, EndlessServer,
                         testing::Values(std::pair("HTTP/1.1 200 OK\r\n", "A: 1\r\n"),
                                         std::pair("HTTP/1.1 200 OK\r\n", "A-Longer-Name: and a longer value, too\r\n"),
                                         std::pair("HTTP/1.1 200 OK\r\nA: 1\r\n", " continued\r\n"),
                                         std::pair("HTTP/1.1 200 OK\r\nA: ", "xxxxxxxx"),
                                         std::pair("HTTP/1.1 200 ", "xxxxxxxx"), std::pair("", "HTTP/1.1 "),
                                         std::pair("", "\r\n"), std::pair("", "x")));

TEST(EndlessServer, ATrailerWithoutEndIsGivenUpBehindTheBody)
{
    for (const char* again : {"A: 1\r\n", "xxxxxxxx"})
    {
        std::atomic<std::uint64_t> sent = 0;
        ScriptedServer server(endlessly(std::string(CHUNKED) + "5\r\nhello\r\n0\r\n", again, sent));
        {
            const Within bound(20s);
            EXPECT_EQ(onlyBody(fetch(server.port(), Ask())).bytes, "hello");
        }
        ASSERT_TRUE(server.waitUntilIdle());
        EXPECT_LT(sent, std::uint64_t(32) << 20);
    }
}

TEST(EndlessServer, AChunkSizeLineWithoutEndIsGivenUp)
{
    std::atomic<std::uint64_t> sent = 0;
    ScriptedServer server(endlessly(std::string(CHUNKED) + "5\r\nhello\r\n1;", "extension", sent));
    const Body body = onlyBody(fetch(server.port(), Ask()));
    EXPECT_EQ(body.bytes, "hello");
    EXPECT_FALSE(body.complete);
    ASSERT_TRUE(server.waitUntilIdle());
    EXPECT_LT(sent, std::uint64_t(32) << 20);
}

Ask upload(const std::string& bytes)
{
    Ask ask;
    ask.method = "POST";
    ask.content = MIME::ContentRef(new MIME::ApplicationOctetStreamContent(bytes.data(), bytes.size()));
    return ask.with("Content-Length", std::to_string(bytes.size()));
}

TEST(Upload, ToAServerThatResetsFailsWithoutSignal)
{
    ScriptedServer server(
        [](ServerConnection& c)
        {
            c.receiveHead();
            c.reset();
        });
    const Within bound(10s);
    EXPECT_EQ(refusalOf([&] { fetch(server.port(), upload(std::string(32 << 20, 'u'))); }).message,
              "Status lines in HTTP response are empty.");
}

TEST(Upload, ToAServerThatAnswersAndClosesEarlyFailsWithoutSignal)
{
    ScriptedServer server(
        [](ServerConnection& c)
        {
            c.receiveHead();
            c.send("HTTP/1.1 413 Too Large\r\nContent-Length: 0\r\n\r\n");
            c.close();
        });
    const Within bound(10s);
    EXPECT_EQ(refusalOf([&] { fetch(server.port(), upload(std::string(32 << 20, 'u'))); }).type, "HTTPException");
}

TEST(Upload, OfContentReachesTheServerByteForByte)
{
    const std::string text = patternOfText();
    ScriptedServer server(
        [&](ServerConnection& c)
        {
            c.receiveHead();
            c.receive(text.size());
            c.send(std::string(OK) + "Content-Length: 0\r\n\r\n");
        });
    HTTP::Response response = fetch(server.port(), upload(text));
    EXPECT_EQ(bodyOf(response), "");
    EXPECT_EQ(server.requests(), std::vector<std::string>{"POST / HTTP/1.1\r\nHost: localhost\r\nContent-Length: 3000"
                                                          "\r\n\r\n" +
                                                          text});
}

TEST(Upload, OfNoBytesAtAllFailsTheFetch)
{
    ScriptedServer server(answering(std::string(OK) + "Content-Length: 0\r\n\r\n"));
    EXPECT_EQ(refusalOf([&] { fetch(server.port(), upload("")); }).message, "Status lines in HTTP response are empty.");
    // The head was never flushed, so the server may find the end within it.
    server.errors();
}

TEST(Descriptors, AreClosedWithTheLastShareOfTheResponse)
{
    ScriptedServer server(
        [](ServerConnection& c)
        {
            c.receiveHead();
            c.send(std::string(OK) + "Content-Length: 5\r\n\r\nhello");
            EXPECT_TRUE(c.waitUntilPeerCloses());
        });
    MIME::ContentRef content;
    {
        HTTP::Response response = fetch(server.port(), Ask());
        content = response.getNextPart();
    }
    EXPECT_FALSE(server.waitUntilIdle(100ms));
    EXPECT_EQ(readBody(content).bytes, "hello");
    content = MIME::ContentRef();
    EXPECT_TRUE(server.waitUntilIdle());
}

TEST(Descriptors, NoneAreLeftBehindByFailures)
{
    ScriptedServer server(
        [](ServerConnection& c)
        {
            c.receiveHead();
            c.send(c.index() % 2 == 0 ? "HTTP/1.1 404 Not Found\r\n\r\n" : "nonsense\r\n\r\n");
        });
    const auto once = [&] { refusalOf([&] { fetch(server.port(), Ask()); }); };
    once();
    ASSERT_TRUE(server.waitUntilIdle());
    const std::size_t before = zol_test::openDescriptors();
    for (int i = 0; i < 20; ++i)
    {
        once();
    }
    ASSERT_TRUE(server.waitUntilIdle());
    EXPECT_EQ(zol_test::openDescriptors(), before);
}

} // namespace
