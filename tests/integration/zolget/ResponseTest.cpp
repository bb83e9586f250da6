// How zolget handles responses: bodies, heads and exit statuses.

#include "Zolget.hpp"
#include "support/ChildProcess.hpp"
#include "support/ScriptedServer.hpp"
#include "support/TemporaryDirectory.hpp"

#include <gmock/gmock.h>

#include <string>

using testing::HasSubstr;
using testing::StartsWith;
using zol_test::ScriptedServer;
using zol_test::ServerConnection;
using zolget_test::okResponse;
using zolget_test::Outcome;
using zolget_test::respondingWith;
using zolget_test::urlOf;
using zolget_test::zolget;

TEST(ZolgetResponse, WritesABodyOfAnnouncedLength)
{
    const ScriptedServer server(respondingWith(okResponse("the body")));
    const Outcome run = zolget({urlOf(server)});
    EXPECT_EQ(run.status, 0) << run.errors;
    EXPECT_EQ(run.output, "the body");
    EXPECT_EQ(run.errors, "");
}

TEST(ZolgetResponse, StopsAtTheAnnouncedLengthOfAnOpenConnection)
{
    const ScriptedServer server(
        [](ServerConnection& connection)
        {
            connection.receiveHead();
            connection.send(okResponse("body") + "and more");
            EXPECT_TRUE(connection.waitUntilPeerCloses());
        });
    const Outcome run = zolget({urlOf(server)});
    EXPECT_EQ(run.status, 0) << run.errors;
    EXPECT_EQ(run.output, "body");
}

TEST(ZolgetResponse, ReadsABodyOfUnknownLengthToTheEndOfTheConnection)
{
    const ScriptedServer server(respondingWith("HTTP/1.1 200 OK\r\n\r\neverything"));
    const Outcome run = zolget({urlOf(server)});
    EXPECT_EQ(run.status, 0) << run.errors;
    EXPECT_EQ(run.output, "everything");
}

TEST(ZolgetResponse, AcceptsAnEmptyBody)
{
    for (const char* head : {"HTTP/1.1 200 OK\r\nContent-Length: 0\r\n\r\n", "HTTP/1.1 200 OK\r\n\r\n"})
    {
        const ScriptedServer server(respondingWith(head));
        const Outcome run = zolget({urlOf(server)});
        EXPECT_EQ(run.status, 0) << run.errors;
        EXPECT_EQ(run.output, "");
    }
}

TEST(ZolgetResponse, DecodesChunks)
{
    const ScriptedServer server(
        respondingWith("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n5\r\nfirst\r\n7\r\n second\r\n0\r\n\r\n"));
    const Outcome run = zolget({urlOf(server)});
    EXPECT_EQ(run.status, 0) << run.errors;
    EXPECT_EQ(run.output, "first second");
}

TEST(ZolgetResponse, IgnoresTheLengthOfAChunkedBody)
{
    const ScriptedServer server(
        respondingWith("HTTP/1.1 200 OK\r\nContent-Length: 3\r\nTransfer-Encoding: chunked\r\n\r\n"
                       "5\r\nfirst\r\n0\r\n\r\n"));
    const Outcome run = zolget({urlOf(server)});
    EXPECT_EQ(run.status, 0) << run.errors;
    EXPECT_EQ(run.output, "first");
}

TEST(ZolgetResponse, WritesBytesAsTheyArrive)
{
    const ScriptedServer server(
        [](ServerConnection& connection)
        {
            connection.receiveHead();
            connection.send("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n5\r\nfirst\r\n");
            // The client closes when the rest of its output has been read, or never.
            connection.pause(std::chrono::seconds(5));
            connection.send("0\r\n\r\n");
        });
    zol_test::ChildProcess process(zolget_test::command({urlOf(server)}));
    EXPECT_TRUE(process.waitForOutput("first", std::chrono::seconds(4)));
}

TEST(ZolgetResponse, ReadsNoBodyAfterHead)
{
    const ScriptedServer server(
        [](ServerConnection& connection)
        {
            connection.receiveHead();
            connection.send("HTTP/1.1 200 OK\r\nContent-Length: 1000\r\n\r\n");
            EXPECT_TRUE(connection.waitUntilPeerCloses());
        });
    const Outcome run = zolget({"-X", "HEAD", "-i", urlOf(server)});
    EXPECT_EQ(run.status, 0) << run.errors;
    EXPECT_THAT(run.output, HasSubstr("\nContent-Length: 1000\n"));
}

TEST(ZolgetResponse, WaitsForNoPartsAfterHead)
{
    const ScriptedServer server(
        [](ServerConnection& connection)
        {
            connection.receiveHead();
            connection.send("HTTP/1.1 200 OK\r\nContent-Type: multipart/mixed; boundary=edge\r\n\r\n");
            EXPECT_TRUE(connection.waitUntilPeerCloses());
        });
    const Outcome run = zolget({"-X", "HEAD", urlOf(server)});
    EXPECT_EQ(run.status, 0) << run.errors;
}

TEST(ZolgetResponse, ReadsNoBodyFor204And205)
{
    for (const char* status : {"204 No Content", "205 Reset Content"})
    {
        const ScriptedServer server(
            [status](ServerConnection& connection)
            {
                connection.receiveHead();
                connection.send("HTTP/1.1 " + std::string(status) + "\r\nContent-Length: 5\r\n\r\nfirst");
                EXPECT_TRUE(connection.waitUntilPeerCloses());
            });
        const Outcome run = zolget({urlOf(server)});
        EXPECT_EQ(run.status, 0) << run.errors;
        EXPECT_EQ(run.output, "");
    }
}

TEST(ZolgetResponse, ShowsTheHead)
{
    const ScriptedServer server(respondingWith("HTTP/1.1 200 Fine\r\nX-B: 2\r\nContent-Type: text/html\r\nX-A: 1\r\n"
                                               "Content-Length: 4\r\n\r\nbody"));
    const Outcome run = zolget({"-i", urlOf(server)});
    EXPECT_EQ(run.status, 0) << run.errors;
    EXPECT_EQ(run.output, "HTTP/1.1 200 Fine\nX-B: 2\nContent-Type: text/html\nX-A: 1\nContent-Length: 4\n\nbody");
}

TEST(ZolgetResponse, KeepsTheHeadOutOfTheFile)
{
    const zol_test::TemporaryDirectory folder;
    const ScriptedServer server(respondingWith(okResponse("body")));
    const Outcome run = zolget({"-i", "-o", folder.file("page"), urlOf(server)});
    EXPECT_EQ(run.status, 0) << run.errors;
    EXPECT_THAT(run.output, StartsWith("HTTP/1.1 200 OK\n"));
    EXPECT_EQ(zol_test::readFile(folder.file("page")), "body");
}

TEST(ZolgetResponse, EscapesControlCharactersFromTheServer)
{
    const ScriptedServer server(respondingWith("HTTP/1.1 200 \x1b[2J\r\nX-A: \x1b[31m\r\nContent-Length: 0\r\n\r\n"));
    const Outcome run = zolget({"-i", urlOf(server)});
    EXPECT_EQ(run.output.find('\x1b'), std::string::npos);
    EXPECT_THAT(run.output, HasSubstr("X-A: \\x1b[31m"));
}

TEST(ZolgetResponse, ExitsWith6ForAnErrorStatus)
{
    const ScriptedServer server(respondingWith("HTTP/1.1 404 Not Found\r\nContent-Length: 4\r\n\r\ngone"));
    const Outcome run = zolget({urlOf(server, "/missing?x")});
    EXPECT_EQ(run.status, 6);
    EXPECT_EQ(run.output, "");
    EXPECT_THAT(run.errors, HasSubstr(server.address() + " responded to GET /missing?x with HTTP/1.1 404 Not Found; "
                                                         "check the URL and the request\n"));
}

TEST(ZolgetResponse, ShowsTheStatusLineOfAnErrorStatus)
{
    const ScriptedServer server(respondingWith("HTTP/1.1 503 Later\r\n\r\n"));
    const Outcome run = zolget({"-i", urlOf(server)});
    EXPECT_EQ(run.status, 6);
    EXPECT_EQ(run.output, "HTTP/1.1 503 Later\n\n");
    EXPECT_THAT(run.errors, HasSubstr("try again later"));
}

TEST(ZolgetResponse, GivesAdviceForTheClassOfTheStatus)
{
    const auto errorsFor = [](const std::string& status)
    {
        const ScriptedServer server(respondingWith("HTTP/1.1 " + status + "\r\n\r\n"));
        const Outcome run = zolget({urlOf(server)});
        EXPECT_EQ(run.status, 6);
        return run.errors;
    };
    EXPECT_THAT(errorsFor("302 Found"), HasSubstr("redirects are not followed"));
    EXPECT_THAT(errorsFor("401 Unauthorized"), HasSubstr("send them with -u or -H"));
    EXPECT_THAT(errorsFor("101 Switching"), HasSubstr("a response to such a request cannot have this status"));
    EXPECT_THAT(errorsFor("999 Far"), HasSubstr("a response to such a request cannot have this status"));
}

TEST(ZolgetResponse, ExitsWith9ForAnythingButHttp)
{
    for (const char* bytes : {"SSH-2.0-server ready now\r\n\r\n", "HTTP/2 200 OK\r\n\r\n", "HTTP/1.1 2x0 OK\r\n\r\n",
                              "HTTP/1.1 200 OK\r\nContent-Length: 12x\r\n\r\n", "HTTP/1.1 200 OK\r\nno colon\r\n\r\n",
                              "HTTP/1.1 204 No Content\r\nno colon\r\n\r\n", "HTTP/1.1 000 Zero\r\n\r\n"})
    {
        const ScriptedServer server(
            [bytes](ServerConnection& connection)
            {
                connection.receiveHead();
                connection.send(bytes);
                EXPECT_TRUE(connection.waitUntilPeerCloses());
            });
        const Outcome run = zolget({urlOf(server)});
        EXPECT_EQ(run.status, 9) << bytes << run.errors;
        EXPECT_THAT(run.errors, HasSubstr(server.address() + " is not valid HTTP: "));
    }
}

TEST(ZolgetResponse, ExitsWith9ForAnUnsupportedTransferCoding)
{
    const ScriptedServer server(respondingWith("HTTP/1.1 200 OK\r\nTransfer-Encoding: gzip, chunked\r\n\r\n0\r\n\r\n"));
    const Outcome run = zolget({urlOf(server)});
    EXPECT_EQ(run.status, 9);
    EXPECT_EQ(run.output, "");
    EXPECT_THAT(run.errors, HasSubstr("\"gzip\""));
}

TEST(ZolgetResponse, ExitsWith7ForAResponseThatEndsTooEarly)
{
    for (const char* bytes : {
             "",                                                                      // before the head
             "HTTP/1.1 200",                                                          // in the status line
             "HTTP/1.1 200 OK\r\nContent-Le",                                         // in the head
             "HTTP/1.1 200 OK So Far\r\nContent-Length: 0\r\n",                       // in the head, of four words
             "HTTP/1.1 200 OK\r\nContent-Length: 10\r\n\r\nshort",                    // in the body
             "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n5\r\nfirst\r\n",   // between chunks
             "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n8\r\nfirst",       // in a chunk
             "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\nxyz\r\nfirst\r\n", // nonsense for a chunk
         })
    {
        const ScriptedServer server(respondingWith(bytes));
        const Outcome run = zolget({urlOf(server)});
        EXPECT_EQ(run.status, 7) << bytes << run.errors;
        EXPECT_THAT(run.errors, HasSubstr(server.address() + " is incomplete: "));
    }
}

TEST(ZolgetResponse, ExitsWith7ForAResetInABodyOfUnknownLength)
{
    const ScriptedServer server(
        [](ServerConnection& connection)
        {
            connection.receiveHead();
            connection.send("HTTP/1.1 200 OK\r\n\r\nsome");
            connection.reset();
        });
    const Outcome run = zolget({urlOf(server)});
    EXPECT_EQ(run.status, 7);
    EXPECT_THAT(run.errors, HasSubstr("is incomplete: "));
}

TEST(ZolgetResponse, ExitsWith7ForASilentServer)
{
    const ScriptedServer server(
        [](ServerConnection& connection)
        {
            connection.receiveHead();
            connection.send("HTTP/1.1 200 OK\r\nContent-Length: 10\r\n\r\nshort");
            EXPECT_TRUE(connection.waitUntilPeerCloses());
        });
    const Outcome run = zolget({"--read-timeout", "0.3", urlOf(server)});
    EXPECT_EQ(run.status, 7);
    EXPECT_EQ(run.output, "short");
    EXPECT_THAT(run.errors, HasSubstr("the server was silent for 0.3 s; --read-timeout allows more"));
}
