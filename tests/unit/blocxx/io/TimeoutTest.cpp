#include "blocxx/Timeout.hpp"

#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <limits>

using blocxx::DateTime;
using blocxx::Timeout;

namespace
{

// Runs before main, in whatever order the loader chooses.
const Timeout seenDuringStaticInitialisation = Timeout::infinite;

} // namespace

TEST(Timeout, RelativeKeepsItsSeconds)
{
    const Timeout timeout = Timeout::relative(1.5F);
    EXPECT_EQ(timeout.getType(), Timeout::E_RELATIVE);
    EXPECT_EQ(timeout.getRelative(), 1.5F);
    EXPECT_EQ(timeout.getAbsolute(), DateTime());
}

TEST(Timeout, RelativeWithResetIsATypeOfItsOwn)
{
    const Timeout timeout = Timeout::relativeWithReset(2);
    EXPECT_EQ(timeout.getType(), Timeout::E_RELATIVE_WITH_RESET);
    EXPECT_EQ(timeout.getRelative(), 2.0F);
    EXPECT_NE(timeout, Timeout::relative(2));
}

TEST(Timeout, AbsoluteKeepsItsMomentAndHasNoSeconds)
{
    const DateTime moment(1700000000, 250000);
    const Timeout timeout = Timeout::absolute(moment);
    EXPECT_EQ(timeout.getType(), Timeout::E_ABSOLUTE);
    EXPECT_EQ(timeout.getAbsolute(), moment);
    EXPECT_EQ(timeout.getRelative(), 0.0F);
}

TEST(Timeout, EqualWhenTypeAndValueAre)
{
    EXPECT_EQ(Timeout::relative(3), Timeout::relative(3));
    EXPECT_NE(Timeout::relative(3), Timeout::relative(4));
    EXPECT_EQ(Timeout::absolute(DateTime(5)), Timeout::absolute(DateTime(5)));
    EXPECT_NE(Timeout::absolute(DateTime(5)), Timeout::absolute(DateTime(5, 1)));
    EXPECT_NE(Timeout::absolute(DateTime()), Timeout::relative(0));
}

TEST(Timeout, InfiniteIsRelativeInfinity)
{
    EXPECT_EQ(Timeout::infinite, Timeout::relative(std::numeric_limits<float>::infinity()));
    EXPECT_NE(Timeout::infinite, Timeout::relativeWithReset(std::numeric_limits<float>::infinity()));
}

TEST(Timeout, InfiniteIsThereDuringStaticInitialisation)
{
    EXPECT_EQ(seenDuringStaticInitialisation.getType(), Timeout::E_RELATIVE);
    EXPECT_TRUE(std::isinf(seenDuringStaticInitialisation.getRelative()));
}

TEST(DateTime, IsTheEpochByDefault)
{
    EXPECT_EQ(DateTime().get(), 0);
    EXPECT_EQ(DateTime().getMicrosecond(), 0U);
}

TEST(DateTime, CurrentIsNow)
{
    const std::time_t before = std::time(nullptr);
    const DateTime now = DateTime::getCurrent();
    const std::time_t after = std::time(nullptr);
    // time() may lag the precise clock by a tick.
    EXPECT_GE(now.get(), before);
    EXPECT_LE(now.get(), after + 1);
    EXPECT_LT(now.getMicrosecond(), 1000000U);
}

TEST(Timeout, OfASpanIsRelative)
{
    using namespace std::chrono_literals;
    EXPECT_EQ(Timeout(1500ms), Timeout::relative(1.5F));
    EXPECT_EQ(Timeout(2min), Timeout::relative(120));
    EXPECT_EQ(Timeout(std::chrono::duration<double>(0.25)), Timeout::relative(0.25F));
    const Timeout passed = 5s;
    EXPECT_EQ(passed, Timeout::relative(5));
}

TEST(Timeout, OfAMomentIsAbsolute)
{
    using namespace std::chrono;
    const system_clock::time_point moment(seconds(1000) + microseconds(5) + nanoseconds(999));
    EXPECT_EQ(Timeout(moment), Timeout::absolute(DateTime(1000, 5)));
    EXPECT_EQ(Timeout(time_point<system_clock, hours>(hours(1))), Timeout::absolute(DateTime(3600)));
    const Timeout beforeTheEpoch = system_clock::time_point(-microseconds(1));
    EXPECT_EQ(beforeTheEpoch, Timeout::absolute(DateTime(-1, 999999)));
}

TEST(Timeout, OfAMomentOfTheSteadyClockIsThatOfTheWallClock)
{
    using namespace std::chrono;
    const auto toSeconds = [](const DateTime& moment)
    { return static_cast<double>(moment.get()) + static_cast<double>(moment.getMicrosecond()) / 1e6; };
    const double before = toSeconds(DateTime::getCurrent());
    const Timeout timeout = steady_clock::now() + seconds(100);
    const double after = toSeconds(DateTime::getCurrent());
    EXPECT_EQ(timeout.getType(), Timeout::E_ABSOLUTE);
    EXPECT_GE(toSeconds(timeout.getAbsolute()), before + 99.999);
    EXPECT_LE(toSeconds(timeout.getAbsolute()), after + 100.001);
}
