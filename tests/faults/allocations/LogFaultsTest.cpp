#include "allocations/FailingAllocations.hpp"
#include "common/Operations.hpp"
#include "common/Watchdog.hpp"
#include "support/LogCapture.hpp"
#include "support/TemporaryDirectory.hpp"

#include "blocxx/FileAppender.hpp"
#include "blocxx/Format.hpp"
#include "blocxx/Logger.hpp"

#include <gtest/gtest.h>

#include <iostream>
#include <numeric>

namespace
{

using namespace zol_faults;
using blocxx::Format;
using blocxx::LogAppender;

/// While it lives, everything is logged to a file.
class FileLog
{
public:
    FileLog() : m_former(LogAppender::getDefaultLogAppender())
    {
        LogAppender::setDefaultLogAppender(blocxx::LogAppenderRef(
            new blocxx::FileAppender(LogAppender::ALL_COMPONENTS, LogAppender::ALL_CATEGORIES, file().c_str(),
                                     "%d{%H:%M:%S} [%t] %-5p %c %F:%L %M - %m", true)));
    }
    ~FileLog() { LogAppender::setDefaultLogAppender(m_former); }
    FileLog(const FileLog&) = delete;
    FileLog& operator=(const FileLog&) = delete;

    std::string text() const { return zol_test::readFile(file()); }

private:
    std::string file() const { return m_folder.file("log"); }

    const zol_test::TemporaryDirectory m_folder;
    const blocxx::LogAppenderRef m_former;
};

std::optional<std::string> logAll()
{
    const blocxx::Logger logger("component");
    BLOCXX_LOG_ERROR(logger, Format("%1 is not %2, which is too long to be held in place", "one", 2));
    BLOCXX_LOG(logger, blocxx::Logger::STR_ALL_CATEGORY, Format("%1 is a text that has to be allocated", "this"));
    BLOCXX_SLOG_DEBUG3(logger, "a chain of insertions, which is also too long to be held in place: " << 1 << '\n');
    return "returned";
}

std::size_t pointsOf(const Operation& operation)
{
    attempt(operation, [] {});
    failAllocations(0, E_ONE);
    attempt(operation, stopFailing);
    const AllocationCounts counts = allocationCounts();
    return std::accumulate(counts.begin(), counts.end(), std::size_t{0});
}

TEST(LogFaults, ARecordThatCannotBeMadeIsDroppedAndItsStatementReturns)
{
    const FileLog log;
    Watchdog watchdog("log statements");
    const Operation operation{logAll, "returned"};
    const std::size_t points = pointsOf(operation);
    for (const EFailing failing : {E_ONE, E_ALL_THAT_FOLLOW})
    {
        for (std::size_t point = 2; point <= points; ++point) // the first one is the name of the logger's component
        {
            watchdog.watch(point, "log statements");
            failAllocations(point, failing);
            const Ending ending = attempt(operation, stopFailing);
            EXPECT_EQ(ending.kind, Ending::E_WHOLE) << "point " << point << ": " << ending.text;
        }
    }
    RecordProperty("points", static_cast<int>(points));
    std::cout << "points: " << points << '\n';
    EXPECT_NE(log.text().find("component"), std::string::npos) << log.text();
}

/// How many of the points end the operation without its result.
std::size_t failuresOf(const Operation& operation, std::size_t points, Watchdog& watchdog)
{
    std::size_t failures = 0;
    for (std::size_t point = 1; point <= points; ++point)
    {
        watchdog.watch(point, "with and without a log");
        failAllocations(point, E_ONE);
        const Ending ending = attempt(operation, stopFailing);
        EXPECT_NE(ending.kind, Ending::E_WRONG) << "point " << point << ": " << ending.text;
        failures += ending.kind == Ending::E_WHOLE ? 0 : 1;
    }
    return failures;
}

class LoggedFetchFaults : public testing::TestWithParam<OperationCase>
{
};

TEST_P(LoggedFetchFaults, ALogMakesNoFetchFail)
{
    const Operation operation = GetParam().make();
    Watchdog watchdog(GetParam().name);
    std::size_t points = 0;
    std::size_t failures = 0;
    {
        // A log that listens and shows none of what is said: what steps aside for a log does so.
        const zol_test::LogCapture quiet(blocxx::E_FATAL_ERROR_LEVEL);
        points = pointsOf(operation);
        failures = failuresOf(operation, points, watchdog);
    }
    const FileLog log;
    const std::size_t pointsWithLog = pointsOf(operation);
    ASSERT_GT(pointsWithLog, points) << "something is logged";
    EXPECT_EQ(failuresOf(operation, pointsWithLog, watchdog), failures);
    RecordProperty("points_without_log", static_cast<int>(points));
    RecordProperty("points_with_log", static_cast<int>(pointsWithLog));
    std::cout << "points: " << pointsWithLog << ", " << points << " without a log\n";
}

std::string nameOf(const testing::TestParamInfo<OperationCase>& info)
{
    return info.param.name;
}

INSTANTIATE_TEST_SUITE_P(Plain, LoggedFetchFaults, testing::ValuesIn(PLAIN_OPERATIONS), nameOf);

} // namespace
