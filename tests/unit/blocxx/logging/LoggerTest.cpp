#include "blocxx/Logger.hpp"

#include "support/Allocations.hpp"
#include "support/LogCapture.hpp"

#include "blocxx/Array.hpp"
#include "blocxx/LogMessage.hpp"
#include "blocxx/NullAppender.hpp"

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace
{

using blocxx::ELogLevel;
using blocxx::LogAppender;
using blocxx::LogAppenderRef;
using blocxx::Logger;
using blocxx::LoggerRef;
using blocxx::String;
using zol_test::LogCapture;
using zol_test::LogRecord;

const blocxx::GlobalString COMPONENT = BLOCXX_GLOBAL_STRING_INIT("a.component.with.a.long.name");

TEST(Logger, NothingIsLoggedUntilAnAppenderIsSet)
{
    EXPECT_TRUE(LogAppender::nothingIsLogged());
    const Logger logger(COMPONENT);
    EXPECT_EQ(logger.getLogLevel(), blocxx::E_NONE_LEVEL);
    EXPECT_FALSE(logger.categoryIsEnabled("ERROR"));
    EXPECT_FALSE(logger.componentAndCategoryAreEnabled("a", "ERROR"));
    logger.logMessage("FATAL", "unheard");
    logger.logMessage(blocxx::LogMessage("a", "FATAL", "unheard", nullptr, -1, nullptr));
}

TEST(Logger, ASilentLoggerAllocatesNothing)
{
    EXPECT_EQ(zol_test::allocationsOf(
                  []
                  {
                      for (int i = 0; i < 100; ++i)
                      {
                          const Logger logger(COMPONENT);
                          BLOCXX_LOG_FATAL_ERROR(logger, "a message that does not fit into a small string");
                      }
                  })
                  .count,
              0U);
}

TEST(Logger, ARecordHoldsWhatItWasGiven)
{
    const LogCapture capture;
    Logger(COMPONENT).logMessage("WARNING", "text", "file.cpp", 12, "void f()");
    Logger(String("other")).logMessage("INFO", "bare");
    Logger(COMPONENT).logMessage("third", "DEBUG", "elsewhere");
    Logger(COMPONENT).logMessage("fourth", "odd", "full", "f", 1, "m");
    Logger().logMessage("ERROR", "default component");
    const std::vector<LogRecord> records = capture.records();
    ASSERT_EQ(records.size(), 5U);
    EXPECT_EQ(records[0].component, "a.component.with.a.long.name");
    EXPECT_EQ(records[0].category, "WARNING");
    EXPECT_EQ(records[0].message, "text");
    EXPECT_EQ(records[0].file, "file.cpp");
    EXPECT_EQ(records[0].line, 12);
    EXPECT_EQ(records[0].method, "void f()");
    EXPECT_EQ(records[1].component, "other");
    EXPECT_EQ(records[1].file, "");
    EXPECT_EQ(records[1].line, -1);
    EXPECT_EQ(records[1].method, "");
    EXPECT_EQ(records[2].component, "third");
    EXPECT_EQ(records[2].category, "DEBUG");
    EXPECT_EQ(records[3].component, "fourth");
    EXPECT_EQ(records[3].category, "odd");
    EXPECT_EQ(records[4].component, "none");
}

TEST(Logger, TheAppenderIsThatOfTheMomentOfConstruction)
{
    const Logger before(COMPONENT);
    const LogCapture outer;
    const Logger during(COMPONENT);
    {
        const LogCapture inner("ERROR");
        before.logMessage("ERROR", "before");
        during.logMessage("ERROR", "during");
        Logger(COMPONENT).logMessage("ERROR", "now");
        EXPECT_EQ(inner.messages(), std::vector<std::string>{"now"});
        EXPECT_EQ(Logger(COMPONENT).getLogLevel(), blocxx::E_ERROR_LEVEL);
    }
    EXPECT_EQ(before.getLogLevel(), blocxx::E_NONE_LEVEL);
    EXPECT_EQ(during.getLogLevel(), blocxx::E_ALL_LEVEL);
    EXPECT_EQ(outer.messages(), std::vector<std::string>{"during"});
}

TEST(Logger, AGivenAppenderIsUsed)
{
    LogAppenderRef appender;
    {
        const LogCapture capture("DEBUG");
        appender = LogAppender::getDefaultLogAppender();
    }
    EXPECT_EQ(Logger(COMPONENT, appender).getLogLevel(), blocxx::E_DEBUG_LEVEL);
    EXPECT_EQ(Logger(String("x"), appender).getLogLevel(), blocxx::E_DEBUG_LEVEL);
}

TEST(Logger, LogMessageLeavesTheDecisionToTheAppender)
{
    const LogCapture capture("ERROR");
    const Logger logger(String("x"), blocxx::E_NONE_LEVEL);
    logger.logMessage("ERROR", "passed on");
    logger.logError("not admitted");
    Logger(String("x")).logMessage("DEBUG3", "not taken");
    EXPECT_EQ(capture.messages(), std::vector<std::string>{"passed on"});
}

TEST(Logger, ConvenienceCallsTestTheLevel)
{
    const LogCapture capture;
    const int levels = blocxx::E_ALL_LEVEL;
    for (int level = blocxx::E_NONE_LEVEL; level <= levels; ++level)
    {
        const Logger logger(String("x"), static_cast<ELogLevel>(level));
        logger.logFatalError("m");
        logger.logError("m");
        logger.logWarning("m");
        logger.logInfo("m");
        logger.logDebug("m");
        logger.logDebug2("m");
        logger.logDebug3("m");
        EXPECT_EQ(capture.records().size(), static_cast<std::size_t>(std::min(level, 7)));
        EXPECT_TRUE(logger.levelIsEnabled(static_cast<ELogLevel>(level)));
        EXPECT_FALSE(logger.levelIsEnabled(static_cast<ELogLevel>(level + 1)));
        const_cast<LogCapture&>(capture).clear();
    }
}

TEST(Logger, ConvenienceCallsHaveTheirCategories)
{
    const LogCapture capture;
    const Logger logger(COMPONENT);
    logger.logFatalError("m", "f", 3, "g");
    logger.logError("m");
    logger.logWarning("m");
    logger.logInfo("m");
    logger.logDebug("m");
    logger.logDebug2("m");
    logger.logDebug3("m");
    std::vector<std::string> categories;
    for (const LogRecord& record : capture.records())
    {
        categories.push_back(record.category);
    }
    EXPECT_EQ(categories, (std::vector<std::string>{"FATAL", "ERROR", "WARNING", "INFO", "DEBUG", "DEBUG2", "DEBUG3"}));
    EXPECT_EQ(capture.records()[0].file, "f");
    EXPECT_EQ(capture.records()[0].line, 3);
    for (std::size_t i = 1; i < capture.records().size(); ++i)
    {
        EXPECT_EQ(capture.records()[i].line, -1);
        EXPECT_EQ(capture.records()[i].file, "");
    }
}

TEST(Logger, LevelsAndTheirNames)
{
    const std::vector<std::string> names = {"NONE",  "FATAL",  "ERROR",  "WARNING", "INFO",
                                            "DEBUG", "DEBUG2", "DEBUG3", "ALL"};
    for (std::size_t level = 0; level < names.size(); ++level)
    {
        EXPECT_EQ(Logger::stringToLogLevel(names[level]), static_cast<ELogLevel>(level));
        EXPECT_EQ(Logger::logLevelToString(static_cast<ELogLevel>(level)), String(names[level]));
    }
    EXPECT_EQ(Logger::stringToLogLevel("dEbUg2"), blocxx::E_DEBUG2_LEVEL);
    EXPECT_EQ(Logger::stringToLogLevel("unheard of"), blocxx::E_FATAL_ERROR_LEVEL);
    EXPECT_EQ(Logger::stringToLogLevel(""), blocxx::E_FATAL_ERROR_LEVEL);
    EXPECT_EQ(Logger::logLevelToString(static_cast<ELogLevel>(9)), "NONE");
}

TEST(Logger, SettersChangeLevelAndComponent)
{
    const LogCapture capture;
    Logger logger(COMPONENT);
    EXPECT_EQ(logger.getDefaultComponent(), "a.component.with.a.long.name");
    logger.setDefaultComponent("other");
    EXPECT_EQ(logger.getDefaultComponent(), "other");
    logger.setLogLevel("error");
    EXPECT_EQ(logger.getLogLevel(), blocxx::E_ERROR_LEVEL);
    logger.setLogLevel(blocxx::E_INFO_LEVEL);
    EXPECT_EQ(logger.getLogLevel(), blocxx::E_INFO_LEVEL);
    logger.logInfo("m");
    EXPECT_EQ(capture.records().at(0).component, "other");
}

TEST(Logger, CopiesShareTheAppender)
{
    const LogCapture capture("INFO");
    const Logger original(COMPONENT);
    Logger copy(original);
    Logger assigned(String("x"), blocxx::E_NONE_LEVEL);
    assigned = original;
    copy.logInfo("copy");
    assigned.logInfo("assigned");
    EXPECT_EQ(capture.messages("a.component.with.a.long.name"), (std::vector<std::string>{"copy", "assigned"}));
}

TEST(Logger, SwapExchangesEverything)
{
    const LogCapture capture;
    Logger left(COMPONENT);
    Logger right(String("right"), blocxx::E_ERROR_LEVEL);
    left.swap(right);
    EXPECT_EQ(left.getDefaultComponent(), "right");
    EXPECT_EQ(left.getLogLevel(), blocxx::E_ERROR_LEVEL);
    EXPECT_EQ(right.getDefaultComponent(), "a.component.with.a.long.name");
    EXPECT_EQ(right.getLogLevel(), blocxx::E_ALL_LEVEL);
}

TEST(Logger, EnabledCategoriesAreThoseOfTheAppender)
{
    const LogCapture capture("ERROR");
    const Logger logger(COMPONENT);
    EXPECT_TRUE(logger.categoryIsEnabled("ERROR"));
    EXPECT_FALSE(logger.categoryIsEnabled("FATAL"));
    EXPECT_TRUE(logger.componentAndCategoryAreEnabled("any", "ERROR"));
    EXPECT_FALSE(logger.componentAndCategoryAreEnabled("any", "INFO"));
}

TEST(Logger, AsLoggerTakesReferencesToo)
{
    const Logger logger(COMPONENT);
    const LoggerRef reference(new Logger(logger));
    EXPECT_EQ(&Logger::asLogger(logger), &logger);
    EXPECT_EQ(&Logger::asLogger(reference), reference.getPtr());
}

TEST(Logger, ManyThreadsMayLogWhileAppendersChange)
{
    constexpr int THREADS = 64;
    constexpr int CHANGES = 200;
    std::atomic<bool> done{false};
    std::atomic<int> logged{0};
    std::vector<std::thread> threads;
    for (int i = 0; i < THREADS; ++i)
    {
        threads.emplace_back(
            [&]
            {
                while (!done)
                {
                    const Logger logger(COMPONENT);
                    BLOCXX_LOG_ERROR(logger, "from a thread");
                    ++logged;
                }
            });
    }
    for (int i = 0; i < CHANGES; ++i)
    {
        const LogCapture capture(i % 2 == 0 ? "ERROR" : "INFO");
        const int before = logged;
        while (logged < before + 10)
        {
            std::this_thread::yield();
        }
        EXPECT_TRUE(i % 2 == 0 || capture.records().empty());
    }
    done = true;
    for (std::thread& thread : threads)
    {
        thread.join();
    }
    EXPECT_TRUE(LogAppender::nothingIsLogged());
}

} // namespace
