#include "zol/text/TormudaTextOperations.hpp"

#include "support/LogCapture.hpp"

#include "blocxx/LogAppender.hpp"
#include "blocxx/LogMessage.hpp"
#include "blocxx/Map.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <ostream>
#include <vector>

using blocxx::Array;
using blocxx::Logger;
using blocxx::String;
using testing::ElementsAre;
using zol_test::LogCapture;
using ZOLNS2::dump_to_log;

namespace client
{

struct Base
{
};

struct Derived : Base
{
};

std::ostream& operator<<(std::ostream& out, const Derived&)
{
    return out << "printed";
}

} // namespace client

// In no namespace, so that a using directive alone decides what competes with it.
static std::string toString(const client::Base&)
{
    return "the program's own";
}

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

/// Counts how often it is formatted, and changes errno each time.
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

/// Records the errno that it is formatted with, and changes it.
struct NotingErrno
{
    std::vector<int>* seen;
};

std::ostream& operator<<(std::ostream& out, const NotingErrno& value)
{
    value.seen->push_back(errno);
    errno = EDOM;
    return out << "noted";
}

/// An appender that changes errno with every record.
class ErrnoChangingAppender : public blocxx::LogAppender
{
protected:
    void doProcessLogMessage(const String&, const blocxx::LogMessage&) const override { errno = EDOM; }
};

/// An iterator that changes errno as it moves on.
struct ErrnoChangingIterator
{
    const int* at;

    int operator*() const { return *at; }
    ErrnoChangingIterator& operator++()
    {
        ++at;
        errno = EDOM;
        return *this;
    }
    bool operator!=(const ErrnoChangingIterator& other) const
    {
        errno = EDOM;
        return at != other.at;
    }
};

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

TEST(ToString, PairIsWrittenInBracketsWithoutABlank)
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

TEST(DumpToLog, MutableIteratorsBehaveTheSame)
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

TEST(DumpToLog, ErrnoIsRestoredAfterEachRecord)
{
    const LogCapture log;
    Logger logger("test.component");
    std::vector<int> seen;
    const Array<NotingErrno> items(3, NotingErrno{&seen});
    errno = ENOTTY;
    dump_to_log(items, logger, "h: ", true);
    EXPECT_EQ(errno, ENOTTY);
    dump_to_log(items.begin(), items.end(), logger, "h: ", false);
    EXPECT_EQ(errno, ENOTTY);
    EXPECT_THAT(seen, ElementsAre(ENOTTY, ENOTTY, ENOTTY, ENOTTY, ENOTTY, ENOTTY));
}

TEST(DumpToLog, ErrnoThatTheAppenderChangesIsRestoredAfterTheHeaderLineToo)
{
    const blocxx::LogAppenderRef appender(new ErrnoChangingAppender);
    Logger logger("test.component", appender);
    std::vector<int> seen;
    errno = ENOTTY;
    dump_to_log(Array<NotingErrno>(1, NotingErrno{&seen}), logger, "h: ", true);
    EXPECT_EQ(errno, ENOTTY);
    EXPECT_THAT(seen, ElementsAre(ENOTTY));
    dump_to_log(Array<String>(), logger, "h: ", false);
    EXPECT_EQ(errno, ENOTTY);
}

TEST(DumpToLog, ErrnoIsRestoredWhenNothingIsLogged)
{
    const LogCapture log;
    Logger logger("test.component");
    const int numbers[] = {1, 2};
    errno = ENOTTY;
    dump_to_log(ErrnoChangingIterator{numbers}, ErrnoChangingIterator{numbers}, logger, "n: ", true);
    EXPECT_EQ(errno, ENOTTY);
    EXPECT_TRUE(log.records().empty());
    dump_to_log(ErrnoChangingIterator{numbers}, ErrnoChangingIterator{numbers + 2}, logger, "n: ", true);
    EXPECT_EQ(errno, ENOTTY);
    EXPECT_THAT(log.messages(), ElementsAre("n: 1", "n: 2"));
}

TEST(DumpToLog, RecordsCarryTheSignatureOfTheOperationThatDumps)
{
    const LogCapture log;
    Logger logger("test.component");
    const StringMap map = twoEntries();
    dump_to_log(twoWords(), logger, "h: ", true, "void operation(int)");
    dump_to_log(map.begin(), map.end(), logger, "header: ", false, "void operation(int)");
    ASSERT_EQ(log.records().size(), 5U);
    for (const zol_test::LogRecord& record : log.records())
    {
        EXPECT_EQ(record.method, "void operation(int)");
        EXPECT_EQ(record.file, "TormudaTextOperations");
    }
}

TEST(ToString, LeavesAProgramsOwnFunctionItsCallsUnderAUsingDirective)
{
    using namespace ZOLNS2;
    EXPECT_EQ(toString(client::Derived()), "the program's own");
    EXPECT_EQ(toString(5), "5");
    EXPECT_EQ(ZOLNS2::toString(client::Derived()), "printed");
}
