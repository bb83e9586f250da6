// Downloads that are continued.

#include "Zolget.hpp"
#include "support/ChildProcess.hpp"
#include "support/NginxServer.hpp"
#include "support/ScriptedServer.hpp"
#include "support/TemporaryDirectory.hpp"

#include <gmock/gmock.h>

#include <sys/stat.h>
#include <sys/xattr.h>

#include <chrono>
#include <csignal>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using zol_test::readFile;
using zol_test::ScriptedServer;
using zol_test::ServerConnection;
using zol_test::TemporaryDirectory;
using zolget_test::namesIn;
using zolget_test::Outcome;
using zolget_test::respondingWith;
using zolget_test::urlOf;
using zolget_test::zolget;

namespace
{

constexpr const char* ATTRIBUTE = "user.zolget.validator";

std::string validatorOf(const std::string& path)
{
    char value[256];
    const ssize_t length = ::getxattr(path.c_str(), ATTRIBUTE, value, sizeof(value));
    return length < 0 ? "" : std::string(value, static_cast<std::size_t>(length));
}

/// The file of a download, which may have begun.
class ZolgetContinue : public testing::Test
{
protected:
    void SetUp() override
    {
        if (::setxattr(m_folder.write("probe", "").c_str(), ATTRIBUTE, "x", 1, 0) != 0)
        {
            GTEST_SKIP() << "the file system has no extended attributes";
        }
        std::filesystem::remove(m_folder.file("probe"));
    }

    void begin(const std::string& bytes, const std::string& validator = "\"v1\"") const
    {
        m_folder.write("file", bytes);
        ASSERT_EQ(::setxattr(m_path.c_str(), ATTRIBUTE, validator.data(), validator.size(), 0), 0);
    }

    Outcome run(const ScriptedServer& server) const { return zolget({"-C", "-o", m_path, urlOf(server, "/file")}); }

    TemporaryDirectory m_folder;
    std::string m_path = m_folder.file("file");
};

std::string partial(const std::string& range, const std::string& body, const std::string& tag = "\"v1\"")
{
    return "HTTP/1.1 206 Partial Content\r\nETag: " + tag + "\r\nContent-Range: " + range +
           "\r\nContent-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body;
}

std::string whole(const std::string& length, const std::string& body, const std::string& tag = "\"v1\"")
{
    return "HTTP/1.1 200 OK\r\nETag: " + tag + "\r\nContent-Length: " + length + "\r\n\r\n" + body;
}

} // namespace

TEST_F(ZolgetContinue, KeepsWhatACutDownloadBroughtWithItsValidator)
{
    const ScriptedServer server(respondingWith(whole("10", "first")));
    const Outcome outcome = run(server);
    EXPECT_EQ(outcome.status, 7);
    EXPECT_THAT(outcome.errors, HasSubstr("; what arrived is kept, -C continues\n"));
    EXPECT_EQ(readFile(m_path), "first");
    EXPECT_EQ(validatorOf(m_path), "\"v1\"");
    EXPECT_THAT(namesIn(m_folder.path()), ElementsAre("file"));
    EXPECT_THAT(server.requests().front(), Not(HasSubstr("Range")));
}

TEST_F(ZolgetContinue, AsksForTheRestAndAppendsIt)
{
    begin("first");
    const ScriptedServer server(respondingWith(partial("bytes 5-10/11", "second")));
    const Outcome outcome = run(server);
    EXPECT_EQ(outcome.status, 0) << outcome.errors;
    EXPECT_EQ(readFile(m_path), "firstsecond");
    EXPECT_THAT(server.requests().front(), HasSubstr("\r\nRange: bytes=5-\r\nIf-Range: \"v1\"\r\n"));
    EXPECT_THAT(server.requests().front(), Not(HasSubstr("Accept-Encoding")));
}

TEST_F(ZolgetContinue, KeepsThePartsOfSeveralCuts)
{
    begin("a");
    {
        const ScriptedServer server(respondingWith("HTTP/1.1 206 Partial Content\r\nETag: \"v1\"\r\nContent-Range: "
                                                   "bytes 1-3/4\r\nContent-Length: 3\r\n\r\nb"));
        EXPECT_EQ(run(server).status, 7);
    }
    EXPECT_EQ(readFile(m_path), "ab");
    const ScriptedServer server(respondingWith(partial("bytes 2-3/*", "cd")));
    EXPECT_EQ(run(server).status, 0);
    EXPECT_EQ(readFile(m_path), "abcd");
}

TEST_F(ZolgetContinue, BeginsAnewWhenTheDocumentHasChanged)
{
    begin("an earlier version");
    const ScriptedServer server(respondingWith(whole("3", "new", "\"v2\"")));
    EXPECT_EQ(run(server).status, 0);
    EXPECT_EQ(readFile(m_path), "new");
    EXPECT_EQ(validatorOf(m_path), "\"v2\"");
}

TEST_F(ZolgetContinue, BeginsAnewWithoutAValidator)
{
    m_folder.write("file", "whatever");
    const ScriptedServer server(respondingWith("HTTP/1.1 200 OK\r\nETag: W/\"v\"\r\nContent-Length: 3\r\n\r\nne"));
    const Outcome outcome = run(server);
    EXPECT_EQ(outcome.status, 7);
    EXPECT_THAT(outcome.errors, HasSubstr("-C begins anew"));
    EXPECT_EQ(readFile(m_path), "ne");
    EXPECT_EQ(validatorOf(m_path), "");
    EXPECT_THAT(server.requests().front(), Not(HasSubstr("Range")));
}

TEST_F(ZolgetContinue, DoesNotSendAnAttributeOfAnotherForm)
{
    for (const char* value : {"W/\"v1\"", "\"v1\"\r\nX: y", "v1"})
    {
        begin("first", value);
        const ScriptedServer server(respondingWith(whole("3", "new")));
        EXPECT_EQ(run(server).status, 0);
        EXPECT_EQ(readFile(m_path), "new");
        EXPECT_THAT(server.requests(), ElementsAre(Not(HasSubstr("Range"))));
    }
}

TEST_F(ZolgetContinue, RefusesAnotherRangeThanTheRest)
{
    for (const std::string& response :
         {partial("bytes 4-10/11", "tsecond"), partial("bytes 5-9/11", "secon"), partial("bytes 0-4/5", "first"),
          partial("pages 5-10/11", "second"), partial("", "second"), partial("bytes 5-10/11", "second", "\"v2\"")})
    {
        begin("first");
        const ScriptedServer server(respondingWith(response));
        const Outcome outcome = run(server);
        EXPECT_EQ(outcome.status, 9) << response;
        EXPECT_THAT(outcome.errors, HasSubstr("did not send the rest of " + m_path + " from byte 5 on"));
        EXPECT_EQ(readFile(m_path), "first");
        EXPECT_EQ(validatorOf(m_path), "\"v1\"");
    }
}

TEST_F(ZolgetContinue, RefusesMoreThanTheRangeThatWasAnnounced)
{
    begin("first");
    const ScriptedServer server(
        respondingWith("HTTP/1.1 206 Partial Content\r\nETag: \"v1\"\r\nContent-Range: bytes 5-6/7\r\n\r\nsecond"));
    EXPECT_EQ(run(server).status, 9);
    EXPECT_EQ(readFile(m_path), "first");
}

TEST_F(ZolgetContinue, ExitsWith7ForLessThanTheRangeThatWasAnnounced)
{
    begin("first");
    const ScriptedServer server(
        respondingWith("HTTP/1.1 206 Partial Content\r\nETag: \"v1\"\r\nContent-Range: bytes 5-10/11\r\n\r\nsec"));
    EXPECT_EQ(run(server).status, 7);
    EXPECT_EQ(readFile(m_path), "firstsec");
}

TEST_F(ZolgetContinue, IsDoneWhenTheFileIsComplete)
{
    begin("complete");
    const ScriptedServer server(
        respondingWith("HTTP/1.1 416 Range Not Satisfiable\r\nContent-Range: bytes */8\r\n\r\n"));
    const Outcome outcome = run(server);
    EXPECT_EQ(outcome.status, 0) << outcome.errors;
    EXPECT_EQ(outcome.errors, "");
    EXPECT_EQ(readFile(m_path), "complete");
}

TEST_F(ZolgetContinue, IsNotDoneWhenTheFileHasAnotherSize)
{
    begin("complete");
    for (const char* range : {"Content-Range: bytes */7\r\n", "Content-Range: bytes 0-7/8\r\n", ""})
    {
        const ScriptedServer server(
            respondingWith("HTTP/1.1 416 Range Not Satisfiable\r\n" + std::string(range) + "\r\n"));
        EXPECT_EQ(run(server).status, 6);
        EXPECT_EQ(readFile(m_path), "complete");
    }
}

TEST_F(ZolgetContinue, LeavesTheFileAloneForAnErrorStatus)
{
    begin("first");
    const ScriptedServer server(respondingWith("HTTP/1.1 404 Not Found\r\nContent-Length: 4\r\n\r\ngone"));
    EXPECT_EQ(run(server).status, 6);
    EXPECT_EQ(readFile(m_path), "first");
    EXPECT_EQ(validatorOf(m_path), "\"v1\"");
    std::filesystem::remove(m_path);
    EXPECT_EQ(run(server).status, 6);
    EXPECT_THAT(namesIn(m_folder.path()), IsEmpty());
}

TEST_F(ZolgetContinue, ContinuesWhenItRepeatsARequest)
{
    const ScriptedServer server(
        [](ServerConnection& connection)
        {
            connection.receiveHead();
            connection.send(connection.index() == 0 ? whole("11", "first") : partial("bytes 5-10/11", "second"));
        });
    const Outcome outcome = zolget({"-C", "--retry", "1", "-o", m_path, urlOf(server)});
    EXPECT_EQ(outcome.status, 0) << outcome.errors;
    EXPECT_EQ(readFile(m_path), "firstsecond");
    EXPECT_THAT(server.requests().back(), HasSubstr("\r\nRange: bytes=5-\r\n"));
}

TEST_F(ZolgetContinue, KeepsWhatArrivedBeforeASignal)
{
    const ScriptedServer server(
        [](ServerConnection& connection)
        {
            connection.receiveHead();
            connection.send(whole("10", "first"));
            connection.waitUntilPeerCloses();
        });
    zol_test::ChildProcess process(zolget_test::command({"-C", "--progress", "-o", m_path, urlOf(server)}));
    for (int tries = 0; tries < 2000 && (!std::filesystem::exists(m_path) || readFile(m_path) != "first"); ++tries)
    {
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    ::kill(process.pid(), SIGINT);
    EXPECT_EQ(process.wait(), 128 + SIGINT);
    EXPECT_EQ(readFile(m_path), "first");
    EXPECT_EQ(validatorOf(m_path), "\"v1\"");
}

TEST_F(ZolgetContinue, TakesAStrongDateForAValidator)
{
    const std::string dates = "Last-Modified: Sun, 06 Nov 1994 08:49:36 GMT\r\nDate: Sun, 06 Nov 1994 08:50:36 GMT\r\n";
    {
        const ScriptedServer server(respondingWith("HTTP/1.1 200 OK\r\n" + dates + "Content-Length: 11\r\n\r\nfirst"));
        EXPECT_EQ(run(server).status, 7);
    }
    EXPECT_EQ(validatorOf(m_path), "Sun, 06 Nov 1994 08:49:36 GMT");
    {
        const ScriptedServer server(
            respondingWith("HTTP/1.1 206 Partial Content\r\nLast-Modified: Sun, 06 Nov 1994 08:49:37 "
                           "GMT\r\nContent-Range: bytes 5-10/11\r\n\r\nsecond"));
        EXPECT_EQ(run(server).status, 9);
    }
    const ScriptedServer server(
        respondingWith("HTTP/1.1 206 Partial Content\r\n" + dates + "Content-Range: bytes 5-10/11\r\n\r\nsecond"));
    EXPECT_EQ(run(server).status, 0);
    EXPECT_THAT(server.requests().front(), HasSubstr("\r\nIf-Range: Sun, 06 Nov 1994 08:49:36 GMT\r\n"));
    EXPECT_EQ(readFile(m_path), "firstsecond");
}

TEST_F(ZolgetContinue, WorksWithARealServer)
{
    const zol_test::NginxServer server;
    const std::string body = std::string(150000, 'a') + std::string(150000, 'b');
    server.folder().write("html/file", body);
    const std::string url = "http://127.0.0.1:" + std::to_string(server.port()) + "/file";
    const std::vector<std::string> arguments = {"-C", "-o", m_path, url};
    EXPECT_EQ(zolget(arguments).status, 0);
    EXPECT_EQ(readFile(m_path), body);
    EXPECT_THAT(validatorOf(m_path), testing::StartsWith("\""));

    std::filesystem::resize_file(m_path, 140000);
    EXPECT_EQ(zolget(arguments).status, 0);
    EXPECT_TRUE(readFile(m_path) == body);
    EXPECT_THAT(server.accessLog(), HasSubstr(" 206 "));

    const Outcome again = zolget(arguments);
    EXPECT_EQ(again.status, 0) << again.errors;
    EXPECT_TRUE(readFile(m_path) == body);
    EXPECT_THAT(server.accessLog(), HasSubstr(" 416 "));

    server.folder().write("html/file", "another version");
    EXPECT_EQ(zolget(arguments).status, 0);
    EXPECT_EQ(readFile(m_path), "another version");
}

TEST_F(ZolgetContinue, KeepsTheModeOfTheFile)
{
    begin("first");
    ASSERT_EQ(::chmod(m_path.c_str(), 0640), 0);
    const ScriptedServer server(respondingWith(whole("3", "new", "\"v2\"")));
    EXPECT_EQ(run(server).status, 0);
    struct stat status = {};
    ASSERT_EQ(::stat(m_path.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777U, 0640U);
}

TEST_F(ZolgetContinue, IsForRegularFilesOnly)
{
    const ScriptedServer server(respondingWith(whole("3", "new")));
    const Outcome outcome = zolget({"-C", "-o", "/dev/null", urlOf(server)});
    EXPECT_EQ(outcome.status, 8);
    EXPECT_THAT(outcome.errors, HasSubstr("cannot continue /dev/null: it is not a regular file"));
    EXPECT_EQ(server.connections(), 0U);
}

TEST_F(ZolgetContinue, TakesAMultipartBodyAsItIs)
{
    const std::string body = "--x\r\n\r\na\r\n--x--\r\n";
    const ScriptedServer server(respondingWith("HTTP/1.1 200 OK\r\nContent-Type: multipart/mixed; "
                                               "boundary=x\r\n\r\n" +
                                               body));
    EXPECT_EQ(run(server).status, 0);
    EXPECT_EQ(readFile(m_path), body);
}
