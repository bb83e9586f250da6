#include "Repetition.hpp"

#include "Deadline.hpp"
#include "RetryAfter.hpp"
#include "StatusFailure.hpp"

#include <gtest/gtest.h>

#include <ctime>
#include <limits>
#include <string>

using std::chrono::seconds;
using zolget::isRepeatable;
using zolget::Options;
using zolget::pauseBefore;
using zolget::retryAfterOf;

namespace
{

std::optional<seconds> parsed(const char* value)
{
    ZOLNS2::HTTP::Headers headers;
    headers.addHeader("Retry-After", value);
    return retryAfterOf(headers);
}

std::string dateIn(std::time_t delay)
{
    const std::time_t moment = std::time(nullptr) + delay;
    char text[64];
    std::strftime(text, sizeof(text), "%a, %d %b %Y %H:%M:%S GMT", std::gmtime(&moment));
    return text;
}

} // namespace

TEST(Repetition, IsForIdempotentMethods)
{
    Options options;
    for (const char* method : {"GET", "HEAD", "PUT", "DELETE", "OPTIONS", "TRACE"})
    {
        options.method = method;
        EXPECT_TRUE(isRepeatable(options)) << method;
    }
    for (const char* method : {"POST", "PATCH", "get", "PROPFIND"})
    {
        options.method = method;
        EXPECT_FALSE(isRepeatable(options)) << method;
    }
}

TEST(Repetition, NeedsABodyThatIsStillThere)
{
    Options options;
    options.method = "PUT";
    options.dataFiles = {"file"};
    EXPECT_TRUE(isRepeatable(options));
    options.dataFiles = {"file", "-"};
    EXPECT_FALSE(isRepeatable(options));
}

TEST(Repetition, WaitsLongerEachTimeUpToAMinute)
{
    EXPECT_EQ(pauseBefore(0, std::nullopt), seconds(1));
    EXPECT_EQ(pauseBefore(1, std::nullopt), seconds(2));
    EXPECT_EQ(pauseBefore(5, std::nullopt), seconds(32));
    EXPECT_EQ(pauseBefore(6, std::nullopt), seconds(60));
    EXPECT_EQ(pauseBefore(4000000000U, std::nullopt), seconds(60));
}

TEST(Repetition, WaitsAsLongAsTheServerWants)
{
    EXPECT_EQ(pauseBefore(0, seconds(120)), seconds(120));
    EXPECT_EQ(pauseBefore(3, seconds(1)), seconds(8));
    EXPECT_EQ(pauseBefore(0, seconds(3600)), seconds(3600));
    EXPECT_EQ(pauseBefore(0, seconds(3601)), std::nullopt);
}

TEST(RetryAfter, IsANumberOfSecondsOrADate)
{
    EXPECT_EQ(parsed("0"), seconds(0));
    EXPECT_EQ(parsed(" 120 "), seconds(120));
    EXPECT_GT(parsed("99999999999999999999"), seconds(1000000));
    const auto inAnHour = parsed(dateIn(3600).c_str());
    ASSERT_TRUE(inAnHour.has_value());
    EXPECT_LE(*inAnHour, seconds(3600));
    EXPECT_GT(*inAnHour, seconds(3000));
    EXPECT_EQ(parsed(dateIn(-10).c_str()), seconds(0));
    for (const char* value : {"", "-1", "1.5", "soon"})
    {
        EXPECT_FALSE(parsed(value)) << value;
    }
    EXPECT_FALSE(retryAfterOf(ZOLNS2::HTTP::Headers()));
}

TEST(StatusFailure, IsTransientForSomeStatuses)
{
    for (const unsigned short status : std::initializer_list<unsigned short>{408, 429, 500, 502, 503, 504})
    {
        EXPECT_TRUE(zolget::isTransient(status)) << status;
    }
    for (const unsigned short status : std::initializer_list<unsigned short>{301, 400, 404, 416, 501, 505})
    {
        EXPECT_FALSE(zolget::isTransient(status)) << status;
    }
}

TEST(Deadline, AllowsPausesThatEndBeforeIt)
{
    const zolget::Deadline none(std::numeric_limits<float>::infinity());
    EXPECT_TRUE(none.allows(seconds(1000000)));
    EXPECT_TRUE(none.remaining() == blocxx::Timeout::infinite);
    const zolget::Deadline far(1000);
    EXPECT_TRUE(far.allows(seconds(500)));
    EXPECT_FALSE(far.allows(seconds(1000)));
    EXPECT_LE(far.remaining().getRelative(), 1000.0F);
    EXPECT_GT(far.remaining().getRelative(), 500.0F);
}
