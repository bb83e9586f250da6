#include "support/GroupingLocale.hpp"
#include "support/LogCapture.hpp"

#include "blocxx/Format.hpp"
#include "blocxx/Logger.hpp"

#include <gtest/gtest.h>

#include <cerrno>
#include <stdexcept>
#include <string>
#include <vector>

namespace
{

using blocxx::Format;
using blocxx::Logger;
using blocxx::LoggerRef;
using blocxx::String;
using zol_test::LogCapture;
using zol_test::LogRecord;

const blocxx::GlobalString COMPONENT = BLOCXX_GLOBAL_STRING_INIT("macros");

void logInAllCategories(const Logger& logger)
{
    BLOCXX_LOG_FATAL_ERROR(logger, "m");
    BLOCXX_LOG_ERROR(logger, "m");
    BLOCXX_LOG_WARNING(logger, "m");
    BLOCXX_LOG_INFO(logger, "m");
    BLOCXX_LOG_DEBUG(logger, "m");
    BLOCXX_LOG_DEBUG2(logger, "m");
    BLOCXX_LOG_DEBUG3(logger, "m");
}

TEST(LoggerMacros, LogWhatTheLevelAdmits)
{
    const std::vector<std::string> all = {"FATAL", "ERROR", "WARNING", "INFO", "DEBUG", "DEBUG2", "DEBUG3"};
    for (std::size_t level = 0; level <= all.size(); ++level)
    {
        const LogCapture capture;
        logInAllCategories(Logger(String("x"), static_cast<blocxx::ELogLevel>(level)));
        std::vector<std::string> categories;
        for (const LogRecord& record : capture.records())
        {
            categories.push_back(record.category);
        }
        EXPECT_EQ(categories, std::vector<std::string>(all.begin(), all.begin() + static_cast<std::ptrdiff_t>(level)));
    }
}

TEST(LoggerMacros, RecordTheirPlace)
{
    const LogCapture capture;
    const Logger logger(COMPONENT);
    BLOCXX_LOG_INFO(logger, Format("%1 and %2", 1, "two"));
    const int line = __LINE__ - 1;
    const LogRecord record = capture.records().at(0);
    EXPECT_EQ(record.message, "1 and two");
    EXPECT_EQ(record.component, "macros");
    EXPECT_EQ(record.file, __FILE__);
    EXPECT_EQ(record.line, line);
    EXPECT_EQ(record.method, __PRETTY_FUNCTION__);
}

String counted(int& evaluations)
{
    ++evaluations;
    return "counted";
}

TEST(LoggerMacros, AMessageThatIsNotAdmittedIsNotEvaluated)
{
    int evaluations = 0;
    BLOCXX_LOG_FATAL_ERROR(Logger(COMPONENT), counted(evaluations));
    const LogCapture capture("ERROR");
    const Logger logger(COMPONENT);
    BLOCXX_LOG_WARNING(logger, counted(evaluations));
    BLOCXX_LOG(logger, "FATAL", counted(evaluations));
    EXPECT_EQ(evaluations, 0);
    BLOCXX_LOG_ERROR(logger, counted(evaluations));
    BLOCXX_LOG(logger, "ERROR", counted(evaluations));
    EXPECT_EQ(evaluations, 2);
    EXPECT_EQ(capture.records().size(), 2U);
}

TEST(LoggerMacros, TakeALoggerReference)
{
    const LogCapture capture;
    const LoggerRef logger(new Logger(COMPONENT));
    BLOCXX_LOG_ERROR(logger, "through a reference");
    EXPECT_TRUE(capture.contains("ERROR", "through a reference"));
}

TEST(LoggerMacros, AreOneStatement)
{
    const LogCapture capture;
    const Logger logger(COMPONENT);
    // Without braces: that is what is tested. NOLINTBEGIN(readability-braces-around-statements)
    if (capture.records().empty())
        BLOCXX_LOG_ERROR(logger, "yes");
    else
        BLOCXX_LOG_ERROR(logger, "no");
    // NOLINTEND(readability-braces-around-statements)
    EXPECT_EQ(capture.messages(), std::vector<std::string>{"yes"});
}

String changingErrno()
{
    errno = EDOM;
    return "changed";
}

String throwing()
{
    errno = EDOM;
    throw std::runtime_error("no message");
}

TEST(LoggerMacros, PreserveErrno)
{
    const LogCapture capture;
    const Logger logger(COMPONENT);
    errno = ENOENT;
    BLOCXX_LOG_ERROR(logger, changingErrno());
    EXPECT_EQ(errno, ENOENT);
    BLOCXX_LOG(logger, "custom", changingErrno());
    EXPECT_EQ(errno, ENOENT);
    EXPECT_EQ(capture.records().size(), 2U);
}

TEST(LoggerMacros, PreserveErrnoWhenTheMessageThrows)
{
    const LogCapture capture;
    const Logger logger(COMPONENT);
    errno = ENOENT;
    EXPECT_THROW(BLOCXX_LOG_ERROR(logger, throwing()), std::runtime_error);
    EXPECT_EQ(errno, ENOENT);
    EXPECT_THROW(BLOCXX_LOG(logger, "custom", throwing()), std::runtime_error);
    EXPECT_EQ(errno, ENOENT);
}

TEST(LoggerMacros, RestoreErrnoThatTheAppenderChanges)
{
    const LogCapture capture;
    const Logger logger(COMPONENT);
    errno = ENOENT;
    BLOCXX_LOG_ERROR(logger, "one");
    EXPECT_EQ(errno, ENOENT);
    BLOCXX_LOG_DEBUG3(logger, "two");
    EXPECT_EQ(errno, ENOENT);
    BLOCXX_LOG(logger, "custom", "three");
    EXPECT_EQ(errno, ENOENT);
    BLOCXX_SLOG_ERROR(logger, "four");
    EXPECT_EQ(errno, ENOENT);
    EXPECT_EQ(capture.records().size(), 4U);
}

TEST(LoggerMacros, RestoreErrnoWhenNothingIsLogged)
{
    const LogCapture capture("ERROR");
    const Logger logger(COMPONENT);
    const auto loggerThatChangesErrno = [&logger]() -> const Logger&
    {
        errno = EDOM;
        return logger;
    };
    errno = ENOENT;
    BLOCXX_LOG_DEBUG(loggerThatChangesErrno(), "not admitted");
    EXPECT_EQ(errno, ENOENT);
    BLOCXX_LOG(loggerThatChangesErrno(), "custom", "not taken");
    EXPECT_EQ(errno, ENOENT);
    BLOCXX_SLOG_DEBUG(loggerThatChangesErrno(), "not admitted");
    EXPECT_EQ(errno, ENOENT);
    EXPECT_TRUE(capture.records().empty());
}

void streamInAllCategories(const Logger& logger)
{
    BLOCXX_SLOG_FATAL_ERROR(logger, "m" << 1);
    BLOCXX_SLOG_ERROR(logger, "m" << 2);
    BLOCXX_SLOG_WARNING(logger, "m" << 3);
    BLOCXX_SLOG_INFO(logger, "m" << 4);
    BLOCXX_SLOG_DEBUG(logger, "m" << 5);
    BLOCXX_SLOG_DEBUG2(logger, "m" << 6);
    BLOCXX_SLOG_DEBUG3(logger, "m" << 7);
}

TEST(LoggerMacros, TakeAStreamExpressionInEveryCategory)
{
    const std::vector<std::string> all = {"FATAL", "ERROR", "WARNING", "INFO", "DEBUG", "DEBUG2", "DEBUG3"};
    for (std::size_t level = 0; level <= all.size(); ++level)
    {
        const LogCapture capture;
        streamInAllCategories(Logger(String("x"), static_cast<blocxx::ELogLevel>(level)));
        const std::vector<LogRecord> records = capture.records();
        ASSERT_EQ(records.size(), level);
        for (std::size_t i = 0; i < level; ++i)
        {
            EXPECT_EQ(records[i].category, all[i]);
            EXPECT_EQ(records[i].message, "m" + std::to_string(i + 1));
        }
    }
}

TEST(LoggerMacros, AStreamedMessageRecordsItsPlaceAndKeepsItsBytes)
{
    const LogCapture capture;
    const zol_test::GroupingLocale grouping;
    const LoggerRef logger(new Logger(COMPONENT));
    BLOCXX_SLOG_INFO(logger, "a" << '\0' << String("b") << ' ' << 1234567);
    const int line = __LINE__ - 1;
    const LogRecord record = capture.records().at(0);
    EXPECT_EQ(record.message, std::string("a\0b 1234567", 11));
    EXPECT_EQ(record.file, __FILE__);
    EXPECT_EQ(record.line, line);
    EXPECT_EQ(record.method, __PRETTY_FUNCTION__);
}

TEST(LoggerMacros, AStreamExpressionThatIsNotAdmittedIsNotEvaluated)
{
    int evaluations = 0;
    const LogCapture capture("ERROR");
    const Logger logger(COMPONENT);
    BLOCXX_SLOG_WARNING(logger, counted(evaluations));
    EXPECT_EQ(evaluations, 0);
    BLOCXX_SLOG_ERROR(logger, counted(evaluations) << '!');
    EXPECT_EQ(evaluations, 1);
    EXPECT_EQ(capture.messages(), std::vector<std::string>{"counted!"});
}

} // namespace
