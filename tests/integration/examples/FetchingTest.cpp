#include "Example.hpp"
#include "support/NginxServer.hpp"
#include "support/ScriptedServer.hpp"
#include "support/TemporaryDirectory.hpp"

#include <gmock/gmock.h>

#include <chrono>
#include <csignal>
#include <cstdint>
#include <filesystem>
#include <future>
#include <string>

namespace
{

using namespace examples_test;
using testing::AllOf;
using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;
using namespace zol_test;

const std::string CUT = "HTTP/1.1 200 OK\r\nContent-Length: 10\r\n\r\nbody";

/// Sends a part of a body, and then nothing until the client is gone.
void stall(ServerConnection& connection)
{
    connection.receiveHead();
    connection.send(CUT);
    connection.waitUntilPeerCloses(std::chrono::seconds(60));
}

TEST(FetchToMemory, ShowsTypeAndSize)
{
    const NginxServer server;
    server.folder().write("html/page.txt", "a page\n");
    EXPECT_EQ(outputOf("fetch_to_memory", {urlOf(server, "/page.txt")}), "200: 7 bytes of text/plain\n");
}

TEST(FetchToMemory, RefusesMoreThanItsLimit)
{
    const std::uint64_t LIMIT = 16777216;
    const NginxServer server;
    server.folder().writeSparse("html/large", LIMIT + 1);
    const Outcome outcome = run("fetch_to_memory", {urlOf(server, "/large")});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.output, "");
    EXPECT_THAT(outcome.errors, HasSubstr("16777216"));
    server.folder().writeSparse("html/exact", LIMIT);
    EXPECT_EQ(run("fetch_to_memory", {urlOf(server, "/exact")}).status, 0);
}

TEST(FetchToFile, WritesTheWholeFileAndShowsTheProgress)
{
    const NginxServer server;
    std::string content;
    for (int i = 0; i < 100000; ++i)
    {
        content += std::to_string(i);
    }
    server.folder().write("html/file", content);
    const std::string path = server.folder().file("fetched");
    const Outcome outcome = run("fetch_to_file", {urlOf(server, "/file"), path});
    EXPECT_EQ(outcome.status, 0) << outcome.errors;
    EXPECT_TRUE(readFile(path) == content);
    EXPECT_FALSE(std::filesystem::exists(path + ".part"));
    const std::string size = std::to_string(content.size());
    EXPECT_THAT(outcome.errors,
                AllOf(StartsWith("\r0 of " + size + " bytes\r"), EndsWith("\r" + size + " of " + size + " bytes\n")));
}

TEST(FetchToFile, LeavesTheFileAloneWhenTheBodyIsCut)
{
    const TemporaryDirectory folder;
    const std::string path = folder.write("file", "what was there");
    const ScriptedServer server(respondingWith(CUT));
    const Outcome outcome = run("fetch_to_file", {urlOf(server), path});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.errors, HasSubstr("fetch_to_file: The body ended 6 bytes before its announced length of 10"));
    EXPECT_EQ(readFile(path), "what was there");
    EXPECT_EQ(readFile(path + ".part"), "body");
}

TEST(FetchToFile, MakesNoFileOfAnError)
{
    const NginxServer server;
    const std::string path = server.folder().file("fetched");
    const Outcome outcome = run("fetch_to_file", {urlOf(server, "/missing"), path});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.errors, "fetch_to_file: HTTP/1.1 404 Not Found\n");
    EXPECT_FALSE(std::filesystem::exists(path) || std::filesystem::exists(path + ".part"));
}

TEST(FetchToFile, SaysWhereItCannotWrite)
{
    const NginxServer server;
    for (const char* const path : {"/nonexistent/file", "/dev/full"})
    {
        const TemporaryDirectory folder;
        std::filesystem::create_symlink(path, folder.file("file.part"));
        const Outcome outcome = run("fetch_to_file", {urlOf(server), folder.file("file")});
        EXPECT_EQ(outcome.status, 1);
        EXPECT_THAT(outcome.errors, EndsWith("fetch_to_file: cannot write " + folder.file("file.part") + "\n"));
    }
}

TEST(FetchWithDeadline, FetchesInTime)
{
    const NginxServer server;
    EXPECT_EQ(outputOf("fetch_with_deadline", {urlOf(server), "30"}), "<html>the front page</html>\n");
}

TEST(FetchWithDeadline, EndsAtItsDeadlineBehindWhatArrived)
{
    const ScriptedServer server(stall);
    const Outcome outcome = run("fetch_with_deadline", {urlOf(server), "0.5"});
    EXPECT_EQ(outcome.status, 3);
    EXPECT_EQ(outcome.output, "body");
    EXPECT_THAT(outcome.errors, HasSubstr("deadline"));
}

TEST(FetchWithDeadline, TellsACutFromTheDeadline)
{
    const ScriptedServer server(respondingWith(CUT));
    EXPECT_EQ(run("fetch_with_deadline", {urlOf(server), "30"}).status, 1);
}

TEST(FetchUntilInterrupted, FetchesTheWholePage)
{
    const NginxServer server;
    EXPECT_EQ(outputOf("fetch_until_interrupted", {urlOf(server)}), "<html>the front page</html>\n");
}

TEST(FetchUntilInterrupted, GivesUpAtTheSignalAndSaysSo)
{
    // A signal before the request has come would leave the script without its head.
    std::promise<void> requested;
    const ScriptedServer server(
        [&requested](ServerConnection& connection)
        {
            connection.receiveHead();
            requested.set_value();
            connection.waitUntilPeerCloses(std::chrono::seconds(60));
        });
    ChildProcess fetch = example("fetch_until_interrupted", {urlOf(server)});
    ASSERT_EQ(requested.get_future().wait_for(std::chrono::seconds(10)), std::future_status::ready);
    ::kill(fetch.pid(), SIGINT);
    EXPECT_EQ(fetch.wait(), 130);
    EXPECT_THAT(fetch.errorOutput(), HasSubstr("cancelled"));
}

TEST(ShowResponse, ShowsHeadAndBodyOfAPageThatIsMissing)
{
    NginxServer::Options options;
    options.server = "error_page 404 /sorry.txt;\n location = /sorry.txt { add_header X-Reason gone always; }\n";
    const NginxServer server(options);
    server.folder().write("html/sorry.txt", "There is no such page.\n");
    const Outcome outcome = run("show_response", {urlOf(server, "/missing")});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.errors, "");
    EXPECT_THAT(outcome.output, StartsWith("HTTP/1.1 404 Not Found\nServer: nginx"));
    EXPECT_THAT(outcome.output, HasSubstr("\nX-Reason: gone\n"));
    EXPECT_THAT(outcome.output, EndsWith("\n\nThere is no such page.\n"));
}

TEST(ShowResponse, ShowsThoseOfAPage)
{
    const NginxServer server;
    EXPECT_THAT(outputOf("show_response", {urlOf(server)}),
                AllOf(StartsWith("HTTP/1.1 200 OK\n"), EndsWith("\n\n<html>the front page</html>\n")));
}

class FollowRedirects : public testing::Test
{
protected:
    static NginxServer::Options options()
    {
        NginxServer::Options options;
        options.server = "location = /old { return 301 /newer; }\n"
                         "location = /newer { return 302 /index.html; }\n"
                         "location = /circle { return 302 /circle; }\n";
        return options;
    }

    const NginxServer m_server{options()};
};

TEST_F(FollowRedirects, SaysWhereTheyLedTo)
{
    const Outcome outcome = run("follow_redirects", {urlOf(m_server, "/old")});
    EXPECT_EQ(outcome.status, 0) << outcome.errors;
    EXPECT_EQ(outcome.output, "<html>the front page</html>\n");
    EXPECT_EQ(outcome.errors, urlOf(m_server, "/index.html") + "\n");
}

TEST_F(FollowRedirects, ShowsARedirectThatIsNotFollowedAndWhy)
{
    const Outcome outcome = run("follow_redirects", {urlOf(m_server, "/circle")});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.output, HasSubstr("302 Found"));
    EXPECT_EQ(outcome.errors,
              urlOf(m_server, "/circle") +
                  "\nThe redirect there is not followed. It is behind 5 others, the most that are followed\n");
}

TEST(GetPage, WritesThePage)
{
    const NginxServer server;
    EXPECT_EQ(outputOf("get_page", {"127.0.0.1:" + std::to_string(server.port()), "/"}),
              "<html>the front page</html>\n");
}

TEST(GetPage, WritesAllPartsOfAMultipartBody)
{
    const ScriptedServer server(
        respondingWith("HTTP/1.1 200 OK\r\nContent-Type: multipart/mixed; boundary=b\r\n\r\n"
                       "--b\r\nContent-Type: text/plain\r\n\r\none\n\r\n--b\r\n\r\ntwo\n\r\n--b--\r\n"));
    EXPECT_EQ(outputOf("get_page", {server.address(), "/"}), "one\ntwo\n");
}

TEST(GetPage, TellsABodyThatIsShorterThanAnnounced)
{
    const ScriptedServer server(respondingWith(CUT));
    const Outcome outcome = run("get_page", {server.address(), "/"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.errors, "get_page: the body is not as long as was announced\n");
}

TEST(GetPage, TellsAChunkedBodyThatIsCut)
{
    const ScriptedServer server(
        respondingWith("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n10\r\nnot sixteen"));
    const Outcome outcome = run("get_page", {server.address(), "/"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.errors, "get_page: the body was cut\n");
}

TEST(GetPage, SaysWhichStatusItGot)
{
    const NginxServer server;
    const Outcome outcome = run("get_page", {"127.0.0.1:" + std::to_string(server.port()), "/missing"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.errors, HasSubstr("404"));
}

TEST(LogToFile, WritesWhatTheLibraryDoes)
{
    const NginxServer server;
    const std::string log = server.folder().file("log");
    EXPECT_EQ(outputOf("log_to_file", {urlOf(server), log}), "<html>the front page</html>\n");
    EXPECT_THAT(readFile(log), AllOf(HasSubstr("DEBUG"), HasSubstr(" zol.common.http.exchange: ")));
}

TEST(LogToFile, SaysWhereItCannotWrite)
{
    const Outcome outcome = run("log_to_file", {"http://127.0.0.1/", "/nonexistent/log"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.errors, HasSubstr("/nonexistent/log"));
}

} // namespace
