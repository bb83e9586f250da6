/// @file Uses every name of the logging module that programs rely on, as they write it.

#include "support/LogCapture.hpp"

#include "blocxx/CommonFwd.hpp"
#include "blocxx/GlobalMutex.hpp"
#include "blocxx/GlobalString.hpp"
#include "blocxx/GlobalStringArray.hpp"
#include "blocxx/LazyGlobal.hpp"
#include "blocxx/LogAppender.hpp"
#include "blocxx/LogLevel.hpp"
#include "blocxx/LogMessage.hpp"
#include "blocxx/Logger.hpp"
#include "blocxx/NullAppender.hpp"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace
{

using blocxx::LogAppender;
using blocxx::LogAppenderRef;
using blocxx::Logger;
using blocxx::LoggerRef;
using blocxx::String;
using zol_test::LogCapture;
using zol_test::LogRecord;

TEST(LoggingNames, LevelsHaveTheirNumbers)
{
    using namespace blocxx;
    const ELogLevel levels[] = {E_NONE_LEVEL,  E_FATAL_ERROR_LEVEL, E_ERROR_LEVEL,  E_WARNING_LEVEL, E_INFO_LEVEL,
                                E_DEBUG_LEVEL, E_DEBUG2_LEVEL,      E_DEBUG3_LEVEL, E_ALL_LEVEL};
    int number = 0;
    for (const ELogLevel level : levels)
    {
        EXPECT_EQ(number++, level);
        EXPECT_EQ(level, Logger::stringToLogLevel(Logger::logLevelToString(level)));
    }
}

TEST(LoggingNames, CategoriesHaveTheirTexts)
{
    EXPECT_EQ("NONE", Logger::STR_NONE_CATEGORY.get());
    EXPECT_EQ("FATAL", Logger::STR_FATAL_CATEGORY.get());
    EXPECT_EQ("ERROR", Logger::STR_ERROR_CATEGORY.get());
    EXPECT_EQ("WARNING", Logger::STR_WARNING_CATEGORY.get());
    EXPECT_EQ("INFO", Logger::STR_INFO_CATEGORY.get());
    EXPECT_EQ("DEBUG", Logger::STR_DEBUG_CATEGORY.get());
    EXPECT_EQ("DEBUG2", Logger::STR_DEBUG2_CATEGORY.get());
    EXPECT_EQ("DEBUG3", Logger::STR_DEBUG3_CATEGORY.get());
    EXPECT_EQ("ALL", Logger::STR_ALL_CATEGORY.get());
    EXPECT_EQ("none", Logger::STR_DEFAULT_COMPONENT.get());
    EXPECT_EQ(0, Logger::E_UNKNOWN_LOG_APPENDER_TYPE);
    EXPECT_EQ(1, Logger::E_INVALID_MAX_FILE_SIZE);
    EXPECT_EQ(2, Logger::E_INVALID_MAX_BACKUP_INDEX);
}

TEST(LoggingNames, LoggersAreMadeCopiedAndExchanged)
{
    const LogCapture capture;
    Logger standard;
    EXPECT_EQ("none", standard.getDefaultComponent());
    EXPECT_EQ(blocxx::E_ALL_LEVEL, standard.getLogLevel());
    Logger quiet(String("quiet"), blocxx::E_ERROR_LEVEL);
    const Logger other("other", LogAppenderRef(new blocxx::NullAppender));
    EXPECT_EQ(blocxx::E_NONE_LEVEL, other.getLogLevel());
    Logger copy(quiet);
    copy = standard;
    copy.swap(quiet);
    EXPECT_EQ("quiet", copy.getDefaultComponent());
    copy.setDefaultComponent("loud");
    EXPECT_EQ("loud", copy.getDefaultComponent());
    copy.setLogLevel(blocxx::E_INFO_LEVEL);
    copy.setLogLevel("DEBUG");
    EXPECT_EQ(blocxx::E_DEBUG_LEVEL, copy.getLogLevel());
    EXPECT_TRUE(copy.levelIsEnabled(blocxx::E_INFO_LEVEL));
    EXPECT_TRUE(copy.categoryIsEnabled("anything"));
    EXPECT_TRUE(copy.componentAndCategoryAreEnabled("any", "thing"));
    const LoggerRef reference(new Logger("x"));
    EXPECT_EQ(reference.getPtr(), &Logger::asLogger(reference));
    EXPECT_EQ(&copy, &Logger::asLogger(copy));
}

TEST(LoggingNames, LoggersHandRecordsOver)
{
    const LogCapture capture;
    const Logger logger("component");
    logger.logMessage("INFO", "1", "file", 2, "method");
    logger.logMessage("INFO", "2");
    logger.logMessage("other", "INFO", "3");
    logger.logMessage("other", "INFO", "4", "file", 2, "method");
    logger.logMessage(blocxx::LogMessage("other", "INFO", "5", nullptr, -1, nullptr));
    logger.logFatalError("6");
    logger.logError("7");
    logger.logWarning("8");
    logger.logInfo("9");
    logger.logDebug("10");
    logger.logDebug2("11");
    logger.logDebug3("12", "file", 2, "method");
    std::string text;
    for (const LogRecord& record : capture.records())
    {
        text += record.message + ' ' + record.category + ' ' + record.component + '\n';
    }
    EXPECT_EQ("1 INFO component\n2 INFO component\n3 INFO other\n4 INFO other\n5 INFO other\n6 FATAL component\n"
              "7 ERROR component\n8 WARNING component\n9 INFO component\n10 DEBUG component\n11 DEBUG2 component\n"
              "12 DEBUG3 component\n",
              text);
}

TEST(LoggingNames, MacrosLog)
{
    const LogCapture capture;
    const Logger logger("component");
    BLOCXX_LOG_FATAL_ERROR(logger, "1");
    BLOCXX_LOG_ERROR(logger, "2");
    BLOCXX_LOG_WARNING(logger, "3");
    BLOCXX_LOG_INFO(logger, "4");
    BLOCXX_LOG_DEBUG(logger, "5");
    BLOCXX_LOG_DEBUG2(logger, "6");
    BLOCXX_LOG_DEBUG3(logger, "7");
    BLOCXX_LOG(logger, "custom", "8");
    BLOCXX_SLOG_FATAL_ERROR(logger, 9 << '!');
    BLOCXX_SLOG_ERROR(logger, 10 << '!');
    BLOCXX_SLOG_WARNING(logger, 11 << '!');
    BLOCXX_SLOG_INFO(logger, 12 << '!');
    BLOCXX_SLOG_DEBUG(logger, 13 << '!');
    BLOCXX_SLOG_DEBUG2(logger, 14 << '!');
    BLOCXX_SLOG_DEBUG3(logger, 15 << '!');
    const std::vector<std::string> expected = {"1",  "2",   "3",   "4",   "5",   "6",   "7",  "8",
                                               "9!", "10!", "11!", "12!", "13!", "14!", "15!"};
    EXPECT_EQ(expected, capture.messages());
}

TEST(LoggingNames, AppendersAreLookedUp)
{
    EXPECT_TRUE(LogAppender::getDefaultLogAppender().cast_to<blocxx::NullAppender>());
    EXPECT_EQ(blocxx::E_NONE_LEVEL, LogAppender::getDefaultLogAppender()->getLogLevel());
    EXPECT_FALSE(LogAppender::setDefaultLogAppender(LogAppenderRef()));
    const LogAppenderRef former = LogAppender::getDefaultLogAppender();
    const LogAppenderRef own(new blocxx::NullAppender);
    EXPECT_TRUE(LogAppender::setDefaultLogAppender(own));
    EXPECT_EQ(own, LogAppender::getCurrentLogAppender());
    LogAppender::setDefaultLogAppender(former);
    EXPECT_FALSE(LogAppender::getThreadLogAppender());
    EXPECT_TRUE(LogAppender::setThreadLogAppender(own));
    EXPECT_EQ(own, LogAppender::getThreadLogAppender());
    EXPECT_EQ(own, LogAppender::getCurrentLogAppender());
    EXPECT_FALSE(LogAppender::setThreadLogAppender(LogAppenderRef()));
    EXPECT_FALSE(LogAppender::getThreadLogAppender());
}

struct Doubling
{
    static int* create(const int& number) { return new int(2 * number); }
};

blocxx::LazyGlobal<int, int, Doubling> number = BLOCXX_LAZY_GLOBAL_INIT(21);
blocxx::GlobalString text = BLOCXX_GLOBAL_STRING_INIT("text");
blocxx::GlobalStringArray words = BLOCXX_GLOBAL_STRING_ARRAY_INIT("two words");
blocxx::GlobalMutex mutex = BLOCXX_GLOBAL_MUTEX_INIT();
blocxx::DefaultConstructedLazyGlobal<std::string>::type empty = BLOCXX_LAZY_GLOBAL_INIT(0);

TEST(LoggingNames, LazyGlobalsOfAllKindsExist)
{
    const int& value = number;
    EXPECT_EQ(42, value);
    number = 7;
    EXPECT_EQ(7, number.get());
    EXPECT_EQ("text", text.get());
    ASSERT_EQ(2U, words.get().size());
    EXPECT_EQ("words", words.get()[1]);
    ASSERT_TRUE(mutex.get().try_lock());
    mutex.get().unlock();
    EXPECT_TRUE(empty.get().empty());
}

} // namespace
