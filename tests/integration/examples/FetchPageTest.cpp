#include "Example.hpp"
#include "support/ScriptedServer.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <string>

namespace
{

using examples_test::example;
using examples_test::urlOf;
using testing::HasSubstr;
using namespace zol_test;

const std::string OK = "HTTP/1.1 200 OK\r\n";
const std::string CUT = OK + "Content-Length: 10\r\n\r\nbody";

void expectCut(const ScriptedServer::Script& script, const std::string& words,
               std::chrono::seconds limit = std::chrono::seconds(30))
{
    ScriptedServer server(script);
    server.ignoreErrors();
    ChildProcess fetch = example("fetch_page", {urlOf(server)});
    EXPECT_EQ(fetch.wait(limit), 1);
    EXPECT_EQ(fetch.output(), "body");
    EXPECT_THAT(fetch.errorOutput(), HasSubstr("The body ended 6 bytes before its announced length of 10: 127.0.0.1:"));
    EXPECT_THAT(fetch.errorOutput(), HasSubstr(words));
}

TEST(FetchPage, WritesTheBody)
{
    ScriptedServer server(respondingWith(OK + "Content-Length: 4\r\n\r\nbody"));
    ChildProcess fetch = example("fetch_page", {urlOf(server)});
    EXPECT_EQ(fetch.wait(), 0) << fetch.errorOutput();
    EXPECT_EQ(fetch.output(), "body");
    EXPECT_EQ(fetch.errorOutput(), "");
}

TEST(FetchPage, WritesEveryPartOfAMultipartBody)
{
    ScriptedServer server(respondingWith(OK +
                                         "Content-Type: MULTIPART/mixed; boundary=b\r\n\r\n--b\r\n\r\none\n\r\n"
                                         "--b\r\n\r\n\r\n--b\r\nContent-Type: image/png\r\n\r\nthree\n\r\n--b--\r\n"));
    ChildProcess fetch = example("fetch_page", {urlOf(server)});
    EXPECT_EQ(fetch.wait(), 0) << fetch.errorOutput();
    EXPECT_EQ(fetch.output(), "one\nthree\n");
}

TEST(FetchPage, ReportsAMultipartBodyThatIsCut)
{
    ScriptedServer server(
        respondingWith(OK + "Content-Type: multipart/mixed; boundary=b\r\n\r\n--b\r\n\r\none\n\r\n--b\r\n\r\ntw"));
    ChildProcess fetch = example("fetch_page", {urlOf(server)});
    EXPECT_EQ(fetch.wait(), 1);
    EXPECT_EQ(fetch.output(), "one\ntw");
    EXPECT_THAT(fetch.errorOutput(), HasSubstr("ended before its closing delimiter"));
}

TEST(FetchPage, ReportsABodyThatIsCutByAClose)
{
    expectCut(respondingWith(CUT), "the server closed the connection");
}

TEST(FetchPage, ReportsABodyThatIsCutByAReset)
{
    ScriptedServer server(
        [](ServerConnection& connection)
        {
            connection.receiveHead();
            connection.send(CUT);
            connection.pause(std::chrono::milliseconds(300)); // a reset discards what has not been read
            connection.reset();
        });
    ChildProcess fetch = example("fetch_page", {urlOf(server)});
    EXPECT_EQ(fetch.wait(), 1);
    EXPECT_THAT(fetch.errorOutput(), HasSubstr("Connection reset by peer"));
}

// Takes the minute for which the program waits, which is the library's default.
TEST(FetchPageSlow, ReportsABodyThatIsCutByATimeOut)
{
    expectCut(
        [](ServerConnection& connection)
        {
            connection.receiveHead();
            connection.send(CUT);
            connection.waitUntilPeerCloses(std::chrono::seconds(100));
        },
        "no byte moved for 60 seconds", std::chrono::seconds(100));
}

TEST(FetchPage, ShowsTheStatusBesideTheBodyOfAnError)
{
    ScriptedServer server(respondingWith("HTTP/1.1 404 Not Found\r\nContent-Length: 4\r\n\r\nbody"));
    ChildProcess fetch = example("fetch_page", {urlOf(server)});
    EXPECT_EQ(fetch.wait(), 1);
    EXPECT_EQ(fetch.output(), "body");
    EXPECT_EQ(fetch.errorOutput(), "HTTP/1.1 404 Not Found\n");
}

TEST(FetchPage, SaysWhatIsWrongWithItsArgument)
{
    ChildProcess fetch = example("fetch_page", {"no url"});
    EXPECT_EQ(fetch.wait(), 1);
    EXPECT_THAT(fetch.errorOutput(), HasSubstr("no url"));
}

} // namespace
