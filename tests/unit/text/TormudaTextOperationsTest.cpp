#include "zol/text/TormudaTextOperations.hpp"

#include "support/LogCapture.hpp"

#include "blocxx/Map.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>

using blocxx::Array;
using blocxx::Logger;
using blocxx::String;
using testing::ElementsAre;
using zol_test::LogCapture;
using ZOLNS2::dump_to_log;

namespace
{

using StringMap = blocxx::Map<String, String>;

Array<String> twoWords()
{
    Array<String> words;
    words.push_back("one");
    words.push_back("");
    return words;
}

StringMap twoEntries()
{
    StringMap map;
    map["b"] = "2";
    map["a"] = "1";
    return map;
}

/// Counts how often it is formatted, and spoils errno each time.
struct Counting
{
    int* formatted;
};

std::ostream& operator<<(std::ostream& out, const Counting& value)
{
    ++*value.formatted;
    errno = EDOM;
    return out << "counted";
}

void expectSource(const LogCapture& log, const std::string& category)
{
    for (const zol_test::LogRecord& record : log.records())
    {
        EXPECT_EQ(record.component, "test.component");
        EXPECT_EQ(record.category, category);
        EXPECT_EQ(record.file, "TormudaTextOperations");
        EXPECT_GT(record.line, 0);
        EXPECT_THAT(record.method, testing::HasSubstr("dump_to_log("));
    }
}

} // namespace

TEST(ToString, IsWhatTheOutputOperatorWrites)
{
    EXPECT_EQ(ZOLNS2::toString(String("text")), "text");
    EXPECT_EQ(ZOLNS2::toString(String()), "");
    EXPECT_EQ(ZOLNS2::toString(42), "42");
}

TEST(ToString, PairStandsInBracketsWithoutABlank)
{
    EXPECT_EQ(ZOLNS2::toString(std::pair<const String, String>("key", "value")), "[key,value]");
    EXPECT_EQ(ZOLNS2::toString(std::pair<const String, String>()), "[,]");
    EXPECT_EQ(ZOLNS2::toString(std::make_pair(1, std::make_pair(String("a"), 'b'))), "[1,[a,b]]");
}

TEST(DumpToLog, ArrayIsLoggedWithItsSizeAndElementByElement)
{
    const LogCapture log;
    Logger logger("test.component");
    dump_to_log(twoWords(), logger, "h: ", true);
    EXPECT_THAT(log.messages(), ElementsAre("h:  [2 elements]:", "h: one", "h: "));
    expectSource(log, "DEBUG3");
}

TEST(DumpToLog, EmptyArrayIsOneLine)
{
    const LogCapture log;
    Logger logger("test.component");
    dump_to_log(Array<String>(), logger, "h: ", true);
    EXPECT_THAT(log.messages(), ElementsAre("h:  [0 elements]:"));
}

TEST(DumpToLog, MapIsLoggedInItsOrderWithoutAHeaderLine)
{
    const LogCapture log;
    Logger logger("test.component");
    const StringMap map = twoEntries();
    dump_to_log(map.begin(), map.end(), logger, "header: ", true);
    EXPECT_THAT(log.messages(), ElementsAre("header: [a,1]", "header: [b,2]"));
    expectSource(log, "DEBUG3");
}

TEST(DumpToLog, MutableIteratorsBehaveAlike)
{
    const LogCapture log;
    Logger logger("test.component");
    StringMap map = twoEntries();
    dump_to_log(map.begin(), map.end(), logger, "header: ", false);
    EXPECT_THAT(log.messages(), ElementsAre("header: [a,1]", "header: [b,2]"));
    expectSource(log, "ERROR");
}

TEST(DumpToLog, EmptyRangeLogsNothing)
{
    const LogCapture log;
    Logger logger("test.component");
    const StringMap map;
    dump_to_log(map.begin(), map.end(), logger, "header: ", false);
    dump_to_log(map.begin(), map.end(), logger, "header: ", true);
    EXPECT_TRUE(log.records().empty());
}

TEST(DumpToLog, WithoutTheFlagItIsLoggedAsAnError)
{
    const LogCapture log(blocxx::E_ERROR_LEVEL);
    Logger logger("test.component");
    dump_to_log(twoWords(), logger, "h: ", false);
    EXPECT_EQ(log.messages().size(), 3U);
    expectSource(log, "ERROR");
}

TEST(DumpToLog, WithTheFlagNothingIsFormattedBelowDebug3)
{
    const LogCapture log(blocxx::E_DEBUG2_LEVEL);
    Logger logger("test.component");
    int formatted = 0;
    const Array<Counting> items(2, Counting{&formatted});
    dump_to_log(items, logger, "h: ", true);
    dump_to_log(items.begin(), items.end(), logger, "h: ", true);
    EXPECT_EQ(formatted, 0);
    EXPECT_TRUE(log.records().empty());
}

TEST(DumpToLog, WithoutTheFlagNothingIsFormattedBelowError)
{
    const LogCapture log(blocxx::E_FATAL_ERROR_LEVEL);
    Logger logger("test.component");
    int formatted = 0;
    dump_to_log(Array<Counting>(2, Counting{&formatted}), logger, "h: ", false);
    EXPECT_EQ(formatted, 0);
    EXPECT_TRUE(log.records().empty());
}

TEST(DumpToLog, ErrnoIsLeftAlone)
{
    const LogCapture log;
    Logger logger("test.component");
    int formatted = 0;
    const Array<Counting> items(2, Counting{&formatted});
    errno = ENOTTY;
    dump_to_log(items, logger, "h: ", true);
    EXPECT_EQ(errno, ENOTTY);
    dump_to_log(items.begin(), items.end(), logger, "h: ", false);
    EXPECT_EQ(errno, ENOTTY);
    EXPECT_EQ(formatted, 4);
}
