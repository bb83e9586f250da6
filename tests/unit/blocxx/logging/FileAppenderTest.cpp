#include "blocxx/FileAppender.hpp"

#include "support/CancelledThread.hpp"
#include "support/TemporaryDirectory.hpp"

#include "blocxx/LogMessage.hpp"
#include "blocxx/Logger.hpp"

#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace
{

using blocxx::FileAppender;
using blocxx::LogAppender;
using blocxx::LogAppenderRef;
using blocxx::LogMessage;
using zol_test::readFile;
using zol_test::TemporaryDirectory;

LogAppenderRef appenderTo(const std::string& path, bool flush = true)
{
    return new FileAppender(LogAppender::ALL_COMPONENTS, LogAppender::ALL_CATEGORIES, path.c_str(), "%m", flush);
}

void log(const LogAppenderRef& appender, const std::string& text)
{
    appender->logMessage(LogMessage("c", "INFO", text, nullptr, -1, nullptr));
}

TEST(FileAppender, AppendsLinesToWhatIsThere)
{
    const TemporaryDirectory directory;
    const std::string path = directory.write("log", "before\n");
    const LogAppenderRef appender = appenderTo(path);
    log(appender, "one");
    log(appender, "two");
    EXPECT_EQ(readFile(path), "before\none\ntwo\n");
}

TEST(FileAppender, MakesTheFileAtConstruction)
{
    const TemporaryDirectory directory;
    const LogAppenderRef appender = appenderTo(directory.file("log"));
    EXPECT_EQ(readFile(directory.file("log")), "");
}

TEST(FileAppender, RefusesAFileThatCannotBeOpened)
{
    const TemporaryDirectory directory;
    const std::string path = directory.file("missing") + "/log";
    try
    {
        appenderTo(path);
        FAIL() << "no exception";
    }
    catch (const blocxx::LoggerException& e)
    {
        EXPECT_EQ(std::string(e.getMessage()), "FileAppender: Unable to open file: " + path);
        EXPECT_STREQ(e.getFile(), "FileAppender");
    }
}

TEST(FileAppender, RefusesANullName)
{
    EXPECT_THROW(FileAppender(LogAppender::ALL_COMPONENTS, LogAppender::ALL_CATEGORIES, nullptr, "%m"),
                 blocxx::LoggerException);
}

TEST(FileAppender, ItsEndIsNotACancellationPoint)
{
    const TemporaryDirectory directory;
    const std::string path = directory.file("log");
    auto appender = std::make_unique<FileAppender>(LogAppender::ALL_COMPONENTS, LogAppender::ALL_CATEGORIES,
                                                   path.c_str(), "%m", false);
    appender->logMessage(LogMessage("c", "ERROR", "kept", nullptr, -1, nullptr));
    EXPECT_TRUE(zol_test::runsToItsEndThoughCancelled([&appender] { appender.reset(); }));
    EXPECT_EQ(readFile(path), "kept\n");
}

TEST(FileAppender, ReopensTheFileWhenItsNameIsGone)
{
    const TemporaryDirectory directory;
    const std::string path = directory.file("log");
    const LogAppenderRef appender = appenderTo(path);
    log(appender, "one");
    std::filesystem::rename(path, path + ".1");
    log(appender, "two");
    EXPECT_EQ(readFile(path + ".1"), "one\n");
    EXPECT_EQ(readFile(path), "two\n");
}

TEST(FileAppender, ReopensTheFileWhenItsNameBelongsToAnother)
{
    const TemporaryDirectory directory;
    const std::string path = directory.file("log");
    const LogAppenderRef appender = appenderTo(path);
    log(appender, "one");
    std::filesystem::rename(path, path + ".1");
    directory.write("log", "new\n");
    log(appender, "two");
    EXPECT_EQ(readFile(path + ".1"), "one\n");
    EXPECT_EQ(readFile(path), "new\ntwo\n");
}

TEST(FileAppender, DropsWhatItCannotWriteAndTriesAgain)
{
    const TemporaryDirectory directory;
    std::filesystem::create_directory(directory.file("folder"));
    const std::string path = directory.file("folder") + "/log";
    const LogAppenderRef appender = appenderTo(path);
    std::filesystem::rename(directory.file("folder"), directory.file("moved"));
    log(appender, "dropped");
    std::filesystem::rename(directory.file("moved"), directory.file("folder"));
    log(appender, "written");
    EXPECT_EQ(readFile(path), "written\n");
}

TEST(FileAppender, GathersRecordsUnlessToldToFlush)
{
    const TemporaryDirectory directory;
    const std::string path = directory.file("log");
    {
        const LogAppenderRef appender = appenderTo(path, false);
        log(appender, "one");
        EXPECT_EQ(readFile(path), "");
        log(appender, std::string(10000, 'x'));
        EXPECT_EQ(readFile(path), "one\n" + std::string(10000, 'x') + "\n");
        log(appender, "last");
    }
    EXPECT_EQ(readFile(path), "one\n" + std::string(10000, 'x') + "\nlast\n");
}

TEST(FileAppender, GatheredRecordsGoToTheFileTheyWereLoggedTo)
{
    const TemporaryDirectory directory;
    const std::string path = directory.file("log");
    {
        const LogAppenderRef appender = appenderTo(path, false);
        log(appender, "one");
        std::filesystem::rename(path, path + ".1");
        log(appender, "two");
    }
    EXPECT_EQ(readFile(path + ".1"), "one\n");
    EXPECT_EQ(readFile(path), "two\n");
}

TEST(FileAppender, LinesOfSeveralThreadsComeOutWhole)
{
    const TemporaryDirectory directory;
    const std::string path = directory.file("log");
    const LogAppenderRef appender = appenderTo(path);
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
    {
        threads.emplace_back(
            [&appender]
            {
                for (int line = 0; line < 100; ++line)
                {
                    log(appender, "a whole line");
                }
            });
    }
    for (std::thread& thread : threads)
    {
        thread.join();
    }
    std::string expected;
    for (int line = 0; line < 400; ++line)
    {
        expected += "a whole line\n";
    }
    EXPECT_EQ(readFile(path), expected);
}

TEST(FileAppender, TheDefaultPatternShowsTimeThreadAndMessage)
{
    const TemporaryDirectory directory;
    const std::string path = directory.file("log");
    const LogAppenderRef appender(new FileAppender(LogAppender::ALL_COMPONENTS, LogAppender::ALL_CATEGORIES,
                                                   path.c_str(), FileAppender::STR_DEFAULT_MESSAGE_PATTERN));
    log(appender, "text");
    const std::string line = readFile(path);
    EXPECT_NE(line.find(" ["), std::string::npos);
    EXPECT_EQ(line.substr(line.find(']')), "]: text\n");
}

} // namespace
