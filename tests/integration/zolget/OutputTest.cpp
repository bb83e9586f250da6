// Where zolget writes the body, and what it leaves behind.

#include "Zolget.hpp"
#include "support/ChildProcess.hpp"
#include "support/Descriptor.hpp"
#include "support/ScriptedServer.hpp"
#include "support/TemporaryDirectory.hpp"

#include <gmock/gmock.h>

#include <fcntl.h>
#include <poll.h>
#include <stdlib.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>
#include <system_error>
#include <thread>
#include <vector>

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using zol_test::ChildProcess;
using zol_test::Descriptor;
using zol_test::readFile;
using zol_test::ScriptedServer;
using zol_test::ServerConnection;
using zol_test::TemporaryDirectory;
using zolget_test::namesIn;
using zolget_test::okResponse;
using zolget_test::Outcome;
using zolget_test::respondingWith;
using zolget_test::urlOf;
using zolget_test::zolget;

namespace
{

constexpr const char* CUT_RESPONSE = "HTTP/1.1 200 OK\r\nContent-Length: 10\r\n\r\nshort";

/// Sends a part of the body, and never the rest.
void hold(ServerConnection& connection)
{
    connection.receiveHead();
    connection.send(CUT_RESPONSE);
    connection.waitUntilPeerCloses();
}

/// A shell's command line that runs zolget with its arguments and these redirections.
std::vector<std::string> redirected(const std::string& redirection, std::vector<std::string> arguments)
{
    arguments.insert(arguments.begin(), {"sh", "-c", "exec \"$0\" \"$@\" " + redirection, ZOLGET_PROGRAM});
    return arguments;
}

bool waitFor(const std::function<bool()>& condition)
{
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (!condition() && std::chrono::steady_clock::now() < end)
    {
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return condition();
}

std::uintmax_t bytesIn(const std::filesystem::path& folder)
{
    std::uintmax_t bytes = 0;
    for (const auto& entry : std::filesystem::directory_iterator(folder))
    {
        bytes += entry.file_size();
    }
    return bytes;
}

/// A terminal that programs can be given; what they write to it is collected.
class Terminal
{
public:
    Terminal() : m_master(::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC))
    {
        const char* const path =
            ::grantpt(m_master.get()) == 0 && ::unlockpt(m_master.get()) == 0 ? ::ptsname(m_master.get()) : nullptr;
        if (path == nullptr)
        {
            throw std::system_error(errno, std::generic_category(), "no terminal to be had; is /dev/pts mounted?");
        }
        m_path = path;
        m_slave = Descriptor(::open(m_path.c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC));
    }

    const std::string& path() const { return m_path; }

    std::string text()
    {
        std::string all;
        pollfd waiting{m_master.get(), POLLIN, 0};
        char block[4096];
        while (::poll(&waiting, 1, 200) > 0)
        {
            const ssize_t count = ::read(m_master.get(), block, sizeof(block));
            if (count <= 0)
            {
                break;
            }
            all.append(block, static_cast<std::size_t>(count));
        }
        return all;
    }

private:
    Descriptor m_master;
    Descriptor m_slave;
    std::string m_path;
};

} // namespace

TEST(ZolgetOutput, WritesACompleteBodyUnderItsName)
{
    const TemporaryDirectory folder;
    const ScriptedServer server(respondingWith(okResponse("complete")));
    const Outcome run = zolget({"-o", folder.file("page"), urlOf(server)});
    EXPECT_EQ(run.status, 0) << run.errors;
    EXPECT_EQ(run.output, "");
    EXPECT_EQ(readFile(folder.file("page")), "complete");
    EXPECT_THAT(namesIn(folder.path()), ElementsAre("page"));
}

TEST(ZolgetOutput, WritesNoFileForACutBody)
{
    const TemporaryDirectory folder;
    const ScriptedServer server(respondingWith(CUT_RESPONSE));
    EXPECT_EQ(zolget({"-o", folder.file("page"), urlOf(server)}).status, 7);
    EXPECT_THAT(namesIn(folder.path()), IsEmpty());
}

TEST(ZolgetOutput, KeepsTheEarlierFileWhenTheBodyIsCut)
{
    const TemporaryDirectory folder;
    folder.write("page", "earlier");
    const ScriptedServer server(respondingWith(CUT_RESPONSE));
    EXPECT_EQ(zolget({"-o", folder.file("page"), urlOf(server)}).status, 7);
    EXPECT_EQ(readFile(folder.file("page")), "earlier");
    EXPECT_THAT(namesIn(folder.path()), ElementsAre("page"));
}

TEST(ZolgetOutput, LeavesNothingForAnErrorStatus)
{
    const TemporaryDirectory folder;
    const ScriptedServer server(respondingWith("HTTP/1.1 404 Not Found\r\n\r\n"));
    EXPECT_EQ(zolget({"-o", folder.file("page"), urlOf(server)}).status, 6);
    EXPECT_THAT(namesIn(folder.path()), IsEmpty());
}

TEST(ZolgetOutput, LeavesNothingWhenInterrupted)
{
    for (const int signal : {SIGINT, SIGTERM, SIGHUP})
    {
        const TemporaryDirectory folder;
        const ScriptedServer server(hold);
        ChildProcess process(zolget_test::command({"-o", folder.file("page"), urlOf(server)}));
        ASSERT_TRUE(server.waitForConnections(1));
        EXPECT_TRUE(waitFor([&folder] { return bytesIn(folder.path()) > 0; }));
        ::kill(process.pid(), signal);
        EXPECT_EQ(process.wait(), 128 + signal);
        EXPECT_THAT(namesIn(folder.path()), IsEmpty());
    }
}

TEST(ZolgetOutput, WritesADeviceDirectly)
{
    const ScriptedServer server(respondingWith(okResponse("gone")));
    EXPECT_EQ(zolget({"-o", "/dev/null", urlOf(server)}).status, 0);
}

TEST(ZolgetOutput, ExitsWith8ForAFullDevice)
{
    const ScriptedServer server(respondingWith(okResponse("body")));
    const Outcome run = zolget({"-o", "/dev/full", urlOf(server)});
    EXPECT_EQ(run.status, 8);
    EXPECT_THAT(run.errors, HasSubstr("cannot write /dev/full: No space left on device"));
}

TEST(ZolgetOutput, ExitsWith8BeforeConnectingForAMissingFolder)
{
    const TemporaryDirectory folder;
    const ScriptedServer server(respondingWith(okResponse("body")));
    const Outcome run = zolget({"-o", folder.file("none/page"), urlOf(server)});
    EXPECT_EQ(run.status, 8);
    EXPECT_THAT(run.errors, HasSubstr("none/page: No such file or directory"));
    EXPECT_EQ(server.connections(), 0U);
}

TEST(ZolgetOutput, EndsQuietlyWhenNobodyReadsIt)
{
    const TemporaryDirectory folder;
    const ScriptedServer server(respondingWith(okResponse(std::string(1 << 20, 'x'))));
    ChildProcess process({"sh", "-c", "{ \"$0\" \"$1\"; echo $? >\"$2\"; } | true", ZOLGET_PROGRAM, urlOf(server),
                          folder.file("status")});
    EXPECT_EQ(process.wait(), 0);
    EXPECT_EQ(readFile(folder.file("status")), "8\n");
    EXPECT_EQ(process.errorOutput(), "");
}

TEST(ZolgetOutput, ExitsWith8WhenStandardOutputIsClosed)
{
    const ScriptedServer server(respondingWith(okResponse("body")));
    ChildProcess process(redirected(">&-", {urlOf(server)}));
    EXPECT_EQ(process.wait(), 8);
    EXPECT_THAT(process.errorOutput(), HasSubstr("cannot write standard output: Bad file descriptor"));
    // The body has not gone back into the connection, which would have taken the free number otherwise.
    EXPECT_EQ(server.requests().front().find("body"), std::string::npos);
}

TEST(ZolgetProgress, AppearsOnATerminal)
{
    const TemporaryDirectory folder;
    const ScriptedServer server(respondingWith(okResponse(std::string(2048, 'x'))));
    Terminal terminal;
    ChildProcess process(redirected("2>" + terminal.path(), {"-o", folder.file("page"), urlOf(server)}));
    EXPECT_EQ(process.wait(), 0);
    EXPECT_THAT(terminal.text(), testing::ContainsRegex("\r2.0 KiB of 2.0 KiB, [0-9.]+ .?i?B/s, 100 %"));
}

TEST(ZolgetProgress, IsHiddenWhereTheBodyAppears)
{
    const ScriptedServer server(respondingWith(okResponse("body")));
    Terminal terminal;
    ChildProcess process(redirected(">" + terminal.path() + " 2>&1", {urlOf(server)}));
    EXPECT_EQ(process.wait(), 0);
    EXPECT_EQ(terminal.text(), "body");
}

TEST(ZolgetProgress, IsHiddenWithoutATerminal)
{
    const TemporaryDirectory folder;
    const ScriptedServer server(respondingWith(okResponse("body")));
    EXPECT_EQ(zolget({"-o", folder.file("page"), urlOf(server)}).errors, "");
}

TEST(ZolgetProgress, AppearsAnywhereOnRequest)
{
    const TemporaryDirectory folder;
    const ScriptedServer server(respondingWith(okResponse("body")));
    const Outcome run = zolget({"--progress", "-o", folder.file("page"), urlOf(server)});
    EXPECT_THAT(run.errors, HasSubstr("4 B of 4 B, "));
    EXPECT_EQ(run.errors.find('\r'), std::string::npos);
}

TEST(ZolgetProgress, ShowsWhatIsKnownOfAChunkedBody)
{
    const TemporaryDirectory folder;
    const ScriptedServer server(respondingWith(
        "HTTP/1.1 200 OK\r\nContent-Length: 99\r\nTransfer-Encoding: chunked\r\n\r\n5\r\nfirst\r\n0\r\n\r\n"));
    const Outcome run = zolget({"--progress", "-o", folder.file("page"), urlOf(server)});
    EXPECT_THAT(run.errors, HasSubstr("5 B, "));
    EXPECT_EQ(run.errors.find('%'), std::string::npos);
}

TEST(ZolgetOutput, LeavesNothingWhenASignalEndsIt)
{
    for (const int signal :
         {SIGQUIT, SIGALRM, SIGUSR1, SIGUSR2, SIGXCPU, SIGVTALRM, SIGABRT, SIGSYS, SIGPWR, SIGIO, 40})
    {
        const TemporaryDirectory folder;
        const ScriptedServer server(hold);
        ChildProcess process(zolget_test::command({"-o", folder.file("page"), urlOf(server)}));
        ASSERT_TRUE(server.waitForConnections(1));
        EXPECT_TRUE(waitFor([&folder] { return bytesIn(folder.path()) > 0; }));
        ::kill(process.pid(), signal);
        EXPECT_EQ(process.wait(), 128 + signal);
        EXPECT_THAT(namesIn(folder.path()), IsEmpty()) << signal;
    }
}

TEST(ZolgetOutput, ExitsWith8ForAFileThatMayNotBeThatLarge)
{
    const TemporaryDirectory folder;
    const ScriptedServer server(respondingWith(okResponse(std::string(100000, 'x'))));
    ChildProcess process(
        {"sh", "-c", "ulimit -f 8; exec \"$0\" -o \"$1\" \"$2\"", ZOLGET_PROGRAM, folder.file("page"), urlOf(server)});
    EXPECT_EQ(process.wait(), 8);
    EXPECT_THAT(process.errorOutput(), HasSubstr("page: File too large (the limit for the size of files is reached)"));
    EXPECT_THAT(namesIn(folder.path()), IsEmpty());
}

TEST(ZolgetOutput, FollowsALinkOfItsOwn)
{
    const TemporaryDirectory folder;
    const std::string target = folder.write("target", "old");
    std::filesystem::create_symlink(target, folder.file("link"));
    const ScriptedServer server(respondingWith(okResponse("new")));
    EXPECT_EQ(zolget({"-o", folder.file("link"), urlOf(server)}).status, 0);
    EXPECT_TRUE(std::filesystem::is_symlink(folder.file("link")));
    EXPECT_EQ(readFile(target), "new");
}

TEST(ZolgetOutput, FollowsNoLinkOfAnotherUserInASharedFolder)
{
    if (::geteuid() != 0)
    {
        GTEST_SKIP() << "needs root, to make links of other users";
    }
    const TemporaryDirectory folder;
    const std::string target = folder.write("home/target", "old");
    std::filesystem::create_symlink(target, folder.file("link"));
    ASSERT_EQ(::lchown(folder.file("link").c_str(), 4711, 4711), 0);
    std::filesystem::permissions(folder.path(), std::filesystem::perms::all | std::filesystem::perms::sticky_bit);
    const ScriptedServer server(respondingWith(okResponse("new")));
    for (const std::vector<std::string>& more : {std::vector<std::string>{}, {"-C"}})
    {
        std::vector<std::string> arguments = {"-o", folder.file("link"), urlOf(server)};
        arguments.insert(arguments.end(), more.begin(), more.end());
        const Outcome run = zolget(arguments);
        EXPECT_EQ(run.status, 8);
        EXPECT_THAT(run.errors, HasSubstr("link: it is a symbolic link of another user"));
    }
    EXPECT_EQ(readFile(target), "old");
    EXPECT_EQ(server.connections(), 0U);
}

TEST(ZolgetOutput, WritesNoPartsIntoAFolderThatAnotherUsersLinkLeadsTo)
{
    if (::geteuid() != 0)
    {
        GTEST_SKIP() << "needs root, to make links of other users";
    }
    const TemporaryDirectory folder;
    std::filesystem::create_directories(folder.file("home"));
    std::filesystem::create_symlink(folder.file("home"), folder.file("link"));
    const ScriptedServer server(respondingWith(okResponse("new")));
    EXPECT_EQ(zolget({"--parts", folder.file("link"), urlOf(server)}).status, 0);
    EXPECT_THAT(namesIn(folder.file("home")), ElementsAre("part-001.txt"));
    ASSERT_EQ(::lchown(folder.file("link").c_str(), 4711, 4711), 0);
    std::filesystem::permissions(folder.path(), std::filesystem::perms::all | std::filesystem::perms::sticky_bit);
    for (const char* name : {"link", "link/"})
    {
        const Outcome run = zolget({"--parts", folder.file(name), urlOf(server)});
        EXPECT_EQ(run.status, 8);
        EXPECT_THAT(run.errors, HasSubstr("it is a symbolic link of another user"));
    }
    EXPECT_EQ(server.connections(), 1U);
}

TEST(ZolgetOutput, TakesAnyNameOfAFolderForParts)
{
    const TemporaryDirectory folder;
    const ScriptedServer server(respondingWith(okResponse("new")));
    for (const char* name : {".", "parts", "parts/", "./parts//", "parts/.."})
    {
        EXPECT_EQ(zolget({"--parts", name, urlOf(server)}, folder.path().string()).status, 0) << name;
    }
    EXPECT_THAT(namesIn(folder.path()), ElementsAre("part-001.txt", "parts"));
}

TEST(ZolgetOutput, WritesNoPartThroughALink)
{
    const TemporaryDirectory folder;
    const std::string target = folder.write("target", "old");
    std::filesystem::create_directories(folder.file("parts"));
    std::filesystem::create_symlink(target, folder.file("parts/part-001.txt"));
    const ScriptedServer server(respondingWith(okResponse("new")));
    EXPECT_EQ(zolget({"--parts", folder.file("parts"), urlOf(server)}).status, 0);
    EXPECT_EQ(readFile(target), "old");
    EXPECT_FALSE(std::filesystem::is_symlink(folder.file("parts/part-001.txt")));
    EXPECT_EQ(readFile(folder.file("parts/part-001.txt")), "new");
}

TEST(ZolgetOutput, KeepsTheModeOfAnEarlierFile)
{
    const TemporaryDirectory folder;
    std::filesystem::permissions(folder.write("page", "old"), std::filesystem::perms::owner_read);
    const ScriptedServer server(respondingWith(okResponse("new")));
    EXPECT_EQ(zolget({"-o", folder.file("page"), urlOf(server)}).status, 0);
    EXPECT_EQ(readFile(folder.file("page")), "new");
    EXPECT_EQ(std::filesystem::status(folder.file("page")).permissions(), std::filesystem::perms::owner_read);
}

TEST(ZolgetOutput, GivesNewFilesTheModeOfTheUmask)
{
    const TemporaryDirectory folder;
    const ScriptedServer server(respondingWith(okResponse("new")));
    for (const char* option : {"-o", "-Co"})
    {
        const std::string path = folder.file(option);
        ChildProcess process(
            {"sh", "-c", "umask 027; exec \"$0\" \"$1\" \"$2\" \"$3\"", ZOLGET_PROGRAM, option, path, urlOf(server)});
        EXPECT_EQ(process.wait(), 0) << process.errorOutput();
        EXPECT_EQ(static_cast<unsigned>(std::filesystem::status(path).permissions()), 0640U);
    }
}
