#include "blocxx/LogAppender.hpp"

#include "support/CancelledThread.hpp"
#include "support/LogCapture.hpp"

#include "blocxx/LogMessage.hpp"
#include "blocxx/Logger.hpp"
#include "blocxx/NullAppender.hpp"

#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

namespace
{

using blocxx::ELogLevel;
using blocxx::LogAppender;
using blocxx::LogAppenderRef;
using blocxx::LogAppenderScope;
using blocxx::Logger;
using blocxx::LogMessage;
using blocxx::NullAppender;
using blocxx::String;
using blocxx::StringArray;
using zol_test::LogCapture;

/// Keeps the formatted texts. One thread at a time.
class KeepingAppender : public LogAppender
{
public:
    explicit KeepingAppender(const StringArray& components = ALL_COMPONENTS,
                             const StringArray& categories = ALL_CATEGORIES, const String& pattern = "%c %p %m")
        : LogAppender(components, categories, pattern)
    {
    }

    std::vector<std::string> texts() const { return m_texts; }

private:
    void doProcessLogMessage(const String& formattedMessage, const LogMessage&) const override
    {
        m_texts.emplace_back(formattedMessage.c_str());
    }

    mutable std::vector<std::string> m_texts;
};

using KeepingAppenderRef = blocxx::IntrusiveReference<KeepingAppender>;

StringArray words(const std::string& text)
{
    return String(text).tokenize();
}

LogMessage record(const char* component, const char* category)
{
    return {component, category, "message", nullptr, -1, nullptr};
}

struct LevelCase
{
    const char* name;
    const char* categories;
    ELogLevel level;
    bool takesError;
    bool takesDebug3;
};

class LogAppenderLevel : public testing::TestWithParam<LevelCase>
{
};

TEST_P(LogAppenderLevel, IsThatOfTheMostVerboseCategory)
{
    const KeepingAppenderRef appender(new KeepingAppender(words("*"), words(GetParam().categories)));
    EXPECT_EQ(appender->getLogLevel(), GetParam().level);
    EXPECT_EQ(appender->categoryIsEnabled("ERROR"), GetParam().takesError);
    EXPECT_EQ(appender->categoryIsEnabled("DEBUG3"), GetParam().takesDebug3);
    appender->logMessage(record("c", "ERROR"));
    EXPECT_EQ(appender->texts().size(), GetParam().takesError ? 1U : 0U);
}

const LevelCase LEVELS[] = {
    {"None", "", blocxx::E_NONE_LEVEL, false, false},
    {"Star", "*", blocxx::E_ALL_LEVEL, true, true},
    {"Fatal", "FATAL", blocxx::E_FATAL_ERROR_LEVEL, false, false},
    {"Error", "ERROR", blocxx::E_ERROR_LEVEL, true, false},
    {"DebugDoesNotTakeErrors", "DEBUG", blocxx::E_DEBUG_LEVEL, false, false},
    {"ErrorAndDebug2", "ERROR DEBUG2", blocxx::E_DEBUG2_LEVEL, true, false},
    {"TheOrderDoesNotMatter", "DEBUG2 ERROR", blocxx::E_DEBUG2_LEVEL, true, false},
    {"Debug3", "DEBUG3", blocxx::E_DEBUG3_LEVEL, false, true},
    {"AllIsNotACategory", "ALL", blocxx::E_ALL_LEVEL, false, false},
    {"NoneIsNoCategory", "NONE", blocxx::E_ALL_LEVEL, false, false},
    {"WrongCase", "error", blocxx::E_ALL_LEVEL, false, false},
    {"CustomBesideError", "ERROR custom", blocxx::E_ALL_LEVEL, true, false},
};
INSTANTIATE_TEST_SUITE_P(LogAppender, LogAppenderLevel, testing::ValuesIn(LEVELS),
                         [](const testing::TestParamInfo<LevelCase>& each) { return std::string(each.param.name); });

TEST(LogAppender, ComponentAndCategoryBothDecide)
{
    const KeepingAppenderRef appender(new KeepingAppender(words("a.b other"), words("ERROR custom")));
    EXPECT_TRUE(appender->componentAndCategoryAreEnabled("a.b", "ERROR"));
    EXPECT_FALSE(appender->componentAndCategoryAreEnabled("a", "ERROR"));
    EXPECT_FALSE(appender->componentAndCategoryAreEnabled("a.b", "INFO"));
    appender->logMessage(record("a.b", "ERROR"));
    appender->logMessage(record("other", "custom"));
    appender->logMessage(record("A.B", "ERROR"));
    appender->logMessage(record("a.b", "Custom"));
    EXPECT_EQ(appender->texts(), (std::vector<std::string>{"a.b ERROR message", "other custom message"}));
}

TEST(LogAppender, StarAmongOthersTakesAll)
{
    const KeepingAppenderRef appender(new KeepingAppender(words("a *"), words("ERROR *")));
    EXPECT_TRUE(appender->componentAndCategoryAreEnabled("b", "custom"));
}

TEST(LogAppender, CategoriesForALevel)
{
    const auto joined = [](ELogLevel level)
    {
        std::string all;
        for (const String& category : LogAppender::getCategoriesForLevel(level))
        {
            all += std::string(category.c_str()) + " ";
        }
        return all;
    };
    EXPECT_EQ(joined(blocxx::E_NONE_LEVEL), "");
    EXPECT_EQ(joined(blocxx::E_FATAL_ERROR_LEVEL), "FATAL ");
    EXPECT_EQ(joined(blocxx::E_INFO_LEVEL), "INFO WARNING ERROR FATAL ");
    EXPECT_EQ(joined(blocxx::E_DEBUG3_LEVEL), "DEBUG3 DEBUG2 DEBUG INFO WARNING ERROR FATAL ");
    EXPECT_EQ(joined(blocxx::E_ALL_LEVEL), "ALL DEBUG3 DEBUG2 DEBUG INFO WARNING ERROR FATAL ");
}

TEST(LogAppender, TheDefaultOneTakesNothingUntilOneIsSet)
{
    const LogAppenderRef silent = LogAppender::getDefaultLogAppender();
    ASSERT_TRUE(silent);
    EXPECT_EQ(silent->getLogLevel(), blocxx::E_NONE_LEVEL);
    EXPECT_FALSE(silent->componentAndCategoryAreEnabled("a", "FATAL"));
    EXPECT_EQ(LogAppender::getCurrentLogAppender(), silent);
    EXPECT_FALSE(LogAppender::getThreadLogAppender());
}

TEST(LogAppender, ANullDefaultChangesNothing)
{
    const LogCapture capture;
    const LogAppenderRef installed = LogAppender::getDefaultLogAppender();
    EXPECT_FALSE(LogAppender::setDefaultLogAppender(LogAppenderRef()));
    EXPECT_EQ(LogAppender::getDefaultLogAppender(), installed);
}

TEST(LogAppender, AnAppenderThatTakesNothingKeepsTheProcessSilent)
{
    const LogAppenderRef former = LogAppender::getDefaultLogAppender();
    const LogAppenderRef deaf(new NullAppender);
    EXPECT_TRUE(LogAppender::setDefaultLogAppender(deaf));
    EXPECT_TRUE(LogAppender::nothingIsLogged());
    EXPECT_EQ(LogAppender::getDefaultLogAppender(), deaf);
    EXPECT_TRUE(LogAppender::setDefaultLogAppender(former));
}

TEST(LogAppender, SettingTheSameOneTwiceIsUndoneOnce)
{
    const LogAppenderRef former = LogAppender::getDefaultLogAppender();
    const LogAppenderRef appender(new KeepingAppender);
    LogAppender::setDefaultLogAppender(appender);
    LogAppender::setDefaultLogAppender(appender);
    EXPECT_FALSE(LogAppender::nothingIsLogged());
    LogAppender::setDefaultLogAppender(former);
    EXPECT_TRUE(LogAppender::nothingIsLogged());
}

TEST(LogAppender, AThreadsOwnTakesTheDefaultsPlaceInThatThreadOnly)
{
    const LogCapture capture;
    const KeepingAppenderRef own(new KeepingAppender);
    EXPECT_TRUE(LogAppender::setThreadLogAppender(own));
    EXPECT_EQ(LogAppender::getCurrentLogAppender(), own);
    Logger(String("here")).logError("own");
    std::thread([] { Logger(String("there")).logError("default"); }).join();
    EXPECT_FALSE(LogAppender::setThreadLogAppender(LogAppenderRef()));
    Logger(String("here")).logError("default again");
    EXPECT_EQ(own->texts(), std::vector<std::string>{"here ERROR own"});
    EXPECT_EQ(capture.messages(), (std::vector<std::string>{"default", "default again"}));
}

TEST(LogAppender, AThreadsOwnIsHeardWithoutADefault)
{
    const KeepingAppenderRef own(new KeepingAppender);
    {
        const LogAppenderScope scope(own);
        EXPECT_FALSE(LogAppender::nothingIsLogged());
        Logger(String("c")).logError("heard");
    }
    EXPECT_TRUE(LogAppender::nothingIsLogged());
    EXPECT_EQ(own->texts(), std::vector<std::string>{"c ERROR heard"});
}

/// Reports its destruction.
class CountedAppender : public KeepingAppender
{
public:
    explicit CountedAppender(int& destroyed) : m_destroyed(destroyed) {}
    ~CountedAppender() override { ++m_destroyed; }

private:
    int& m_destroyed;
};

TEST(LogAppender, AThreadsOwnIsReleasedWithTheThread)
{
    int destroyed = 0;
    std::thread([&destroyed] { LogAppender::setThreadLogAppender(new CountedAppender(destroyed)); }).join();
    EXPECT_EQ(destroyed, 1);
    EXPECT_TRUE(LogAppender::nothingIsLogged());
}

TEST(LogAppender, AScopePutsTheFormerOneBack)
{
    const KeepingAppenderRef outer(new KeepingAppender);
    const KeepingAppenderRef inner(new KeepingAppender);
    const LogAppenderScope outerScope(outer);
    {
        const LogAppenderScope innerScope(inner);
        EXPECT_EQ(LogAppender::getThreadLogAppender(), inner);
    }
    EXPECT_EQ(LogAppender::getThreadLogAppender(), outer);
}

/// Is a cancellation point, like an appender that writes to a file.
class CancellableAppender : public LogAppender
{
public:
    CancellableAppender() : LogAppender(ALL_COMPONENTS, ALL_CATEGORIES, "") {}

private:
    void doProcessLogMessage(const String&, const LogMessage&) const override { ::pthread_testcancel(); }
};

TEST(LogAppender, WritingARecordIsNotACancellationPoint)
{
    const LogAppenderRef appender(new CancellableAppender);
    EXPECT_TRUE(zol_test::runsToItsEndThoughCancelled([&appender] { Logger(String("x"), appender).logError("m"); }));
}

TEST(LogAppender, ABadPatternIsRefused)
{
    EXPECT_THROW(KeepingAppender(words("*"), words("*"), "%q"), blocxx::LogMessagePatternFormatterException);
}

TEST(LogAppender, ANullAppenderWithFiltersHasTheirLevel)
{
    const LogAppenderRef appender(new NullAppender(words("*"), words("ERROR"), "%m"));
    EXPECT_EQ(appender->getLogLevel(), blocxx::E_ERROR_LEVEL);
    appender->logMessage(record("c", "ERROR"));
}

} // namespace
