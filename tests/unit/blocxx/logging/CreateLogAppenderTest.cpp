#include "support/TemporaryDirectory.hpp"

#include "blocxx/CerrAppender.hpp"
#include "blocxx/FileAppender.hpp"
#include "blocxx/LogAppender.hpp"
#include "blocxx/LogMessage.hpp"
#include "blocxx/Logger.hpp"
#include "blocxx/NullAppender.hpp"
#include "blocxx/SyslogAppender.hpp"

#include <gtest/gtest.h>

#include <string>

namespace
{

using blocxx::LogAppender;
using blocxx::LogAppenderRef;
using blocxx::LoggerConfigMap;
using blocxx::LoggerException;
using blocxx::String;

LogAppenderRef create(const String& type, const LoggerConfigMap& items = LoggerConfigMap())
{
    return LogAppender::createLogAppender("NAME", LogAppender::ALL_COMPONENTS,
                                          LogAppender::getCategoriesForLevel(blocxx::E_ERROR_LEVEL), "%m", type, items);
}

TEST(CreateLogAppender, TypesByTheirNames)
{
    EXPECT_TRUE(create("").cast_to<blocxx::NullAppender>());
    EXPECT_TRUE(create("null").cast_to<blocxx::NullAppender>());
    EXPECT_TRUE(create("NULL").cast_to<blocxx::NullAppender>());
    EXPECT_TRUE(create("stderr").cast_to<blocxx::CerrAppender>());
    EXPECT_TRUE(create("cerr").cast_to<blocxx::CerrAppender>());
    EXPECT_TRUE(create("syslog").cast_to<blocxx::SyslogAppender>());
    EXPECT_EQ(create("null")->getLogLevel(), blocxx::E_ERROR_LEVEL);
}

TEST(CreateLogAppender, AnUnknownTypeIsRefused)
{
    for (const char* const type : {"Syslog", "mpfile", "fax"})
    {
        try
        {
            create(type);
            FAIL() << "no exception for " << type;
        }
        catch (const LoggerException& e)
        {
            EXPECT_EQ(std::string(e.getMessage()), std::string("Unknown log type: ") + type);
            EXPECT_EQ(e.getErrorCode(), blocxx::Logger::E_UNKNOWN_LOG_APPENDER_TYPE);
            EXPECT_EQ(e.getSubClassId(), -24);
            EXPECT_STREQ(e.getFile(), "LogAppender");
        }
    }
}

TEST(CreateLogAppender, AFileTakesItsLocationFromTheOptions)
{
    const zol_test::TemporaryDirectory directory;
    LoggerConfigMap items;
    items["log.NAME.location"] = directory.file("log");
    const LogAppenderRef appender = create("file", items);
    appender->logMessage(blocxx::LogMessage("c", "ERROR", "written at once", nullptr, -1, nullptr));
    EXPECT_EQ(zol_test::readFile(directory.file("log")), "written at once\n");
}

TEST(CreateLogAppender, AFileFlushesByDefault)
{
    const zol_test::TemporaryDirectory directory;
    LoggerConfigMap items;
    items["log.NAME.location"] = directory.file("log");
    for (const char* const flush : {"TRUE", "no"})
    {
        items["log.NAME.flush"] = flush;
        LogAppenderRef appender = create("file", items);
        appender->logMessage(blocxx::LogMessage("c", "ERROR", flush, nullptr, -1, nullptr));
    }
    items["log.NAME.flush"] = "no";
    const LogAppenderRef gathering = create("file", items);
    gathering->logMessage(blocxx::LogMessage("c", "ERROR", "later", nullptr, -1, nullptr));
    EXPECT_EQ(zol_test::readFile(directory.file("log")), "TRUE\nno\n");
}

TEST(CreateLogAppender, AFileWithoutLocationCannotBeOpened)
{
    EXPECT_THROW(create("file"), LoggerException);
}

TEST(CreateLogAppender, SyslogTakesItsFacilityFromTheOptions)
{
    LoggerConfigMap items;
    items["log.NAME.facility"] = "nonsense";
    EXPECT_THROW(create("syslog", items), LoggerException);
    items["log.NAME.facility"] = "local7";
    EXPECT_TRUE(create("syslog", items));
    items["log.NAME.identity"] = " ";
    EXPECT_THROW(create("syslog", items), LoggerException);
}

} // namespace
