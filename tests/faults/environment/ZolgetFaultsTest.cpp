#ifdef ZOLGET_PROGRAM

#include "common/Servers.hpp"
#include "support/ChildProcess.hpp"
#include "support/TemporaryDirectory.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

namespace
{

using testing::HasSubstr;
using zol_test::ChildProcess;
using zol_test::TemporaryDirectory;

std::string largeUrl()
{
    return "http://127.0.0.1:" + std::to_string(zol_faults::Servers::running().plain) + "/large";
}

// A small tmpfs in a mount namespace of the child's own, whose files are listed behind the run.
const char ON_A_SMALL_DISK[] = "mount -t tmpfs -o size=128k tmpfs \"$1\" || exit 99\n"
                               "\"$0\" -o \"$1/page\" \"$2\"\n"
                               "status=$?\n"
                               "ls -A \"$1\"\n"
                               "exit $status\n";

TEST(ZolgetFaults, AFullDiskIsALocalFailureThatLeavesNothing)
{
    const TemporaryDirectory folder;
    ChildProcess process({"unshare", "--user", "--map-root-user", "--mount", "sh", "-c", ON_A_SMALL_DISK,
                          ZOLGET_PROGRAM, folder.path().string(), largeUrl()});
    const int status = process.wait();
    if (status == 99 || process.errorOutput().find("unshare") != std::string::npos)
    {
        GTEST_SKIP() << "no mount namespace to be had: " << process.errorOutput();
    }
    EXPECT_EQ(status, 8);
    EXPECT_THAT(process.errorOutput(), HasSubstr("page: No space left on device"));
    EXPECT_EQ(process.output(), "") << "files that are left";
}

TEST(ZolgetFaults, ATerminalThatIsNotThereChangesNothing)
{
    const TemporaryDirectory folder;
    // Without a controlling terminal, without its type, and without the streams that would show anything.
    ChildProcess process({"setsid", "--wait", "sh", "-c", "unset TERM; exec \"$0\" -o \"$1\" \"$2\" <&- >&- 2>&-",
                          ZOLGET_PROGRAM, folder.file("page"), largeUrl()});
    EXPECT_EQ(process.wait(), 0);
    EXPECT_EQ(zol_test::readFile(folder.file("page")), zol_faults::largePage());
}

TEST(ZolgetFaults, AFailureWithoutStandardErrorIsToldByTheStatus)
{
    ChildProcess process({"sh", "-c", "exec \"$0\" \"$1\" >&- 2>&-", ZOLGET_PROGRAM, largeUrl()});
    EXPECT_EQ(process.wait(), 8);
}

} // namespace

#endif
