// Requests that zolget makes again.

#include "Zolget.hpp"
#include "support/Descriptor.hpp"
#include "support/ScriptedServer.hpp"
#include "support/TemporaryDirectory.hpp"

#include <gmock/gmock.h>

#include <chrono>
#include <string>
#include <utility>

using testing::HasSubstr;
using testing::Not;
using zol_test::ScriptedServer;
using zol_test::ServerConnection;
using zolget_test::okResponse;
using zolget_test::Outcome;
using zolget_test::respondingWith;
using zolget_test::urlOf;
using zolget_test::zolget;

namespace
{

const std::string UNAVAILABLE = "HTTP/1.1 503 Busy\r\nContent-Length: 4\r\n\r\nbusy";

/// Sends the first response to the first connection, and a good one to all others.
ScriptedServer::Script firstSending(std::string first)
{
    return [first = std::move(first)](ServerConnection& connection)
    {
        connection.receiveHead();
        connection.send(connection.index() == 0 ? first : okResponse("at last"));
    };
}

} // namespace

TEST(ZolgetRepetition, FollowsATransientStatus)
{
    const ScriptedServer server(firstSending(UNAVAILABLE));
    const Outcome run = zolget({"-i", "--retry", "2", urlOf(server)});
    EXPECT_EQ(run.status, 0) << run.errors;
    EXPECT_THAT(run.output, HasSubstr("\n\nat last"));
    EXPECT_THAT(run.output, Not(HasSubstr("busy")));
    EXPECT_THAT(run.errors, HasSubstr("503 Busy"));
    EXPECT_THAT(run.errors, HasSubstr("; repeated in 1 s\n"));
    EXPECT_EQ(server.connections(), 2U);
}

TEST(ZolgetRepetition, FollowsACutResponse)
{
    const zol_test::TemporaryDirectory folder;
    for (const char* bytes : {"", "HTTP/1.1 200 OK\r\nContent-Le", "HTTP/1.1 200 OK\r\nContent-Length: 9\r\n\r\ncut"})
    {
        const ScriptedServer server(firstSending(bytes));
        const Outcome run = zolget({"--retry", "1", "-o", folder.file("page"), urlOf(server)});
        EXPECT_EQ(run.status, 0) << run.errors;
        EXPECT_EQ(zol_test::readFile(folder.file("page")), "at last");
        EXPECT_EQ(server.connections(), 2U);
    }
}

TEST(ZolgetRepetition, FollowsARefusedConnection)
{
    const zol_test::LoopbackSocket closed(zol_test::LoopbackSocket::E_BOUND);
    const Outcome run = zolget({"--retry", "1", "http://127.0.0.1:" + std::to_string(closed.port) + "/"});
    EXPECT_EQ(run.status, 4);
    EXPECT_THAT(run.errors, HasSubstr("; repeated in 1 s\nzolget: cannot connect to "));
}

TEST(ZolgetRepetition, EndsWithTheLastFailure)
{
    const ScriptedServer server(respondingWith(UNAVAILABLE));
    const Outcome run = zolget({"--error-body", "--retry", "1", urlOf(server)});
    EXPECT_EQ(run.status, 6);
    EXPECT_EQ(run.output, "busy");
    EXPECT_EQ(server.connections(), 2U);
}

TEST(ZolgetRepetition, DoesNotFollowWhatStays)
{
    const ScriptedServer missing(respondingWith("HTTP/1.1 404 Not Found\r\n\r\n"));
    EXPECT_EQ(zolget({"--retry", "2", urlOf(missing)}).status, 6);
    EXPECT_EQ(missing.connections(), 1U);
}

TEST(ZolgetRepetition, IsNotForRequestsThatMayNotBeMadeTwice)
{
    const ScriptedServer server(respondingWith(UNAVAILABLE));
    EXPECT_EQ(zolget({"--retry", "2", "-X", "PATCH", urlOf(server)}).status, 6);
    EXPECT_EQ(server.connections(), 1U);
    EXPECT_EQ(zolget({"--retry", "1", "-X", "PUT", "-d", "text", urlOf(server)}).status, 6);
    EXPECT_EQ(server.connections(), 3U);
}

TEST(ZolgetRepetition, WritesNothingTwice)
{
    const ScriptedServer server(firstSending("HTTP/1.1 200 OK\r\nContent-Length: 9\r\n\r\ncut"));
    const Outcome run = zolget({"--retry", "2", urlOf(server)});
    EXPECT_EQ(run.status, 7);
    EXPECT_EQ(run.output, "cut");
    EXPECT_EQ(server.connections(), 1U);
}

TEST(ZolgetRepetition, WaitsAsLongAsTheServerWants)
{
    const ScriptedServer server(firstSending("HTTP/1.1 429 Slow Down\r\nRetry-After: 2\r\nContent-Length: 0\r\n\r\n"));
    const auto begin = std::chrono::steady_clock::now();
    const Outcome run = zolget({"--retry", "1", urlOf(server)});
    EXPECT_EQ(run.status, 0) << run.errors;
    EXPECT_THAT(run.errors, HasSubstr("; repeated in 2 s\n"));
    EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::seconds(2));
}

TEST(ZolgetRepetition, DoesNotOutlastTheTimeForEverything)
{
    const ScriptedServer server(respondingWith("HTTP/1.1 503 Busy\r\nRetry-After: 60\r\nContent-Length: 0\r\n\r\n"));
    const Outcome run = zolget({"--retry", "5", "--max-time", "20", urlOf(server)});
    EXPECT_EQ(run.status, 6);
    EXPECT_EQ(server.connections(), 1U);
    EXPECT_THAT(run.errors, Not(HasSubstr("repeated")));
}

TEST(ZolgetTime, IsLimitedForEverything)
{
    const ScriptedServer server(
        [](ServerConnection& connection)
        {
            connection.receiveHead();
            connection.send("HTTP/1.1 200 OK\r\nContent-Length: 1000\r\n\r\n");
            // Never silent for long.
            while (connection.send("x"))
            {
                connection.pause(std::chrono::milliseconds(50));
            }
        });
    const Outcome run = zolget({"--max-time", "0.5", "--retry", "3", urlOf(server), urlOf(server)});
    EXPECT_EQ(run.status, 11);
    EXPECT_THAT(run.errors, HasSubstr(server.address() + " was not done within the 0.5 s of --max-time: "));
    EXPECT_EQ(server.connections(), 1U);
}
