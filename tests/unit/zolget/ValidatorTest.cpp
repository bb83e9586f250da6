#include "Validator.hpp"

#include "HttpDate.hpp"

#include <gtest/gtest.h>

using zolget::isStrongValidator;
using zolget::parseHttpDate;
using zolget::strongValidatorOf;
using ZOLNS2::HTTP::Headers;

namespace
{

constexpr const char* EARLIER = "Sun, 06 Nov 1994 08:49:36 GMT";
constexpr const char* LATER = "Sun, 06 Nov 1994 08:49:37 GMT";

Headers withDates(const char* modified, const char* sent)
{
    Headers headers;
    headers.addHeader("Last-Modified", modified);
    headers.addHeader("Date", sent);
    return headers;
}

} // namespace

TEST(Validator, IsTheEntityTagIfThatIsStrong)
{
    Headers headers = withDates(EARLIER, LATER);
    headers.addHeader("ETag", "\"abc\"");
    EXPECT_EQ(strongValidatorOf(headers), "\"abc\"");
}

TEST(Validator, IsNotADateBesideAWeakEntityTag)
{
    Headers headers = withDates(EARLIER, LATER);
    headers.addHeader("ETag", "W/\"abc\"");
    EXPECT_EQ(strongValidatorOf(headers), "");
}

TEST(Validator, IsTheDateOfAChangeBeforeTheResponse)
{
    EXPECT_EQ(strongValidatorOf(withDates(EARLIER, LATER)), EARLIER);
    EXPECT_EQ(strongValidatorOf(withDates(LATER, LATER)), "");
    EXPECT_EQ(strongValidatorOf(withDates(EARLIER, "now")), "");
    EXPECT_EQ(strongValidatorOf(Headers()), "");
}

TEST(Validator, HasOneOfTheTwoForms)
{
    EXPECT_TRUE(isStrongValidator("\"\""));
    EXPECT_TRUE(isStrongValidator(EARLIER));
    for (const char* text : {"", "\"", "abc", "W/\"abc\"", "\"a\"b\"", "\"a\r\nX: y\"", "\"a b\""})
    {
        EXPECT_FALSE(isStrongValidator(text)) << text;
    }
}

TEST(HttpDate, HasThreeForms)
{
    for (const char* text :
         {"Sun, 06 Nov 1994 08:49:37 GMT", "Sunday, 06-Nov-94 08:49:37 GMT", "Sun Nov  6 08:49:37 1994"})
    {
        EXPECT_EQ(parseHttpDate(text), std::time_t{784111777}) << text;
    }
    for (const char* text : {"", "784111777", "Sun, 06 Nov 1994 08:49:37 CET", "Sun, 06 Nov 1994 08:49:37 GMT x"})
    {
        EXPECT_FALSE(parseHttpDate(text)) << text;
    }
}
