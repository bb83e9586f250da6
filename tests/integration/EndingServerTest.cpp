#include "Broken.hpp"

#include <gtest/gtest.h>

namespace
{

using namespace ZOLNS2;
using namespace zol_integration;
using namespace std::chrono_literals;
using zol_test::respondingWith;
using zol_test::ScriptedServer;
using zol_test::ServerConnection;

TEST(EndingServer, AConnectionThatEndsBeforeTheHeadHasNoStatusLine)
{
    ScriptedServer server([](ServerConnection& c) { c.receiveHead(); });
    EXPECT_EQ(refusalOf([&] { fetch(server.port(), Ask()); }).message, NO_STATUS_LINE);
}

TEST(EndingServer, AResetBeforeTheHeadHasNoStatusLine)
{
    ScriptedServer server(
        [](ServerConnection& c)
        {
            c.receiveHead();
            c.reset();
        });
    EXPECT_EQ(refusalOf([&] { fetch(server.port(), Ask()); }).message, NO_STATUS_LINE);
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
    ScriptedServer server(respondingWith(std::string(OK) + "Content-Type: text/plain\r\n"));
    EXPECT_EQ(refusalOf([&] { fetch(server.port(), Ask()); }).message, "Unable to parse status line: HTTP/1.1200OK");
}

TEST(EndingServer, AfterACutHeadThatWasTakenTheBodyIsNotComplete)
{
    // A status line of four words is converted even when the head after it could not be read.
    ScriptedServer server(respondingWith("HTTP/1.1 200 Very Well\r\nContent-Type: text/plain\r\n"));
    const Body body = onlyBody(fetch(server.port(), Ask()));
    EXPECT_EQ(body.bytes, "");
    EXPECT_TRUE(body.ended);
    EXPECT_FALSE(body.complete);
}

TEST(EndingServer, AResetInTheBodyCutsItAfterWhatHasArrived)
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
    ScriptedServer server(respondingWith(std::string(OK) + "Content-Length: 1000\r\n\r\nhello"));
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
        ScriptedServer server(respondingWith(std::string(CHUNKED) + wire));
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
        ScriptedServer server(respondingWith(std::string(CHUNKED) + wire));
        const Body body = onlyBody(fetch(server.port(), Ask()));
        EXPECT_EQ(body.bytes, "hello");
        EXPECT_FALSE(body.complete);
    }
}

TEST(EndingServer, AnEndInTheTrailerIsTolerated)
{
    ScriptedServer server(respondingWith(std::string(CHUNKED) + "5\r\nhello\r\n0\r\nTrailer: t"));
    const Body body = onlyBody(fetch(server.port(), Ask()));
    EXPECT_EQ(body.bytes, "hello");
    EXPECT_TRUE(body.complete);
}

} // namespace
