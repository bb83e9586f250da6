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
    EXPECT_EQ(refusalOf([&] { fetch(server.port(), upload(std::string(32 << 20, 'u'))); }).message, NO_STATUS_LINE);
}

TEST(Upload, ToAServerThatRespondsAndClosesEarlyFailsWithoutSignal)
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

TEST(Upload, OfContentReachesTheServerByteForByteAndNothingFollows)
{
    const std::string text = pattern(3000);
    ScriptedServer server(
        [&](ServerConnection& c)
        {
            c.receiveHead();
            c.receive(text.size());
            c.send(std::string(OK) + "Content-Length: 0\r\n\r\n");
            c.receiveUntilEnd();
        });
    {
        const HTTP::Response response = fetch(server.port(), upload(text));
        EXPECT_EQ(bodyOf(response), "");
    }
    ASSERT_TRUE(server.waitUntilIdle());
    const std::string head = "POST / HTTP/1.1\r\nHost: localhost\r\nContent-Length: 3000\r\n\r\n";
    EXPECT_EQ(server.requests(), std::vector<std::string>{head + text});
}

TEST(Upload, OfNoBytesAtAllFailsTheFetch)
{
    ScriptedServer server(respondingWith(std::string(OK) + "Content-Length: 0\r\n\r\n"));
    EXPECT_EQ(refusalOf([&] { fetch(server.port(), upload("")); }).message, NO_STATUS_LINE);
    // The head was never flushed, so the server may find the end within it.
    server.ignoreErrors();
}

} // namespace
