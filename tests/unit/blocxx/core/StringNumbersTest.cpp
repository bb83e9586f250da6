#include "support/GroupingLocale.hpp"

#include "blocxx/ExceptionIds.hpp"
#include "blocxx/String.hpp"

#include <gtest/gtest.h>

#include <cerrno>

using blocxx::String;
using blocxx::StringConversionException;

namespace
{

constexpr unsigned long MAX_UINT64 = 18446744073709551615UL;

/// The message of the failure that `conversion` of `text` ends in; empty if it succeeds.
template <class Conversion>
std::string failureOf(Conversion conversion)
{
    try
    {
        conversion();
    }
    catch (const StringConversionException& exception)
    {
        EXPECT_EQ(-1, exception.getErrorCode());
        EXPECT_EQ(blocxx::ExceptionIds::StringConversionExceptionId, exception.getSubClassId());
        EXPECT_EQ(-37, exception.getSubClassId());
        EXPECT_EQ(nullptr, exception.getSubException());
        return exception.getMessage();
    }
    return "";
}

} // namespace

class UnsignedRefusal : public testing::TestWithParam<String>
{
};

TEST_P(UnsignedRefusal, IsAConversionFailure)
{
    const String& text = GetParam();
    EXPECT_THROW(text.toUInt16(), StringConversionException);
    EXPECT_THROW(text.toUInt64(), StringConversionException);
}

INSTANTIATE_TEST_SUITE_P(StringNumbers, UnsignedRefusal,
                         testing::Values("", "+80", " 80", "\t\n80", "\v\f\r80", "80 ", "80\r", "8 0", "80x", "1e3",
                                         "abc", "-1", "-0", "-65535", "-18446744073709551615", "18446744073709551616",
                                         "99999999999999999999999999", "+", "-", " ", "--5", "+-5", "0x10", "1,000",
                                         String("80\0", 3), String("\0", 1), String("80\0x", 4), "\xd9\xa1"));

TEST(StringNumbers, UnsignedTakesDigits)
{
    EXPECT_EQ(80, String("80").toUInt16());
    EXPECT_EQ(10, String("010").toUInt16());
    EXPECT_EQ(0, String("0").toUInt16());
    EXPECT_EQ(7UL, String("000000000000000000000000000007").toUInt64());
    EXPECT_EQ(MAX_UINT64, String("18446744073709551615").toUInt64());
}

TEST(StringNumbers, UnsignedFitsItsTypeToTheLastValue)
{
    EXPECT_EQ(65535, String("65535").toUInt16());
    EXPECT_THROW(String("65536").toUInt16(), StringConversionException);
    EXPECT_THROW(String("18446744073709551616").toUInt64(), StringConversionException);
}

TEST(StringNumbers, UnsignedTakesTheDigitsOfItsBaseWithoutAPrefix)
{
    EXPECT_EQ(16, String("10").toUInt16(16));
    EXPECT_EQ(0xabcdefUL, String("aBcDeF").toUInt64(16));
    EXPECT_EQ(1295, String("zz").toUInt16(36));
    EXPECT_EQ(5, String("101").toUInt16(2));
    EXPECT_THROW(String("0x10").toUInt16(16), StringConversionException);
    EXPECT_THROW(String("0x").toUInt16(16), StringConversionException);
    EXPECT_THROW(String("2").toUInt16(2), StringConversionException);
    EXPECT_THROW(String("8").toUInt16(8), StringConversionException);
}

TEST(StringNumbers, ABaseThatDoesNotExistIsAFailure)
{
    for (const int base : {1, -1, -10, 37, 1000})
    {
        EXPECT_THROW(String("1").toUInt16(base), StringConversionException) << base;
    }
    EXPECT_THROW(String("1").toUInt16(0), StringConversionException);
}

TEST(StringNumbers, FailureNamesTheTextAndTheType)
{
    EXPECT_EQ("Unable to convert \"\" into UInt16", failureOf([] { return String().toUInt16(); }));
    EXPECT_EQ("Unable to convert \"80 \" into UInt16", failureOf([] { return String("80 ").toUInt16(); }));
    EXPECT_EQ("Unable to convert \"x\" into UInt64", failureOf([] { return String("x").toUInt64(); }));
    EXPECT_EQ("Unable to convert \"%1\" into UInt64", failureOf([] { return String("%1").toUInt64(); }));
}

TEST(StringNumbers, ErrnoIsLeftAlone)
{
    errno = 77;
    EXPECT_EQ(80UL, String("80").toUInt64());
    EXPECT_EQ(77, errno);
}

TEST(StringNumbers, ErrnoIsLeftAloneByAFailureToo)
{
    errno = 77;
    EXPECT_THROW(String("18446744073709551616").toUInt64(), StringConversionException);
    EXPECT_EQ(77, errno);
}

TEST(StringNumbers, TheLocaleChangesNothing)
{
    const zol_test::GroupingLocale grouping;
    EXPECT_EQ("1234567", String(1234567));
    EXPECT_EQ("1234567.5", String(1234567.5));
    EXPECT_FALSE(failureOf([] { return String("1.234").toUInt64(); }).empty());
}
