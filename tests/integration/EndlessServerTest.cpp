#include "Broken.hpp"

#include <gtest/gtest.h>

#include <atomic>

namespace
{

using namespace ZOLNS2;
using namespace zol_integration;
using namespace std::chrono_literals;
using zol_test::ScriptedServer;
using zol_test::ServerConnection;

// Sends the same text again and again until the client has had enough; returns the number of bytes that it accepted.
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

TEST(EndlessServer, ATrailerWithoutEndIsGivenUpAfterTheBody)
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

} // namespace
