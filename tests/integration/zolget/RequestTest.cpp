// What zolget sends.

#include "Zolget.hpp"
#include "support/ScriptedServer.hpp"
#include "support/TemporaryDirectory.hpp"

#include <gmock/gmock.h>

#include <chrono>
#include <cstddef>
#include <filesystem>
#include <string>
#include <vector>

using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;
using zol_test::ScriptedServer;
using zol_test::ServerConnection;
using zol_test::TemporaryDirectory;
using zolget_test::okResponse;
using zolget_test::Outcome;
using zolget_test::respondingWith;
using zolget_test::urlOf;
using zolget_test::zolget;

namespace
{

/// Responds with the body of the request, which has that length.
ScriptedServer::Script echoing(std::size_t length)
{
    return [length](ServerConnection& connection)
    {
        connection.receiveHead();
        connection.send(okResponse(connection.receive(length)));
    };
}

std::size_t lengthIn(const std::string& head)
{
    const std::string name = "Content-Length: ";
    return std::stoul(head.substr(head.find(name) + name.size()));
}

std::string requestOf(std::vector<std::string> arguments, const std::string& path = "/")
{
    const ScriptedServer server(respondingWith(okResponse("")));
    arguments.push_back(urlOf(server, path));
    const Outcome run = zolget(arguments);
    EXPECT_EQ(run.status, 0) << run.errors;
    const auto requests = server.requests();
    return requests.empty() ? std::string() : requests.front();
}

} // namespace

TEST(ZolgetRequest, HasTheHeadersThatAServerNeeds)
{
    const std::string request = requestOf({}, "/page?q=1#part");
    EXPECT_THAT(request, StartsWith("GET /page?q=1 HTTP/1.1\r\nHost: 127.0.0.1:"));
    EXPECT_THAT(request, HasSubstr("\r\nUser-Agent: zolget/"));
    EXPECT_THAT(request, HasSubstr("\r\nAccept: */*\r\n"));
    EXPECT_THAT(request, EndsWith("\r\nConnection: close\r\n\r\n"));
}

TEST(ZolgetRequest, TakesMethodVersionAndHeadersFromTheUser)
{
    const std::string request =
        requestOf({"-X", "PROPFIND", "--http1.0", "-H", "Host: other", "-H", "X-A: 1", "-H", "X-A: 2"});
    EXPECT_THAT(request, StartsWith("PROPFIND / HTTP/1.0\r\n"));
    EXPECT_THAT(request, HasSubstr("\r\nHost: other\r\nX-A: 1\r\nX-A: 2\r\n"));
    EXPECT_EQ(request.find("127.0.0.1"), std::string::npos);
}

TEST(ZolgetRequest, PostsAText)
{
    const ScriptedServer server(echoing(9));
    const Outcome run = zolget({"-d", "some text", urlOf(server)});
    EXPECT_EQ(run.status, 0) << run.errors;
    EXPECT_EQ(run.output, "some text");
    EXPECT_THAT(server.requests().front(), StartsWith("POST / HTTP/1.1\r\n"));
    EXPECT_THAT(server.requests().front(), HasSubstr("\r\nContent-Type: text/plain"));
    EXPECT_THAT(server.requests().front(), HasSubstr("\r\nContent-Length: 9\r\n"));
}

TEST(ZolgetRequest, PostsFilesAsOneBody)
{
    const TemporaryDirectory folder;
    const std::string first(200000, 'a');
    const std::string second(4096, 'b');
    const std::string third = "end";
    const ScriptedServer server(echoing(first.size() + second.size() + third.size()));
    const Outcome run = zolget({"--data-file", folder.write("1", first), "--data-file", folder.write("2", second),
                                "--data-file", folder.write("3", third), urlOf(server)});
    EXPECT_EQ(run.status, 0) << run.errors;
    EXPECT_EQ(run.output, first + second + third);
    EXPECT_THAT(server.requests().front(), HasSubstr("\r\nContent-Type: application/octet-stream\r\n"
                                                     "Content-Length: 204099\r\n"));
}

TEST(ZolgetRequest, AnnouncesAnEmptyBody)
{
    const TemporaryDirectory folder;
    EXPECT_THAT(requestOf({"-d", ""}), EndsWith("\r\nContent-Length: 0\r\n\r\n"));
    EXPECT_THAT(requestOf({"--data-file", folder.write("empty", "")}), EndsWith("\r\nContent-Length: 0\r\n\r\n"));
}

TEST(ZolgetRequest, SendsNoByteOfAFileThatCannotBeRead)
{
    const TemporaryDirectory folder;
    const ScriptedServer server(respondingWith(okResponse("")));
    for (const std::string& path : {folder.path().string(), folder.file("missing")})
    {
        const Outcome run = zolget({"--data-file", path, urlOf(server)});
        EXPECT_EQ(run.status, 8);
        EXPECT_THAT(run.errors, HasSubstr("cannot send " + path));
    }
    EXPECT_EQ(server.connections(), 0U);
}

TEST(ZolgetRequest, ReadsTheResponseOfAServerThatRefusesTheBody)
{
    const TemporaryDirectory folder;
    const ScriptedServer server(
        [](ServerConnection& connection)
        {
            connection.receiveHead();
            connection.send("HTTP/1.1 413 Too Large\r\nConnection: close\r\n\r\n");
            connection.close();
        });
    const Outcome run = zolget({"--data-file", folder.writeSparse("big", 64UL << 20), urlOf(server)});
    EXPECT_EQ(run.status, 6) << run.errors;
    EXPECT_THAT(run.errors, HasSubstr("HTTP/1.1 413 Too Large"));
}

TEST(ZolgetRequest, ExitsWith10WhenTheConnectionBreaksWhileSending)
{
    const TemporaryDirectory folder;
    const ScriptedServer server(
        [](ServerConnection& connection)
        {
            connection.receiveHead();
            connection.reset();
        });
    const Outcome run = zolget({"--data-file", folder.writeSparse("big", 64UL << 20), urlOf(server)});
    EXPECT_EQ(run.status, 10);
    EXPECT_THAT(run.errors, HasSubstr("the request to " + server.address() + " was not sent completely: "));
}

TEST(ZolgetRequest, ExitsWith10ForASuccessBeforeTheBodyWasSent)
{
    const TemporaryDirectory folder;
    const ScriptedServer server(
        [](ServerConnection& connection)
        {
            connection.receiveHead();
            connection.send(okResponse("stored"));
            connection.close();
        });
    const std::string big = folder.writeSparse("big", 64UL << 20);
    const Outcome run = zolget({"--data-file", big, urlOf(server)});
    EXPECT_EQ(run.status, 10);
    EXPECT_EQ(run.output, "");
    EXPECT_THAT(run.errors, HasSubstr("the request to " + server.address() + " was not sent completely: "));
    EXPECT_EQ(zolget({"--data-file", big, "-o", folder.file("page"), urlOf(server)}).status, 10);
    EXPECT_FALSE(std::filesystem::exists(folder.file("page")));
}

TEST(ZolgetRequest, ExitsWith10WhenTheServerTakesNoData)
{
    const TemporaryDirectory folder;
    const ScriptedServer server(
        [](ServerConnection& connection)
        {
            connection.receiveHead();
            connection.pause(std::chrono::seconds(10));
        });
    const Outcome run =
        zolget({"--read-timeout", "0.3", "--data-file", folder.writeSparse("big", 64UL << 20), urlOf(server)});
    EXPECT_EQ(run.status, 10);
    EXPECT_THAT(run.errors, HasSubstr("the server took no data for 0.3 s; --read-timeout allows more"));
}

TEST(ZolgetRequest, SendsFilesWholeThatEndWithABlock)
{
    const TemporaryDirectory folder;
    const ScriptedServer server(echoing(4100));
    const std::string block(4096, 'x');
    const Outcome run =
        zolget({"--data-file", folder.write("1", block), "--data-file", folder.write("2", "four"), urlOf(server)});
    EXPECT_EQ(run.status, 0) << run.errors;
    EXPECT_EQ(run.output, block + "four");
}

TEST(ZolgetRequest, SendsPartsWholeThatEndWithABlock)
{
    const TemporaryDirectory folder;
    const std::string block(4096, 'x');
    const ScriptedServer server(
        [](ServerConnection& connection)
        {
            const std::string head = connection.receiveHead();
            connection.send(okResponse(connection.receive(lengthIn(head))));
        });
    const Outcome run =
        zolget({"--part-file", "text/plain:" + folder.write("1", block), "--part", "text/plain:end", urlOf(server)});
    EXPECT_EQ(run.status, 0) << run.errors;
    EXPECT_THAT(run.output, HasSubstr("\r\n\r\n" + block + "\r\n--"));
    EXPECT_THAT(run.output, HasSubstr("\r\n\r\nend\r\n--"));
}

TEST(ZolgetRequest, SendsManyEmptyFilesAmongOthers)
{
    const TemporaryDirectory folder;
    const ScriptedServer server(echoing(10));
    std::vector<std::string> arguments = {"--data-file", folder.write("first", "first")};
    for (int count = 0; count < 100; ++count)
    {
        arguments.insert(arguments.end(), {"--data-file", folder.write("empty", "")});
    }
    arguments.insert(arguments.end(), {"--data-file", folder.write("last", " last"), urlOf(server)});
    const Outcome run = zolget(arguments);
    EXPECT_EQ(run.status, 0) << run.errors;
    EXPECT_EQ(run.output, "first last");
}

TEST(ZolgetRequest, ExitsWith8WhenAFileBecomesShorterWhileItIsSent)
{
    const TemporaryDirectory folder;
    const std::string big = folder.writeSparse("big", 64UL << 20);
    const ScriptedServer server(
        [&folder](ServerConnection& connection)
        {
            connection.receiveHead();
            folder.write("big", "");
            EXPECT_TRUE(connection.waitUntilPeerCloses());
        });
    const Outcome run = zolget({"--data-file", big, urlOf(server)});
    EXPECT_EQ(run.status, 8);
    EXPECT_THAT(run.errors, HasSubstr("a file became shorter or unreadable while it was sent to " + server.address()));
}

TEST(ZolgetRequest, IsRefusedBeforeConnectingWhenItIsMalformed)
{
    const ScriptedServer server(respondingWith(okResponse("")));
    for (const std::vector<std::string>& arguments :
         {std::vector<std::string>{"-H", "X: a\r\nY: b"}, {"-X", "GET /x HTTP/1.1\r\n"}, {"--nonsense"}})
    {
        std::vector<std::string> all = arguments;
        all.push_back(urlOf(server));
        EXPECT_EQ(zolget(all).status, 2);
    }
    EXPECT_EQ(zolget({urlOf(server, "/ HTTP/1.1\r\nX: y")}).status, 2);
    EXPECT_EQ(zolget({}).status, 2);
    EXPECT_EQ(server.connections(), 0U);
}
