#include "Progress.hpp"

#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <limits>
#include <sstream>
#include <string>
#include <utility>

using std::chrono::milliseconds;
using std::chrono::seconds;
using zolget::formatProgress;
using zolget::Progress;

namespace
{

constexpr std::uint64_t MEBIBYTE = std::uint64_t{1024} * 1024;

std::string format(std::uint64_t done, std::optional<std::uint64_t> total, double elapsed)
{
    return formatProgress(done, total, std::chrono::duration<double>(elapsed));
}

/// A clock that stands still until it is set forward.
class HeldClock
{
public:
    Progress::Clock::time_point time{seconds(1000)};

    std::function<Progress::Clock::time_point()> reader()
    {
        return [this] { return time; };
    }
};

} // namespace

TEST(FormatProgress, ShowsBytesAndRateOfAnUnknownLength)
{
    EXPECT_EQ(format(10 * MEBIBYTE, std::nullopt, 4), "10.0 MiB, 2.5 MiB/s");
}

TEST(FormatProgress, ShowsPercentAndTimeLeftOfAKnownLength)
{
    EXPECT_EQ(format(10 * MEBIBYTE, 40 * MEBIBYTE, 10), "10.0 MiB of 40.0 MiB, 1.0 MiB/s, 25 %, 0:30 left");
    EXPECT_EQ(format(MEBIBYTE, 3601 * MEBIBYTE, 1), "1.0 MiB of 3.5 GiB, 1.0 MiB/s, 0 %, 1:00:00 left");
}

TEST(FormatProgress, ShowsNoTimeLeftAtTheBeginningAndAtTheEnd)
{
    EXPECT_EQ(format(0, 100, 1), "0 B of 100 B, 0 B/s, 0 %");
    EXPECT_EQ(format(100, 100, 1), "100 B of 100 B, 100 B/s, 100 %");
    EXPECT_EQ(format(0, 0, 1), "0 B of 0 B, 0 B/s, 100 %");
}

TEST(FormatProgress, ChangesTheUnitBeforeTheNumberHasFourDigits)
{
    EXPECT_EQ(format(1023, std::nullopt, 1), "1023 B, 1023 B/s");
    EXPECT_EQ(format(1024, std::nullopt, 1), "1.0 KiB, 1.0 KiB/s");
    EXPECT_EQ(format(MEBIBYTE - 1, std::nullopt, 1), "1.0 MiB, 1.0 MiB/s");
}

TEST(FormatProgress, SaysHundredPercentOfAWholeBodyOnly)
{
    constexpr std::uint64_t huge = std::numeric_limits<std::uint64_t>::max() - 1;
    EXPECT_NE(format(huge - 1, huge, 1).find(" 99 %"), std::string::npos);
    EXPECT_NE(format(huge, huge, 1).find(" 100 %"), std::string::npos);
}

TEST(FormatProgress, CopesWithNoTimeAtAll)
{
    EXPECT_EQ(format(1024, 2048, 0), "1.0 KiB of 2.0 KiB, 1000.0 KiB/s, 50 %, 0:01 left");
}

TEST(FormatProgress, FitsATerminal)
{
    constexpr std::uint64_t huge = std::numeric_limits<std::uint64_t>::max() - 1;
    EXPECT_LT(format(huge / 2, huge, 1e6).size(), 80U);
    EXPECT_LT(format(1, huge, 1e6).size(), 80U);
}

TEST(Progress, ShowsNothingUnlessAsked)
{
    std::ostringstream out;
    {
        Progress progress(out, Progress::Style::NONE);
        progress.add(100);
        progress.finish();
    }
    EXPECT_EQ(out.str(), "");
}

TEST(Progress, WritesOverItsLineOnATerminal)
{
    std::ostringstream out;
    {
        HeldClock clock;
        Progress progress(out, Progress::Style::TERMINAL, clock.reader());
        progress.setTotal(300);
        progress.add(100);
        clock.time += milliseconds(250);
        progress.add(100);
        progress.add(100);
        progress.finish();
    }
    const std::string text = out.str();
    EXPECT_EQ(text.find("\r200 B of 300 B"), 0U) << text;
    const std::size_t second = text.find('\r', 1);
    ASSERT_NE(second, std::string::npos);
    EXPECT_EQ(text.find("\r300 B of 300 B", second), second);
    EXPECT_EQ(text.find('\r', second + 1), std::string::npos);
    EXPECT_EQ(text.back(), '\n');
    // The shorter second line wipes out the first, which showed the time left.
    EXPECT_EQ(text.size() - 1 - second, second);
}

TEST(Progress, WritesWholeLinesElsewhere)
{
    std::ostringstream out;
    {
        Progress progress(out, Progress::Style::LINES);
        progress.add(100);
        progress.finish();
    }
    EXPECT_EQ(out.str().find('\r'), std::string::npos);
    EXPECT_EQ(out.str().find("100 B, "), 0U);
    EXPECT_EQ(out.str().find('\n'), out.str().size() - 1);
}

TEST(Progress, EndsAnUnfinishedLine)
{
    std::ostringstream out;
    {
        HeldClock clock;
        Progress progress(out, Progress::Style::TERMINAL, clock.reader());
        clock.time += milliseconds(250);
        progress.add(100);
    }
    EXPECT_EQ(out.str().back(), '\n');
}

TEST(Progress, UpdatesATerminalFiveTimesASecondAndOtherOutputOnce)
{
    for (const auto& [style, interval] : {std::pair(Progress::Style::TERMINAL, milliseconds(200)),
                                          std::pair(Progress::Style::LINES, milliseconds(1000))})
    {
        std::ostringstream out;
        HeldClock clock;
        Progress progress(out, style, clock.reader());
        clock.time += interval - milliseconds(1);
        progress.add(100);
        EXPECT_EQ(out.str(), "");
        clock.time += milliseconds(1);
        progress.add(100);
        const std::string shown = out.str();
        EXPECT_NE(shown.find("200 B, "), std::string::npos);
        clock.time += interval - milliseconds(1);
        progress.add(100);
        EXPECT_EQ(out.str(), shown);
    }
}
