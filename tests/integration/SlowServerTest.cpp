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

TEST(SlowServer, AResponseMayComeOneByteAtATime)
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

} // namespace
