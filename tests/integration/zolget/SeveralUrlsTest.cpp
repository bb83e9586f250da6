// Several URLs in one run.

#include "Zolget.hpp"
#include "support/ScriptedServer.hpp"
#include "support/TemporaryDirectory.hpp"

#include <gmock/gmock.h>

#include <cstddef>
#include <string>

using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using zol_test::readFile;
using zol_test::ScriptedServer;
using zol_test::ServerConnection;
using zolget_test::namesIn;
using zolget_test::okResponse;
using zolget_test::Outcome;
using zolget_test::respondingWith;
using zolget_test::urlOf;
using zolget_test::zolget;

namespace
{

std::string targetIn(const std::string& head)
{
    const std::size_t begin = head.find(' ') + 1;
    return head.substr(begin, head.find(' ', begin) - begin);
}

/// Responds to a number of requests on a connection with their targets.
ScriptedServer::Script serving(int requests)
{
    return [requests](ServerConnection& connection)
    {
        for (int request = 0; request < requests; ++request)
        {
            connection.send(okResponse(targetIn(connection.receiveHead())));
        }
    };
}

std::size_t countOf(const std::string& part, const std::string& text)
{
    std::size_t count = 0;
    for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1))
    {
        ++count;
    }
    return count;
}

} // namespace

TEST(ZolgetUrls, AreFetchedInTheirOrderOverOneConnection)
{
    const ScriptedServer server(serving(3));
    const Outcome run = zolget({urlOf(server, "/1"), urlOf(server, "/2"), urlOf(server, "/3")});
    EXPECT_EQ(run.status, 0) << run.errors;
    EXPECT_EQ(run.output, "/1/2/3");
    ASSERT_EQ(server.connections(), 1U);
    const std::string requests = server.requests().front();
    EXPECT_EQ(countOf("\r\nConnection: keep-alive\r\n", requests), 2U);
    EXPECT_THAT(requests, EndsWith("\r\nConnection: close\r\n\r\n"));
}

TEST(ZolgetUrls, KeepTheConnectionBehindAnError)
{
    for (const char* option : {"--progress", "--error-body"})
    {
        const ScriptedServer server(
            [](ServerConnection& connection)
            {
                connection.receiveHead();
                connection.send("HTTP/1.1 404 Not Found\r\nContent-Length: 4\r\n\r\ngone");
                connection.send(okResponse(targetIn(connection.receiveHead())));
            });
        const Outcome run = zolget({option, urlOf(server, "/1"), urlOf(server, "/2")});
        EXPECT_EQ(run.status, 6);
        EXPECT_THAT(run.output, EndsWith("/2"));
        EXPECT_EQ(server.connections(), 1U);
    }
}

TEST(ZolgetUrls, GetANewConnectionBehindALongError)
{
    const ScriptedServer server(
        [](ServerConnection& connection)
        {
            const std::string target = targetIn(connection.receiveHead());
            connection.send(target == "/1" ? "HTTP/1.1 404 Not Found\r\nContent-Length: 100000000\r\n\r\n" +
                                                 std::string(200000, 'x')
                                           : okResponse(target));
        });
    const Outcome run = zolget({urlOf(server, "/1"), urlOf(server, "/2")});
    EXPECT_EQ(run.status, 6);
    EXPECT_EQ(run.output, "/2");
    EXPECT_EQ(server.connections(), 2U);
}

TEST(ZolgetUrls, GetANewConnectionWhereTheServerEndsIt)
{
    // Without saying so, after each response.
    const ScriptedServer server(serving(1));
    const Outcome run = zolget({urlOf(server, "/1"), urlOf(server, "/2")});
    EXPECT_EQ(run.status, 0) << run.errors;
    EXPECT_EQ(run.output, "/1/2");
    EXPECT_EQ(server.connections(), 2U);
}

TEST(ZolgetUrls, AreAskedForAgainWhereTheServerEndsAKeptConnectionInstead)
{
    const ScriptedServer server(
        [](ServerConnection& connection)
        {
            const std::string target = targetIn(connection.receiveHead());
            connection.send(okResponse(target));
            if (connection.index() == 0)
            {
                connection.receiveHead();
            }
        });
    const Outcome run = zolget({"-d", "", urlOf(server, "/1"), urlOf(server, "/2")});
    EXPECT_EQ(run.status, 0) << run.errors;
    EXPECT_EQ(run.output, "/1/2");
    EXPECT_EQ(run.errors, "");
    EXPECT_EQ(server.connections(), 2U);
}

TEST(ZolgetUrls, GetANewConnectionForAnotherServer)
{
    // Which would keep theirs open.
    const auto serveOnce = [](ServerConnection& connection)
    {
        connection.send(okResponse(targetIn(connection.receiveHead())));
        EXPECT_TRUE(connection.waitUntilPeerCloses());
    };
    const ScriptedServer first(serveOnce);
    const ScriptedServer second(serveOnce);
    const Outcome run = zolget({urlOf(first, "/1"), urlOf(second, "/2"), urlOf(first, "/3")});
    EXPECT_EQ(run.status, 0) << run.errors;
    EXPECT_EQ(run.output, "/1/2/3");
}

TEST(ZolgetUrls, AreAllFetchedWhenOneFails)
{
    const ScriptedServer server(
        [](ServerConnection& connection)
        {
            const std::string target = targetIn(connection.receiveHead());
            connection.send(target == "/missing" ? "HTTP/1.1 404 Not Found\r\n\r\n" : okResponse(target));
        });
    const Outcome run = zolget({urlOf(server, "/missing"), "http://no-such-host.invalid/", urlOf(server, "/3")});
    EXPECT_EQ(run.status, 6);
    EXPECT_EQ(run.output, "/3");
    EXPECT_THAT(run.errors, HasSubstr("404 Not Found"));
    EXPECT_THAT(run.errors, HasSubstr("cannot find the host"));
}

TEST(ZolgetUrls, GiveTheirNamesToFiles)
{
    const zol_test::TemporaryDirectory folder;
    const ScriptedServer server(serving(2));
    const Outcome run =
        zolget({"-O", urlOf(server, "/a/first.txt?x=/y"), urlOf(server, "/second%20one")}, folder.path().string());
    EXPECT_EQ(run.status, 0) << run.errors;
    EXPECT_EQ(run.output, "");
    EXPECT_THAT(namesIn(folder.path()), ElementsAre("first.txt", "second one"));
    EXPECT_EQ(readFile(folder.file("second one")), "/second%20one");
}

TEST(ZolgetUrls, GiveNoNameThatLeadsElsewhere)
{
    const ScriptedServer server(respondingWith(okResponse("x")));
    for (const char* path : {"/", "/..", "/a/%2e%2e", "/%2e%2e%2fx"})
    {
        EXPECT_EQ(zolget({"-O", urlOf(server, "/fine"), urlOf(server, path)}).status, 2) << path;
    }
    EXPECT_EQ(server.connections(), 0U);
}
