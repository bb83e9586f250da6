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

} // namespace
