#include "TemporaryFile.hpp"

#include "FailureOf.hpp"
#include "support/TemporaryDirectory.hpp"

#include <gtest/gtest.h>

#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>

using zol_test::TemporaryDirectory;
using zolget::TemporaryFile;

TEST(TemporaryFile, TakesTheTargetsPlaceInOneStep)
{
    const TemporaryDirectory folder;
    const std::string target = folder.write("target", "old");
    TemporaryFile file(zolget::locate(target));
    ASSERT_EQ(::write(file.descriptor(), "new", 3), 3);
    EXPECT_EQ(zol_test::readFile(target), "old");
    file.becomeTarget();
    EXPECT_EQ(zol_test::readFile(target), "new");
    EXPECT_EQ(file.descriptor(), -1);
}

TEST(TemporaryFile, FailsWhenTheTargetHasBecomeAFolder)
{
    const TemporaryDirectory folder;
    {
        TemporaryFile file(zolget::locate(folder.file("target")));
        std::filesystem::create_directories(folder.file("target/inner"));
        const auto caught = zolget_test::failureOf([&file] { file.becomeTarget(); });
        EXPECT_EQ(caught.status, zolget::ExitStatus::LOCAL_FILE);
    }
    EXPECT_TRUE(std::filesystem::is_directory(folder.file("target")));
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.path()), {}), 1);
}

class TemporaryFileSignal : public testing::TestWithParam<int>
{
};

TEST_P(TemporaryFileSignal, RemovesTheFileAndEndsTheProcess)
{
    GTEST_FLAG_SET(death_test_style, "fast"); // so that both processes see the same folder
    const TemporaryDirectory folder;
    const std::string target = folder.file("target");
    EXPECT_EXIT(
        {
            ::signal(GetParam(), SIG_DFL); // a test run may ignore it
            const TemporaryFile file(zolget::locate(target));
            ::raise(GetParam());
        },
        testing::KilledBySignal(GetParam()), "");
    EXPECT_TRUE(std::filesystem::is_empty(folder.path()));
}

TEST_P(TemporaryFileSignal, StaysIgnoredIfItWas)
{
    GTEST_FLAG_SET(death_test_style, "fast"); // so that both processes see the same folder
    const TemporaryDirectory folder;
    const std::string target = folder.file("target");
    EXPECT_EXIT(
        {
            ::signal(GetParam(), SIG_IGN);
            TemporaryFile file(zolget::locate(target));
            ::raise(GetParam());
            std::_Exit(::access(target.c_str(), F_OK) == 0 || std::filesystem::is_empty(folder.path()) ? 1 : 0);
        },
        testing::ExitedWithCode(0), "");
}

TEST_P(TemporaryFileSignal, LeavesTheTargetAloneOnceItIsComplete)
{
    GTEST_FLAG_SET(death_test_style, "fast"); // so that both processes see the same folder
    const TemporaryDirectory folder;
    const std::string target = folder.file("target");
    EXPECT_EXIT(
        {
            ::signal(GetParam(), SIG_DFL); // a test run may ignore it
            TemporaryFile file(zolget::locate(target));
            file.becomeTarget();
            ::raise(GetParam());
        },
        testing::KilledBySignal(GetParam()), "");
}

INSTANTIATE_TEST_SUITE_P(Each, TemporaryFileSignal,
                         testing::Values(SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGUSR1, SIGUSR2, SIGALRM, SIGXCPU, SIGXFSZ,
                                         SIGVTALRM, SIGIO, SIGPWR, SIGSYS, SIGTRAP, SIGSTKFLT, SIGPIPE, 34, 64));
