#include "blocxx/SyslogAppender.hpp"

#include "blocxx/LogMessage.hpp"
#include "blocxx/Logger.hpp"

#include <gtest/gtest.h>

#include <syslog.h>

#include <cstdarg>
#include <cstdio>
#include <string>
#include <utility>
#include <vector>

namespace
{

using Entries = std::vector<std::pair<int, std::string>>;

Entries& entries()
{
    static Entries all;
    return all;
}

std::vector<std::pair<std::string, int>>& openings()
{
    static std::vector<std::pair<std::string, int>> all;
    return all;
}

void record(int priority, const char* format, std::va_list arguments)
{
    char text[1000];
    std::vsnprintf(text, sizeof text, format, arguments);
    entries().emplace_back(priority, text);
}

} // namespace

// The program's own functions take the place of the system's, under both names that a compiler may call. They have to
// be visible to the library for that.
#pragma GCC visibility push(default)
extern "C"
{
    void openlog(const char* identity, int, int facility)
    {
        openings().emplace_back(identity, facility);
    }

    void syslog(int priority, const char* format, ...)
    {
        std::va_list arguments;
        va_start(arguments, format);
        record(priority, format, arguments);
        va_end(arguments);
    }

    // What the C library calls in its place where it checks formats. NOLINTNEXTLINE(bugprone-reserved-identifier)
    void __syslog_chk(int priority, int, const char* format, ...)
    {
        std::va_list arguments;
        va_start(arguments, format);
        record(priority, format, arguments);
        va_end(arguments);
    }
}
#pragma GCC visibility pop

namespace
{

using blocxx::LogAppender;
using blocxx::LogAppenderRef;
using blocxx::LoggerException;
using blocxx::LogMessage;
using blocxx::String;
using blocxx::SyslogAppender;

LogAppenderRef appenderWith(const String& identity, const String& facility)
{
    return new SyslogAppender(LogAppender::ALL_COMPONENTS, LogAppender::ALL_CATEGORIES, "%m", identity, facility);
}

std::string refusalOf(const String& identity, const String& facility)
{
    try
    {
        appenderWith(identity, facility);
    }
    catch (const LoggerException& e)
    {
        EXPECT_STREQ(e.getFile(), "SyslogAppender");
        return e.getMessage();
    }
    return "";
}

TEST(SyslogAppender, RefusesABlankIdentity)
{
    EXPECT_EQ(refusalOf("", "user"), "SyslogAppender: Empty syslog identity name");
    EXPECT_EQ(refusalOf(" \t", "user"), "SyslogAppender: Empty syslog identity name");
}

TEST(SyslogAppender, RefusesAnUnknownFacility)
{
    EXPECT_EQ(refusalOf("test", ""), "SyslogAppender: Empty syslog facility name");
    EXPECT_EQ(refusalOf("test", "fax"), "SyslogAppender: Unknown syslog facility name: fax");
    EXPECT_EQ(refusalOf("test", "USER"), "SyslogAppender: Unknown syslog facility name: USER");
}

TEST(SyslogAppender, KnowsTheFacilities)
{
    for (const char* const facility :
         {"auth", "authpriv", "cron", "daemon", "ftp", "kern", "lpr", "mail", "news", "user", "uucp", "local0",
          "local1", "local2", "local3", "local4", "local5", "local6", "local7"})
    {
        EXPECT_EQ(refusalOf("test", facility), "") << facility;
    }
}

TEST(SyslogAppender, TheFirstOneOpensTheLogForTheProcess)
{
    appenderWith("first", "local3");
    const std::size_t count = openings().size();
    appenderWith("second", "daemon");
    EXPECT_EQ(openings().size(), count);
    EXPECT_EQ(openings().size(), 1U);
}

TEST(SyslogAppender, PrioritiesOfTheCategories)
{
    const std::vector<std::pair<std::string, int>> priorities = {
        {"FATAL", LOG_CRIT},   {"ERROR", LOG_ERR},   {"WARNING", LOG_WARNING},
        {"INFO", LOG_INFO},    {"DEBUG", LOG_DEBUG}, {"DEBUG2", LOG_DEBUG},
        {"DEBUG3", LOG_DEBUG}, {"custom", LOG_INFO}, {"error", LOG_INFO}};
    const LogAppenderRef appender = appenderWith("test", "user");
    for (const auto& [category, priority] : priorities)
    {
        entries().clear();
        appender->logMessage(LogMessage("c", category, "100% text", nullptr, -1, nullptr));
        EXPECT_EQ(entries(), (Entries{{priority, "100% text"}})) << category;
    }
}

TEST(SyslogAppender, EachLineThatIsNotEmptyIsAnEntry)
{
    const LogAppenderRef appender = appenderWith("test", "user");
    entries().clear();
    appender->logMessage(LogMessage("c", "INFO", "one\n\ntwo\n", nullptr, -1, nullptr));
    EXPECT_EQ(entries(), (Entries{{LOG_INFO, "one"}, {LOG_INFO, "two"}}));
}

} // namespace
