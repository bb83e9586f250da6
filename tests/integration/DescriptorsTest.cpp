#include "Broken.hpp"
#include "support/Process.hpp"

#include <gtest/gtest.h>

namespace
{

using namespace ZOLNS2;
using namespace zol_integration;
using namespace std::chrono_literals;
using zol_test::ScriptedServer;
using zol_test::ServerConnection;

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
