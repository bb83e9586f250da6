#include "support/LogCapture.hpp"

#include "blocxx/CerrAppender.hpp"
#include "blocxx/LogMessage.hpp"
#include "blocxx/MultiAppender.hpp"

#include <gtest/gtest.h>

#include <iostream>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

namespace
{

using blocxx::Array;
using blocxx::CerrAppender;
using blocxx::LogAppender;
using blocxx::LogAppenderRef;
using blocxx::LogMessage;
using blocxx::MultiAppender;
using blocxx::StringArray;
using zol_test::LogCapture;

LogMessage record(const char* category, const char* message)
{
    return {"component", category, message, nullptr, -1, nullptr};
}

/// Captures what is written to std::clog.
class ClogCapture
{
public:
    ClogCapture() : m_former(std::clog.rdbuf(m_text.rdbuf())) {}
    ~ClogCapture() { std::clog.rdbuf(m_former); }
    ClogCapture(const ClogCapture&) = delete;
    ClogCapture& operator=(const ClogCapture&) = delete;

    std::string text() const { return m_text.str(); }

private:
    std::ostringstream m_text;
    std::streambuf* const m_former;
};

TEST(CerrAppender, WritesLinesToClog)
{
    const ClogCapture clog;
    const LogAppenderRef appender(new CerrAppender(LogAppender::ALL_COMPONENTS, StringArray(1, "ERROR"), "%p: %m"));
    appender->logMessage(record("ERROR", "one"));
    appender->logMessage(record("INFO", "not taken"));
    appender->logMessage(record("ERROR", "two"));
    EXPECT_EQ(clog.text(), "ERROR: one\nERROR: two\n");
}

TEST(CerrAppender, TakesAllByDefaultAndShowsTheThread)
{
    const ClogCapture clog;
    const LogAppenderRef appender(new CerrAppender);
    EXPECT_EQ(appender->getLogLevel(), blocxx::E_ALL_LEVEL);
    appender->logMessage(record("custom", "text"));
    const std::string text = clog.text();
    EXPECT_EQ(text.front(), '[');
    EXPECT_EQ(text.substr(text.find(']')), "] text\n");
}

TEST(CerrAppender, LinesOfSeveralThreadsAndAppendersComeOutWhole)
{
    const ClogCapture clog;
    std::vector<std::thread> threads;
    for (int i = 0; i < 8; ++i)
    {
        threads.emplace_back(
            []
            {
                const LogAppenderRef appender(
                    new CerrAppender(LogAppender::ALL_COMPONENTS, LogAppender::ALL_CATEGORIES, "%m"));
                for (int line = 0; line < 50; ++line)
                {
                    appender->logMessage(record("ERROR", "a whole line"));
                }
            });
    }
    for (std::thread& thread : threads)
    {
        thread.join();
    }
    std::istringstream lines(clog.text());
    int count = 0;
    for (std::string line; std::getline(lines, line); ++count)
    {
        EXPECT_EQ(line, "a whole line");
    }
    EXPECT_EQ(count, 400);
}

/// The appender that a capture installs.
LogAppenderRef appenderOf(const LogCapture&)
{
    return LogAppender::getDefaultLogAppender();
}

TEST(MultiAppender, PassesRecordsToAllMembersThatTakeThem)
{
    const LogCapture errors("ERROR");
    const LogAppenderRef first = appenderOf(errors);
    const LogCapture infos("INFO");
    const LogAppenderRef second = appenderOf(infos);
    const LogCapture all;

    const blocxx::IntrusiveReference<MultiAppender> appender(new MultiAppender(first));
    appender->logMessage(record("INFO", "too early"));
    appender->addLogAppender(second);
    appender->logMessage(record("INFO", "info"));
    appender->logMessage(record("ERROR", "error"));
    EXPECT_EQ(errors.messages(), std::vector<std::string>{"error"});
    EXPECT_EQ(infos.messages(), std::vector<std::string>{"info"});
}

TEST(MultiAppender, TakesAnArrayOfMembers)
{
    const LogCapture one;
    Array<LogAppenderRef> members(1, appenderOf(one));
    const LogCapture two;
    members.push_back(appenderOf(two));
    MultiAppender* const appender = new MultiAppender(members);
    const LogAppenderRef owner(appender);
    owner->logMessage(record("INFO", "both"));
    EXPECT_TRUE(one.contains("both"));
    EXPECT_TRUE(two.contains("both"));
}

TEST(MultiAppender, ItsLevelIsAllWhateverItsMembersTake)
{
    const LogCapture errors("ERROR");
    const LogAppenderRef appender(new MultiAppender(appenderOf(errors)));
    EXPECT_EQ(appender->getLogLevel(), blocxx::E_ALL_LEVEL);
    EXPECT_TRUE(appender->categoryIsEnabled("custom"));
}

TEST(LogCapture, RestrictsItselfToALevel)
{
    const LogCapture capture(blocxx::E_WARNING_LEVEL);
    const LogAppenderRef appender = appenderOf(capture);
    EXPECT_EQ(appender->getLogLevel(), blocxx::E_WARNING_LEVEL);
    EXPECT_TRUE(appender->categoryIsEnabled("FATAL"));
    EXPECT_FALSE(appender->categoryIsEnabled("INFO"));
}

TEST(LogCapture, FindsMessages)
{
    LogCapture capture;
    appenderOf(capture)->logMessage(record("INFO", "a text"));
    EXPECT_TRUE(capture.contains("a text"));
    EXPECT_FALSE(capture.contains("a tex"));
    EXPECT_TRUE(capture.contains("INFO", "a text"));
    EXPECT_FALSE(capture.contains("ERROR", "a text"));
    EXPECT_TRUE(capture.containsText("tex"));
    EXPECT_FALSE(capture.containsText("tax"));
    EXPECT_EQ(capture.messages("component").size(), 1U);
    EXPECT_TRUE(capture.messages("other").empty());
    capture.clear();
    EXPECT_TRUE(capture.records().empty());
}

} // namespace
