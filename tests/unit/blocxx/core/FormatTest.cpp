#include "blocxx/Format.hpp"

#include "support/GroupingLocale.hpp"

#include "blocxx/Bool.hpp"
#include "blocxx/IOException.hpp"

#include <gtest/gtest.h>

#include <iomanip>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <string>

using blocxx::Format;
using blocxx::String;

namespace
{

enum Colour
{
    RED = 3
};
enum class Small : unsigned char
{
    ONE = 65
};

struct RequestLine
{
    int number = 0;
};

std::ostream& operator<<(std::ostream& out, const RequestLine& line)
{
    return out << "GET /" << line.number << " HTTP/1.1\r\n";
}

struct Failing
{
};

std::ostream& operator<<(std::ostream& out, const Failing&)
{
    out.setstate(std::ios_base::failbit);
    return out << "lost";
}

struct Throwing
{
};

std::ostream& operator<<(std::ostream& out, const Throwing&)
{
    throw std::runtime_error("cannot print");
    return out;
}

template <class... Arguments>
std::string text(const char* format, const Arguments&... arguments)
{
    const String result = Format(format, arguments...).toString();
    return std::string(result.c_str(), result.length());
}

} // namespace

TEST(Format, PutsArgumentsInTheirPlaces)
{
    EXPECT_EQ("H and G but H", text("%1 and %2 but %1", "H", "G"));
    EXPECT_EQ("5%", text("%1%%", 5));
    EXPECT_EQ("%", text("%%", 5));
    EXPECT_EQ("abc", text("abc", 1));
    EXPECT_EQ("", text("", 1));
    EXPECT_EQ("", text(nullptr, 1));
    EXPECT_EQ("123456789", text("%1%2%3%4%5%6%7%8%9", 1, 2, 3, 4, 5, 6, 7, 8, 9));
}

TEST(Format, APlaceholderIsOneDigitLong)
{
    EXPECT_EQ("52", text("%12", 5));
    EXPECT_EQ("5", text("%<1>", 5));
    EXPECT_EQ("5", text("%<001>", 5));
    EXPECT_EQ("5", text("%<1:>", 5));
}

TEST(Format, DoesNotInterpretTheTextOfArguments)
{
    EXPECT_EQ("%2|v", text("%1|%2", "%2", "v"));
}

TEST(Format, IsAcceptedWhereAStringIsExpected)
{
    EXPECT_EQ("x: 5", "x: " + Format("%1", 5));
    EXPECT_EQ("5z", Format("%1", 5) + "z");
    EXPECT_EQ("a5", String("a") + Format("%1", 5));
    const String converted = Format("%1", 5);
    EXPECT_EQ("5", converted);
    EXPECT_STREQ("5", Format("%1", 5).c_str());
}

TEST(Format, KeepsNuls)
{
    EXPECT_EQ(std::string("a\0b.", 4), text("%1.", String("a\0b", 3)));
    EXPECT_EQ(std::string("\0", 1), text("%1", '\0'));
}

TEST(Format, ANullTextPrintsNothing)
{
    EXPECT_EQ("[] after 5", text("[%1] after %2", static_cast<const char*>(nullptr), 5));
    EXPECT_EQ("[    ]", text("[%<1:4>]", static_cast<char*>(nullptr)));
}

TEST(Format, AMistakeDropsTheRestAndSaysWhereItIs)
{
    EXPECT_EQ("100\n*** Error in format string at \"%\"\n", text("100%", 5));
    EXPECT_EQ("a\n*** Error in format string at \"%z\"\n", text("a%zb %1", 5));
    EXPECT_EQ("[\n*** Error in format string at \"%<1]\"\n", text("[%<1]", 5));
    EXPECT_EQ("[\n*** Error in format string at \"%<x\"\n", text("[%<x>]", 5));
    EXPECT_EQ("[\n*** Error in format string at \"%<-1>]\"\n", text("[%<-1>]", 5));
    EXPECT_EQ("[\n*** Error in format string at \"%<1:z\"\n", text("[%<1:zz>] tail", 5));
    EXPECT_EQ("[\n*** Error in format string at \"%<1:5.\"\n", text("[%<1:5.>]", 5));
    EXPECT_EQ("[\n*** Error in format string at \"%<1:!x\"\n", text("[%<1:!x>]", 5));
    EXPECT_EQ("[\n*** Error in format string at \"%<\"\n", text("[%<", 5));
    EXPECT_EQ("[\n*** Error in format string at \"%<1:-\"\n", text("[%<1:->]", 5));
}

TEST(Format, AnArgumentThatDoesNotExistIsNamed)
{
    EXPECT_EQ("\n*** Parameter specifier 3 is too large (>2)\n*** Error in format string at \"%3\"\n",
              text("%3", 1, 2));
    EXPECT_EQ("x\n*** Parameter specifier 0 must be >= 1\n*** Error in format string at \"%0\"\n", text("x%0y", 1));
    EXPECT_EQ("\n*** Parameter specifier 12 is too large (>1)\n*** Error in format string at \"%<12:5x>\"\n",
              text("%<12:5x> tail", 1));
}

TEST(Format, AbsurdNumbersDoNoHarm)
{
    EXPECT_EQ("\n*** Parameter specifier 1000000000 is too large (>1)\n*** Error in format string at "
              "\"%<99999999999999999999999>\"\n",
              text("%<99999999999999999999999>", 1));
    EXPECT_EQ(65535U, text("%<1:99999999999999999999999>", 1).size());
    EXPECT_EQ(1002U, text("%<1:.99999999999999999999999>", 1.0).size());
}

TEST(Format, IntegersHaveWidthFillSignAndBase)
{
    EXPECT_EQ("[        42]", text("[%<1:10>]", 42));
    EXPECT_EQ("[42        ]", text("[%<1:-10>]", 42));
    EXPECT_EQ("[42        ]", text("[%<1:-010>]", 42));
    EXPECT_EQ("0000000-42", text("%<1:010>", -42));
    EXPECT_EQ("[  +42]", text("[%<1:+5>]", 42));
    EXPECT_EQ("[00+42]", text("[%<1:+05>]", 42));
    EXPECT_EQ("[0XFF]", text("[%<1:X!>]", 255));
    EXPECT_EQ("00000xff", text("%<1:08x!>", 255));
    EXPECT_EQ("[010]", text("[%<1:o!>]", 8));
    EXPECT_EQ("ffff", text("%<1:x>", static_cast<short>(-1)));
    EXPECT_EQ("3", text("%<1:.2>", 3));
    EXPECT_EQ("18446744073709551615", text("%1", 18446744073709551615ULL));
}

TEST(Format, SettingsLastForOnePlaceholder)
{
    EXPECT_EQ("[ff255]", text("[%<1:x>%1]", 255));
    EXPECT_EQ("003.14[3.14159]1", text("%<1:06.2>[%1]%2", 3.14159, true));
}

TEST(Format, RealsHaveWidthAndPrecision)
{
    EXPECT_EQ("[   3.142]", text("[%<1:8.3>]", 3.14159));
    EXPECT_EQ("[3.14159]", text("[%1]", 3.14159));
    EXPECT_EQ("2.", text("%<1:.0>", 2.5));
    EXPECT_EQ("0.5", text("%1", 0.5F));
}

TEST(Format, CharactersAreNotNumbers)
{
    EXPECT_EQ("cd e", text("%1%2%<3:2>", 'c', static_cast<unsigned char>('d'), static_cast<signed char>('e')));
    EXPECT_EQ("000c", text("%<1:04>", 'c'));
    EXPECT_EQ("   c", text("%<1:04>", static_cast<signed char>('c')));
}

TEST(Format, TextsArePaddedWithBlanks)
{
    char buffer[] = "cd";
    char* const pointer = buffer;
    EXPECT_EQ("[    ab]", text("[%<1:06>]", "ab"));
    EXPECT_EQ("[ab    ]", text("[%<1:-6>]", "ab"));
    EXPECT_EQ("[    cd]", text("[%<1:06>]", buffer));
    EXPECT_EQ("[    cd]", text("[%<1:06>]", pointer));
    EXPECT_EQ("[    ef]", text("[%<1:06>]", std::string("ef")));
}

TEST(Format, AStringIgnoresTheWidth)
{
    EXPECT_EQ("[ab]", text("[%<1:10>]", String("ab")));
}

TEST(Format, BoolsAreDigitsOrWords)
{
    EXPECT_EQ("10", text("%1%2", true, false));
    EXPECT_EQ("[  true]", text("[%<1:06!>]", true));
    EXPECT_EQ("[     1]", text("[%<1:06>]", true));
    EXPECT_EQ("false", text("%1", blocxx::Bool(false)));
}

TEST(Format, EnumerationsAreNumbersPaddedWithBlanks)
{
    EXPECT_EQ("3 65", text("%1 %2", RED, Small::ONE));
    EXPECT_EQ("[   3]", text("[%<1:04>]", RED));
}

TEST(Format, PointersAreAddresses)
{
    int* const address = reinterpret_cast<int*>(0x10);
    EXPECT_EQ("0x10", text("%1", address));
    EXPECT_EQ("0", text("%1", static_cast<const void*>(nullptr)));
    EXPECT_EQ("[  0x10]", text("[%<1:06>]", static_cast<void*>(address)));
}

TEST(Format, ObjectsArePaddedAsAWhole)
{
    EXPECT_EQ(std::string(13, ' ') + "GET /0 HTTP/1.1\r\n", text("%<1:030>", RequestLine()));
    EXPECT_EQ("GET /ff HTTP/1.1\r\n  |", text("%<1:-20x>|", RequestLine{255}));
    EXPECT_EQ("[  x1]", text("[%<1:4>]", Format("x%1", 1)));
    EXPECT_EQ("f: 1 IOException: m", text("%1", blocxx::IOException("f", 1, "m")));
}

TEST(Format, AnArgumentThatFailsToPrintDoesNotHarmTheOthers)
{
    EXPECT_EQ("[]5", text("[%1]%2", Failing(), 5));
}

TEST(Format, WhatAnArgumentThrowsComesOut)
{
    EXPECT_THROW(Format("%1", Throwing()), std::runtime_error);
}

TEST(Format, IsWrittenWithoutTheWidthOfTheStream)
{
    std::ostringstream out;
    out << std::setw(6) << Format("%1", "ab") << 5;
    EXPECT_EQ("ab     5", out.str());
}

TEST(Format, CopiesHoldTheSameText)
{
    const Format original("%1", 5);
    const Format copy(original); // NOLINT(performance-unnecessary-copy-initialization)
    EXPECT_STREQ("5", copy.c_str());
}

TEST(Format, TheGlobalLocaleChangesNothing)
{
    const zol_test::GroupingLocale grouping;
    EXPECT_EQ("1234567 1234567.50 GET /1234567 HTTP/1.1\r\n",
              text("%1 %<2:.2> %3", 1234567, 1234567.5, RequestLine{1234567}));
    EXPECT_EQ("f: 1234567 IOException: 7654321: m", text("%1", blocxx::IOException("f", 1234567, "m", 7654321)));
}

TEST(Format, MayBeABase)
{
    struct Derived : Format
    {
        explicit Derived(bool& destroyed) : Format("%1", 1), m_destroyed(destroyed) {}
        ~Derived() override { m_destroyed = true; }
        bool& m_destroyed;
    };
    bool destroyed = false;
    std::unique_ptr<Format> format = std::make_unique<Derived>(destroyed);
    EXPECT_STREQ("1", format->c_str());
    format.reset();
    EXPECT_TRUE(destroyed);
}
