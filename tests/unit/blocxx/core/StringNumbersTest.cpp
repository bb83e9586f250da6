#include "blocxx/ExceptionIds.hpp"
#include "blocxx/String.hpp"

#include <gtest/gtest.h>

#include <cerrno>
#include <locale>

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
    EXPECT_THROW(text.toUInt8(), StringConversionException);
    EXPECT_THROW(text.toUInt16(), StringConversionException);
    EXPECT_THROW(text.toUInt32(), StringConversionException);
    EXPECT_THROW(text.toUInt64(), StringConversionException);
    EXPECT_THROW(text.toUnsignedInt(), StringConversionException);
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
    EXPECT_EQ(255, String("255").toUInt8());
    EXPECT_THROW(String("256").toUInt8(), StringConversionException);
    EXPECT_EQ(65535, String("65535").toUInt16());
    EXPECT_THROW(String("65536").toUInt16(), StringConversionException);
    EXPECT_EQ(4294967295U, String("4294967295").toUInt32());
    EXPECT_THROW(String("4294967296").toUInt32(), StringConversionException);
    EXPECT_EQ(4294967295U, String("4294967295").toUnsignedInt());
    EXPECT_THROW(String("4294967296").toUnsignedInt(), StringConversionException);
    EXPECT_THROW(String("18446744073709551616").toUInt64(), StringConversionException);
}

TEST(StringNumbers, UnsignedTakesTheDigitsOfItsBaseWithoutAPrefix)
{
    EXPECT_EQ(16, String("10").toUInt16(16));
    EXPECT_EQ(0xabcdef, String("aBcDeF").toUInt32(16));
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
        EXPECT_THROW(String("1").toInt32(base), StringConversionException) << base;
    }
    EXPECT_THROW(String("1").toUInt16(0), StringConversionException);
}

TEST(StringNumbers, SignedTakesLeadingWhiteSpaceAndOneSign)
{
    EXPECT_EQ(80, String("80").toInt32());
    EXPECT_EQ(80, String("+80").toInt32());
    EXPECT_EQ(80, String(" 80").toInt32());
    EXPECT_EQ(-80, String("\t\n\v\f\r-80").toInt32());
    EXPECT_EQ(10, String("010").toInt32());
    EXPECT_EQ(-1, String("-1").toInt32());
    EXPECT_EQ(0, String("-0").toInt32());
    EXPECT_EQ(1295, String("zz").toInt32(36));
}

TEST(StringNumbers, SignedRefusesAnythingBehindTheDigits)
{
    for (const char* const text : {"", "80 ", "80\r", "8 0", "80x", "1e3", "abc", "+", "-", " ", "--5", "+-5", "- 5",
                                   "0x10", "18446744073709551615", "18446744073709551616"})
    {
        EXPECT_THROW(String(text).toInt32(), StringConversionException) << text;
    }
    EXPECT_THROW(String("80\0x", 4).toInt32(), StringConversionException);
    EXPECT_THROW(String("\0", 1).toInt32(), StringConversionException);
}

TEST(StringNumbers, SignedFitsItsTypeOnBothSides)
{
    EXPECT_EQ(127, String("127").toInt8());
    EXPECT_THROW(String("128").toInt8(), StringConversionException);
    EXPECT_EQ(-128, String("-128").toInt8());
    EXPECT_THROW(String("-129").toInt8(), StringConversionException);
    EXPECT_EQ(32767, String("32767").toInt16());
    EXPECT_THROW(String("-32769").toInt16(), StringConversionException);
    EXPECT_EQ(2147483647, String("2147483647").toInt32());
    EXPECT_THROW(String("2147483648").toInt32(), StringConversionException);
    EXPECT_EQ(-2147483647 - 1, String("-2147483648").toInt());
    EXPECT_THROW(String("-2147483649").toInt(), StringConversionException);
    EXPECT_EQ(9223372036854775807L, String("9223372036854775807").toInt64());
    EXPECT_THROW(String("9223372036854775808").toInt64(), StringConversionException);
    EXPECT_EQ(-9223372036854775807L - 1, String("-9223372036854775808").toInt64());
    EXPECT_THROW(String("-9223372036854775809").toInt64(), StringConversionException);
}

TEST(StringNumbers, SignedTakesThePrefixOfItsBase)
{
    EXPECT_EQ(16, String("0x10").toInt32(16));
    EXPECT_EQ(-16, String("-0X10").toInt32(16));
    EXPECT_EQ(16, String("10").toInt32(16));
    EXPECT_EQ(16, String("0x10").toInt32(0));
    EXPECT_EQ(8, String("010").toInt32(0));
    EXPECT_EQ(10, String("10").toInt32(0));
    EXPECT_EQ(0, String("0").toInt32(0));
    EXPECT_THROW(String("0x").toInt32(16), StringConversionException);
    EXPECT_THROW(String("0x-1").toInt32(16), StringConversionException);
}

TEST(StringNumbers, FailureNamesTheTextAndTheType)
{
    EXPECT_EQ("Unable to convert \"\" into UInt16", failureOf([] { return String().toUInt16(); }));
    EXPECT_EQ("Unable to convert \"80 \" into UInt16", failureOf([] { return String("80 ").toUInt16(); }));
    EXPECT_EQ("Unable to convert \"x\" into UInt8", failureOf([] { return String("x").toUInt8(); }));
    EXPECT_EQ("Unable to convert \"x\" into Int8", failureOf([] { return String("x").toInt8(); }));
    EXPECT_EQ("Unable to convert \"x\" into Int16", failureOf([] { return String("x").toInt16(); }));
    EXPECT_EQ("Unable to convert \"x\" into UInt32", failureOf([] { return String("x").toUInt32(); }));
    EXPECT_EQ("Unable to convert \"x\" into Int32", failureOf([] { return String("x").toInt32(); }));
    EXPECT_EQ("Unable to convert \"x\" into UInt64", failureOf([] { return String("x").toUInt64(); }));
    EXPECT_EQ("Unable to convert \"x\" into Int64", failureOf([] { return String("x").toInt64(); }));
    EXPECT_EQ("Unable to convert \"x\" into unsigned int", failureOf([] { return String("x").toUnsignedInt(); }));
    EXPECT_EQ("Unable to convert \"x\" into int", failureOf([] { return String("x").toInt(); }));
    EXPECT_EQ("Unable to convert \"x\" into bool", failureOf([] { return String("x").toBool(); }));
    EXPECT_EQ("Unable to convert \"%1\" into int", failureOf([] { return String("%1").toInt(); }));
}

TEST(StringNumbers, ErrnoIsLeftAlone)
{
    errno = 77;
    EXPECT_EQ(80UL, String("80").toUInt64());
    EXPECT_EQ(-80, String("-80").toInt64());
    EXPECT_EQ(77, errno);
}

TEST(StringNumbers, TheLocaleChangesNothing)
{
    struct Grouping : std::numpunct<char>
    {
        char do_thousands_sep() const override { return '.'; }
        std::string do_grouping() const override { return "\3"; }
    };
    const std::locale before = std::locale::global(std::locale(std::locale::classic(), new Grouping));
    const String text(1234567);
    const bool refused = !failureOf([] { return String("1.234").toInt(); }).empty();
    std::locale::global(before);
    EXPECT_EQ("1234567", text);
    EXPECT_TRUE(refused);
}

TEST(StringNumbers, BoolIsAWordInAnyCase)
{
    EXPECT_TRUE(String("true").toBool());
    EXPECT_TRUE(String("TRUE").toBool());
    EXPECT_FALSE(String("False").toBool());
    for (const char* const text : {"", "1", "0", " true", "yes"})
    {
        EXPECT_THROW(String(text).toBool(), StringConversionException) << text;
    }
}
