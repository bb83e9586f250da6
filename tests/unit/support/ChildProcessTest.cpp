#include "support/ChildProcess.hpp"

#include "support/TemporaryDirectory.hpp"

#include <gtest/gtest.h>

#include <csignal>

namespace
{

using zol_test::ChildProcess;

TEST(ChildProcess, StatusAndBothOutputsAreCollected)
{
    ChildProcess child({"sh", "-c", "echo out; echo err >&2; exit 3"});
    EXPECT_EQ(child.wait(), 3);
    EXPECT_EQ(child.output(), "out\n");
    EXPECT_EQ(child.errorOutput(), "err\n");
    EXPECT_FALSE(child.running());
}

TEST(ChildProcess, InputEnvironmentAndFolderReachTheProgram)
{
    const zol_test::TemporaryDirectory folder;
    ChildProcess::Options options;
    options.input = std::string(300000, 'x');
    options.environment = {{"ZOL_TEST_VALUE", "seen"}};
    options.workingDirectory = folder.path().string();
    ChildProcess child({"sh", "-c", "wc -c; echo $ZOL_TEST_VALUE; pwd"}, std::move(options));
    EXPECT_EQ(child.wait(), 0);
    EXPECT_EQ(child.output(), "300000\nseen\n" + folder.path().string() + "\n");
}

TEST(ChildProcess, ASignalIsReported)
{
    ChildProcess child({"sleep", "60"});
    EXPECT_TRUE(child.running());
    ::kill(child.pid(), SIGKILL);
    EXPECT_EQ(child.wait(), 128 + SIGKILL);
}

TEST(ChildProcess, WaitIsBounded)
{
    ChildProcess child({"sleep", "60"});
    EXPECT_THROW(child.wait(std::chrono::milliseconds(50)), std::runtime_error);
    child.stop();
    EXPECT_EQ(child.wait(), 128 + SIGTERM);
}

TEST(ChildProcess, AProgramThatIgnoresTheRequestToEndIsKilled)
{
    ChildProcess child({"sh", "-c", "trap '' TERM; echo ready; while :; do sleep 0.05; done"});
    ASSERT_TRUE(child.waitForOutput("ready"));
    child.stop(std::chrono::milliseconds(100));
    EXPECT_EQ(child.wait(), 128 + SIGKILL);
}

TEST(ChildProcess, AMissingProgramIsNamed)
{
    try
    {
        ChildProcess child({"no-such-program-here"});
        FAIL() << "started";
    }
    catch (const std::runtime_error& error)
    {
        EXPECT_NE(std::string(error.what()).find("no-such-program-here"), std::string::npos) << error.what();
    }
}

TEST(ChildProcess, WaitingForOutputEndsWithTheProgram)
{
    const ChildProcess child({"true"});
    EXPECT_FALSE(child.waitForOutput("never written"));
}

} // namespace
