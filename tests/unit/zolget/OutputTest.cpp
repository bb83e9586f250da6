#include "Output.hpp"

#include "FailureOf.hpp"
#include "support/TemporaryDirectory.hpp"

#include <gmock/gmock.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

using testing::HasSubstr;
using zol_test::readFile;
using zol_test::TemporaryDirectory;
using zolget::ExitStatus;
using zolget::Output;
using zolget_test::failureOf;

namespace
{

std::size_t filesIn(const TemporaryDirectory& folder)
{
    return static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator(folder.path()), {}));
}

mode_t modeOf(const std::string& path)
{
    struct stat status = {};
    EXPECT_EQ(::stat(path.c_str(), &status), 0);
    return status.st_mode & 07777;
}

} // namespace

TEST(Output, AppearsUnderItsNameWhenComplete)
{
    const TemporaryDirectory folder;
    const std::string path = folder.file("page");
    Output out(path);
    out.write("first ");
    out.write("second");
    EXPECT_FALSE(std::filesystem::exists(path));
    out.complete();
    EXPECT_EQ(readFile(path), "first second");
    EXPECT_EQ(filesIn(folder), 1U);
}

TEST(Output, LeavesNothingWhenIncomplete)
{
    const TemporaryDirectory folder;
    {
        Output out(folder.file("page"));
        out.write("cut");
        EXPECT_EQ(filesIn(folder), 1U);
    }
    EXPECT_EQ(filesIn(folder), 0U);
}

TEST(Output, KeepsAnEarlierFileUntilComplete)
{
    const TemporaryDirectory folder;
    const std::string path = folder.write("page", "old");
    {
        Output out(path);
        out.write("new, but cut");
    }
    EXPECT_EQ(readFile(path), "old");
    Output out(path);
    out.write("new");
    out.complete();
    EXPECT_EQ(readFile(path), "new");
}

TEST(Output, GetsTheModeOfAnyNewFile)
{
    const TemporaryDirectory folder;
    const mode_t before = ::umask(027);
    Output out(folder.file("page"));
    out.complete();
    ::umask(before);
    EXPECT_EQ(modeOf(folder.file("page")), 0640U);
}

TEST(Output, ReplacesTheFileBehindALinkAndKeepsTheLink)
{
    const TemporaryDirectory folder;
    const std::string path = folder.write("target", "old");
    std::filesystem::create_symlink(path, folder.file("link"));
    Output out(folder.file("link"));
    out.write("new");
    out.complete();
    EXPECT_TRUE(std::filesystem::is_symlink(folder.file("link")));
    EXPECT_EQ(readFile(path), "new");
}

TEST(Output, TakesARelativeName)
{
    const TemporaryDirectory folder;
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path(folder.path());
    Output out("page");
    out.write("x");
    out.complete();
    std::filesystem::current_path(before);
    EXPECT_EQ(readFile(folder.file("page")), "x");
}

TEST(Output, WritesADeviceDirectly)
{
    Output out("/dev/null");
    out.write("x");
    out.complete();
    EXPECT_TRUE(std::filesystem::is_character_file("/dev/null"));
}

TEST(Output, FailsForAFullDevice)
{
    Output out("/dev/full");
    const auto caught = failureOf([&out] { out.write("x"); });
    EXPECT_EQ(caught.status, ExitStatus::LOCAL_FILE);
    EXPECT_THAT(caught.message, HasSubstr("cannot write /dev/full: No space left on device"));
}

TEST(Output, FailsForAFolderAndForAMissingFolder)
{
    const TemporaryDirectory folder;
    const auto isFolder = failureOf([&folder] { Output out(folder.path().string()); });
    EXPECT_EQ(isFolder.status, ExitStatus::LOCAL_FILE);
    EXPECT_THAT(isFolder.message, HasSubstr("Is a directory"));
    const auto isMissing = failureOf([&folder] { Output out(folder.file("none/page")); });
    EXPECT_EQ(isMissing.status, ExitStatus::LOCAL_FILE);
    EXPECT_THAT(isMissing.message, HasSubstr("none/page: No such file or directory"));
}

TEST(Output, FailsForANameThatIsTooLong)
{
    const auto caught = failureOf([] { Output out("/" + std::string(5000, 'x') + "/page"); });
    EXPECT_EQ(caught.status, ExitStatus::LOCAL_FILE);
    EXPECT_THAT(caught.message, HasSubstr("File name too long"));
}

TEST(Output, IsQuietAboutAPipeWithoutReader)
{
    const TemporaryDirectory folder;
    const std::string path = folder.file("pipe");
    ASSERT_EQ(::mkfifo(path.c_str(), 0600), 0);
    const int reader = ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    ASSERT_GE(reader, 0);
    Output out(path);
    ::close(reader);
    const auto previous = ::signal(SIGPIPE, SIG_IGN);
    const auto caught = failureOf([&out] { out.write("x"); });
    ::signal(SIGPIPE, previous);
    EXPECT_EQ(caught.status, ExitStatus::LOCAL_FILE);
    EXPECT_EQ(caught.message, "");
}

TEST(Output, WaitsForAStandardOutputThatIsFull)
{
    constexpr std::size_t size = 1000000;
    int pipe[2] = {};
    ASSERT_EQ(::pipe2(pipe, O_CLOEXEC), 0);
    ASSERT_EQ(::fcntl(pipe[1], F_SETFL, O_NONBLOCK), 0);
    std::size_t received = 0;
    std::thread consumer(
        [descriptor = pipe[0], &received]
        {
            std::vector<char> block(65536);
            ssize_t count = 0;
            while ((count = ::read(descriptor, block.data(), block.size())) > 0)
            {
                received += static_cast<std::size_t>(count);
                std::this_thread::sleep_for(std::chrono::milliseconds(1));
            }
        });
    std::fflush(stdout);
    const int standardOutput = ::dup(STDOUT_FILENO);
    ::dup2(pipe[1], STDOUT_FILENO);
    Output("").write(std::string(size, 'x'));
    ::dup2(standardOutput, STDOUT_FILENO);
    ::close(standardOutput);
    ::close(pipe[1]);
    consumer.join();
    ::close(pipe[0]);
    EXPECT_EQ(received, size);
}

TEST(Output, KeepsTheModeOfAnEarlierFile)
{
    const TemporaryDirectory folder;
    const std::string path = folder.write("page", "old");
    for (const mode_t mode : {0600U, 0444U, 0751U})
    {
        ASSERT_EQ(::chmod(path.c_str(), mode), 0);
        Output out(path);
        out.write("new");
        out.complete();
        EXPECT_EQ(modeOf(path), mode);
    }
}

TEST(Output, IsNeverMoreReadableThanTheEarlierFile)
{
    const TemporaryDirectory folder;
    const std::string path = folder.write("page", "secret");
    ASSERT_EQ(::chmod(path.c_str(), 0600), 0);
    const Output out(path);
    for (const auto& entry : std::filesystem::directory_iterator(folder.path()))
    {
        EXPECT_EQ(modeOf(entry.path().string()), 0600U);
    }
}

TEST(Output, TakesThePlaceOfALinkWhereNoneIsToBeFollowed)
{
    const TemporaryDirectory folder;
    const std::string target = folder.write("target", "old");
    std::filesystem::create_symlink(target, folder.file("link"));
    const int descriptor = ::open(folder.path().c_str(), O_PATH | O_CLOEXEC);
    Output out(zolget::placeIn(descriptor, folder.path().string(), "link"));
    ::close(descriptor);
    out.write("new");
    out.complete();
    EXPECT_FALSE(std::filesystem::is_symlink(folder.file("link")));
    EXPECT_EQ(readFile(folder.file("link")), "new");
    EXPECT_EQ(readFile(target), "old");
}
