#include "Example.hpp"
#include "support/NginxServer.hpp"
#include "support/ScriptedServer.hpp"

#include <gmock/gmock.h>

#include <atomic>
#include <string>
#include <vector>

namespace
{

using namespace examples_test;
using testing::AllOf;
using testing::HasSubstr;
using namespace zol_test;

const std::string KEPT = "HTTP/1.1 200 OK\r\nContent-Length: 4\r\n\r\nbody";

TEST(FetchSeveral, UsesOneConnection)
{
    NginxServer::Options options;
    options.server = "location = /count { return 200 \"$connection_requests\\n\"; }\n";
    const NginxServer server(options);
    const std::string url = urlOf(server, "/count");
    EXPECT_EQ(outputOf("fetch_several", {url, url, url}), "1\n2\n3\n");
}

TEST(FetchSeveral, TakesAnotherConnectionWhereTheServerKeepsNone)
{
    NginxServer::Options options;
    options.server = "keepalive_requests 2;\n location = /count { return 200 \"$connection_requests\\n\"; }\n";
    const NginxServer server(options);
    const std::string url = urlOf(server, "/count");
    EXPECT_EQ(outputOf("fetch_several", {url, url, url}), "1\n2\n1\n");
}

TEST(FetchSeveral, AsksAgainWhereTheServerClosedAKeptConnection)
{
    // Says that it keeps the connection, and closes it when the second request is there.
    const ScriptedServer server(
        [](ServerConnection& connection)
        {
            connection.receiveHead();
            connection.send(KEPT);
            if (connection.index() == 0)
            {
                connection.receiveHead();
            }
        });
    EXPECT_EQ(outputOf("fetch_several", {urlOf(server), urlOf(server)}), "bodybody");
    EXPECT_EQ(server.connections(), 2U);
}

TEST(FetchSeveral, FailsWithAnyOfThem)
{
    const NginxServer server;
    EXPECT_EQ(run("fetch_several", {urlOf(server, "/missing"), urlOf(server)}).status, 1);
    EXPECT_EQ(run("fetch_several", {}).status, 2);
}

TEST(FetchInThreads, ShowsEachSizeInOrder)
{
    const NginxServer server;
    std::vector<std::string> urls;
    std::string expected;
    for (std::size_t size = 0; size < 20; ++size)
    {
        const std::string name = "/file" + std::to_string(size);
        server.folder().write("html" + name, std::string(size * 10000, 'x'));
        urls.push_back(urlOf(server, name));
        expected += urls.back() + ": " + std::to_string(size * 10000) + " bytes\n";
    }
    EXPECT_EQ(outputOf("fetch_in_threads", urls), expected);
}

TEST(FetchInThreads, AreUnderWayAtTheSameTime)
{
    // The first response waits for the second connection.
    std::atomic<ScriptedServer*> all = nullptr;
    ScriptedServer server(
        [&all](ServerConnection& connection)
        {
            connection.receiveHead();
            connection.send(all.load()->waitForConnections(2) ? KEPT : "");
        });
    all = &server;
    EXPECT_EQ(outputOf("fetch_in_threads", {urlOf(server), urlOf(server)}),
              urlOf(server) + ": 4 bytes\n" + urlOf(server) + ": 4 bytes\n");
}

TEST(FetchInThreads, ShowWhichOneFailed)
{
    const NginxServer server;
    const Outcome outcome = run("fetch_in_threads", {"http://:80/", urlOf(server)});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.output, AllOf(HasSubstr("http://:80/: "), HasSubstr(urlOf(server) + ": 28 bytes\n")));
}

} // namespace
