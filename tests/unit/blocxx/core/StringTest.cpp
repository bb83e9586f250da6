#include "blocxx/String.hpp"

#include "blocxx/Array.hpp"

#include <gtest/gtest.h>

#include <iomanip>
#include <limits>
#include <sstream>
#include <string>
#include <type_traits>

using blocxx::String;
using blocxx::StringArray;

namespace
{

const String WITH_NUL("ab\0cd", 5);
const char* const NO_TEXT = nullptr;

std::string bytesOf(const String& text)
{
    return std::string(text.c_str(), text.length());
}

std::string joined(const StringArray& tokens)
{
    std::string text;
    for (const String& token : tokens)
    {
        text += '[' + bytesOf(token) + ']';
    }
    return text;
}

} // namespace

TEST(String, IsEmptyFromTheStart)
{
    EXPECT_TRUE(String().empty());
    EXPECT_EQ(0U, String().length());
    EXPECT_STREQ("", String().c_str());
}

TEST(String, TakesCStringsUpToTheirTerminator)
{
    EXPECT_EQ("abc", bytesOf("abc"));
    EXPECT_TRUE(String(NO_TEXT).empty());
}

TEST(String, TakesExactlyTheBytesOfAPointerAndALength)
{
    EXPECT_EQ(5U, WITH_NUL.length());
    EXPECT_EQ(std::string("ab\0cd", 5), bytesOf(WITH_NUL));
    EXPECT_EQ('\0', WITH_NUL.c_str()[5]);
    EXPECT_EQ("", bytesOf(String("abc", 0)));
    EXPECT_EQ("", bytesOf(String(nullptr, 3)));
}

TEST(String, TakesAllOfAStandardString)
{
    const std::string text("a\0b", 3);
    EXPECT_EQ(text, bytesOf(String(text)));
    EXPECT_EQ(text, bytesOf(String(std::string(text))));
}

TEST(String, IsMadeOfNumbersAndCharacters)
{
    EXPECT_EQ("0", bytesOf(String(0)));
    EXPECT_EQ("-2147483648", bytesOf(String(-2147483647 - 1)));
    EXPECT_EQ("4294967295", bytesOf(String(4294967295U)));
    EXPECT_EQ("-9223372036854775808", bytesOf(String(-9223372036854775807L - 1)));
    EXPECT_EQ("18446744073709551615", bytesOf(String(18446744073709551615UL)));
    EXPECT_EQ("1", bytesOf(String(true)));
    EXPECT_EQ("65", bytesOf(String(static_cast<unsigned char>(65))));
    EXPECT_EQ("-3", bytesOf(String(static_cast<short>(-3))));
    EXPECT_EQ("x", bytesOf(String('x')));
    EXPECT_EQ(std::string(1, '\0'), bytesOf(String('\0')));
}

TEST(String, IsMadeOfRealNumbers)
{
    EXPECT_EQ("1.5", bytesOf(String(1.5F)));
    EXPECT_EQ("0.1", bytesOf(String(0.1)));
    EXPECT_EQ("0.1", bytesOf(String(0.1F)));
    EXPECT_EQ("0.33333334", bytesOf(String(1.0F / 3)));
    EXPECT_EQ("0.3333333333333333", bytesOf(String(1.0 / 3)));
    EXPECT_EQ("1e+300", bytesOf(String(1e300)));
    EXPECT_EQ("-2.2250738585072e-308", bytesOf(String(-2.2250738585072e-308)));
    EXPECT_EQ("-1.797693134862316e+308", bytesOf(String(-std::numeric_limits<double>::max())));
}

TEST(String, DoesNotConvertFromNumbersAndCharactersByItself)
{
    EXPECT_FALSE((std::is_convertible_v<int, String>));
    EXPECT_FALSE((std::is_convertible_v<char, String>));
    EXPECT_TRUE((std::is_convertible_v<const char*, String>));
    EXPECT_TRUE((std::is_convertible_v<std::string, String>));
    String text("x");
    text = 0; // NOLINT(modernize-use-nullptr): a null pointer, as old code writes it
    EXPECT_TRUE(text.empty());
}

TEST(String, CopiesAreIndependent)
{
    String original("abc");
    String copy(original);
    copy += "d";
    original[0] = 'X';
    EXPECT_EQ("abcd", bytesOf(copy));
    EXPECT_EQ("Xbc", bytesOf(original));
    copy = *&copy;
    EXPECT_EQ("abcd", bytesOf(copy));
}

TEST(String, MovesWithoutThrowing)
{
    EXPECT_TRUE(std::is_nothrow_move_constructible_v<String>);
    EXPECT_TRUE(std::is_nothrow_move_assignable_v<String>);
}

TEST(String, SwapsItsContent)
{
    String left("left");
    String right("right");
    left.swap(right);
    EXPECT_EQ("right", bytesOf(left));
    EXPECT_EQ("left", bytesOf(right));
}

TEST(String, CharAtIsNulAtTheEndAndBeyond)
{
    EXPECT_EQ('b', String("abc").charAt(1));
    EXPECT_EQ('\0', String("abc").charAt(3));
    EXPECT_EQ('\0', String("abc").charAt(4));
    EXPECT_EQ('\0', String("abc").charAt(String::npos));
    EXPECT_EQ('\0', String().charAt(0));
    EXPECT_EQ('c', WITH_NUL.charAt(3));
}

TEST(String, IndexingNeverThrowsAndLosesWhatIsWrittenBeyondTheEnd)
{
    String text("abc");
    const String& readOnly = text;
    EXPECT_EQ('c', readOnly[2]);
    EXPECT_EQ('\0', readOnly[3]);
    EXPECT_EQ('\0', readOnly[1000]);
    text[1] = 'X';
    EXPECT_EQ("aXc", bytesOf(text));
    text[3] = 'Y';
    text[1000] = 'Z';
    EXPECT_EQ("aXc", bytesOf(text));
    EXPECT_EQ('\0', text[1000]);
    EXPECT_EQ('\0', readOnly[3]);
}

TEST(String, LooksForATextFromTheFront)
{
    const String text("abcabc");
    EXPECT_EQ(0U, text.indexOf("ab"));
    EXPECT_EQ(0U, text.indexOf(String("ab")));
    EXPECT_EQ(3U, text.indexOf(String("ab"), 1));
}

TEST(String, FindsACharacter)
{
    const String text("abcabc");
    EXPECT_EQ(1U, text.indexOf('b'));
    EXPECT_EQ(4U, text.indexOf('b', 2));
    EXPECT_EQ(5U, text.indexOf('c', 5));
    EXPECT_EQ(String::npos, text.indexOf('c', 6));
    EXPECT_EQ(String::npos, text.indexOf('a', String::npos));
    EXPECT_EQ(String::npos, text.indexOf('x'));
    EXPECT_EQ(String::npos, String().indexOf('a'));
}

TEST(String, FindsAcrossNulsAndFindsNulsOnlyInTheContent)
{
    EXPECT_EQ(3U, WITH_NUL.indexOf('c'));
    EXPECT_EQ(3U, WITH_NUL.indexOf("cd"));
    EXPECT_EQ(1U, WITH_NUL.indexOf(String("b\0c", 3)));
    EXPECT_EQ(2U, WITH_NUL.indexOf('\0'));
    EXPECT_EQ(String::npos, String("abcabc").indexOf('\0'));
}

TEST(String, FindsAText)
{
    const String text("abcabc");
    EXPECT_EQ(1U, text.indexOf("bc"));
    EXPECT_EQ(4U, text.indexOf("bc", 2));
    EXPECT_EQ(4U, text.indexOf(String("bc"), 2));
    EXPECT_EQ(String::npos, text.indexOf("bc", 5));
    EXPECT_EQ(String::npos, text.indexOf("abcabca"));
}

TEST(String, FindsAnEmptyTextOnlyInsideTheString)
{
    const String text("abcabc");
    EXPECT_EQ(0U, text.indexOf(""));
    EXPECT_EQ(5U, text.indexOf("", 5));
    EXPECT_EQ(5U, text.indexOf(NO_TEXT, 5));
    EXPECT_EQ(String::npos, text.indexOf("", 6));
    EXPECT_EQ(String::npos, text.indexOf(String(), 6));
    EXPECT_EQ(String::npos, String().indexOf(""));
}

TEST(String, SubstringIsClippedToTheEnd)
{
    const String text("abcabc");
    EXPECT_EQ("abcabc", bytesOf(text.substring(0)));
    EXPECT_EQ("", bytesOf(text.substring(6)));
    EXPECT_EQ("", bytesOf(text.substring(7)));
    EXPECT_EQ("", bytesOf(text.substring(String::npos)));
    EXPECT_EQ("", bytesOf(text.substring(2, 0)));
    EXPECT_EQ("cabc", bytesOf(text.substring(2, 100)));
    EXPECT_EQ("ca", bytesOf(text.substring(2, 2)));
    EXPECT_EQ("bcabc", bytesOf(text.substring(1, String::npos)));
    EXPECT_EQ("", bytesOf(String().substring(0)));
    EXPECT_EQ(std::string("b\0c", 3), bytesOf(WITH_NUL.substring(1, 3)));
}

TEST(String, SubstringWhoseEndWrapsIsClippedToo)
{
    const String header("Content-Type: a;b=c/d");
    EXPECT_EQ("d", bytesOf(header.substring(20, static_cast<std::size_t>(-5))));
    EXPECT_EQ("", bytesOf(header.substring(21, static_cast<std::size_t>(-6))));
    EXPECT_EQ("c/d", bytesOf(header.substring(18, 20)));
    EXPECT_EQ("", bytesOf(String("\"").substring(1, static_cast<std::size_t>(-1))));
}

TEST(String, TrimsTheSixAsciiSpaces)
{
    const String text(" \t\n\v\f\r x y \r\n");
    EXPECT_EQ("x y", bytesOf(String(text).trim()));
    EXPECT_EQ("x", bytesOf(String("x ").trim()));
    EXPECT_EQ("x", bytesOf(String(" x").trim()));
    EXPECT_EQ("", bytesOf(String(" \t ").trim()));
    EXPECT_EQ("", bytesOf(String().trim()));
    EXPECT_EQ("abc", bytesOf(String("abc").trim()));
}

TEST(String, TrimKeepsNulsAndBytesBeyondAscii)
{
    EXPECT_EQ(std::string("ab\0cd", 5), bytesOf(String(" ab\0cd ", 7).trim()));
    EXPECT_EQ(std::string("\0ab", 3), bytesOf(String("\0ab", 3).trim()));
    EXPECT_EQ(std::string("ab\0", 3), bytesOf(String("ab\0 ", 4).trim()));
    EXPECT_EQ("\xc2\xa0x\x85", bytesOf(String("\xc2\xa0x\x85").trim()));
}

TEST(String, ComparesUnsignedBytes)
{
    EXPECT_EQ(0, String("abc").compareTo("abc"));
    EXPECT_LT(String("A").compareTo("a"), 0);
    EXPECT_GT(String("\x80").compareTo("z"), 0);
    EXPECT_LT(String("ab").compareTo(String("abc")), 0);
    EXPECT_GT(WITH_NUL.compareTo("ab"), 0);
}

TEST(String, ANullTextComparesAsEmpty)
{
    EXPECT_EQ(0, String().compareTo(NO_TEXT));
    EXPECT_TRUE(String().equals(NO_TEXT));
    EXPECT_FALSE(String("a").equals(NO_TEXT));
    EXPECT_TRUE(String().equalsIgnoreCase(NO_TEXT));
    EXPECT_TRUE(String() == NO_TEXT);
    EXPECT_TRUE(NO_TEXT < String("a"));
}

TEST(String, EqualityLooksAfterNuls)
{
    EXPECT_FALSE(WITH_NUL == String("ab"));
    EXPECT_FALSE(WITH_NUL.equals("ab"));
    EXPECT_TRUE(WITH_NUL == String("ab\0cd", 5));
    EXPECT_FALSE(WITH_NUL == String("ab\0ce", 5));
    EXPECT_FALSE(WITH_NUL.equalsIgnoreCase(String("ab\0XY", 5)));
    EXPECT_TRUE(WITH_NUL.equalsIgnoreCase(String("AB\0CD", 5)));
}

TEST(String, OperatorsAgreeOnStringsAndTexts)
{
    const String b("b");
    EXPECT_TRUE(b == "b" && "b" == b && b == String("b"));
    EXPECT_TRUE(b != "c" && "c" != b && b != String("c"));
    EXPECT_TRUE(b < "c" && "a" < b && b < String("c"));
    EXPECT_TRUE(b <= "b" && "b" <= b && b <= String("b"));
    EXPECT_TRUE(b > "a" && "c" > b && b > String("a"));
    EXPECT_TRUE(b >= "b" && "b" >= b && b >= String("b"));
    EXPECT_FALSE(b < "b" || "b" < b || b > "b" || "b" > b);
    EXPECT_FALSE(b <= "a" || "c" <= b || b >= "c" || "a" >= b);
    EXPECT_TRUE(b == std::string("b"));
}

TEST(String, IgnoresTheCaseOfAsciiLettersOnly)
{
    EXPECT_TRUE(String("Content-TYPE").equalsIgnoreCase("content-type"));
    EXPECT_TRUE(String("az").equalsIgnoreCase(String("AZ")));
    EXPECT_FALSE(String("abc").equalsIgnoreCase("abcd"));
    EXPECT_FALSE(String("[").equalsIgnoreCase("{"));
    EXPECT_FALSE(String("@").equalsIgnoreCase("`"));
    EXPECT_FALSE(String("\xc3\x84").equalsIgnoreCase("\xc3\xa4"));
    EXPECT_FALSE(String("k").equalsIgnoreCase("\xe2\x84\xaa"));
}

TEST(String, ConcatenatesTextsAndCharacters)
{
    String text("ab");
    text.concat("c").concat(String("d")).concat('e').concat(NO_TEXT).concat("");
    EXPECT_EQ("abcde", bytesOf(text));
    text += "f";
    text += String("g");
    text += 'h';
    EXPECT_EQ("abcdefgh", bytesOf(text));
    text += text;
    EXPECT_EQ("abcdefghabcdefgh", bytesOf(text));
}

TEST(String, ConcatenationKeepsNuls)
{
    EXPECT_EQ(std::string("xab\0cd", 6), bytesOf(String("x") + WITH_NUL));
    EXPECT_EQ(std::string("ab\0cdx", 6), bytesOf(WITH_NUL + "x"));
    EXPECT_EQ(std::string("x\0", 2), bytesOf(String("x") + '\0'));
    EXPECT_EQ(std::string("x\0", 2), bytesOf(String("x").concat('\0')));
    String text(WITH_NUL);
    text += WITH_NUL;
    EXPECT_EQ(std::string("ab\0cdab\0cd", 10), bytesOf(text));
}

TEST(String, AddsStringsTextsAndCharacters)
{
    const String b("b");
    EXPECT_EQ("bb", bytesOf(b + b));
    EXPECT_EQ("ab", bytesOf("a" + b));
    EXPECT_EQ("bc", bytesOf(b + "c"));
    EXPECT_EQ("ab", bytesOf('a' + b));
    EXPECT_EQ("bc", bytesOf(b + 'c'));
    EXPECT_EQ("b", bytesOf(b + NO_TEXT));
    EXPECT_EQ("b", bytesOf(b));
}

TEST(String, ConvertsTheCaseOfAsciiLettersOnly)
{
    String original("aB@[`{Z\xc3\x84");
    String copy(original);
    EXPECT_EQ("ab@[`{z\xc3\x84", bytesOf(copy.toLowerCase()));
    EXPECT_EQ("aB@[`{Z\xc3\x84", bytesOf(original));
    EXPECT_EQ(std::string("ab\0cd", 5), bytesOf(String("AB\0CD", 5).toLowerCase()));
}

TEST(String, TokenizesAtEachDelimiter)
{
    EXPECT_EQ("[HTTP/1.1][200][OK]", joined(String("HTTP/1.1 200  OK\r\n").tokenize()));
    EXPECT_EQ("[a\fb]", joined(String("\va\fb\t").tokenize()));
    const String printable("!\"#$%&'()*+,-./0123456789:;<=>?@ABCXYZ[\\]^_`abcxyz{|}~");
    EXPECT_EQ("[" + std::string(printable.c_str()) + "]", joined(printable.tokenize()));
    EXPECT_EQ("[a][b]", joined(String(",a,,b,").tokenize(",")));
    EXPECT_EQ("[a][b][c]", joined(String("a,b;c").tokenize(",;")));
    EXPECT_EQ("[a b]", joined(String("a b").tokenize("")));
    EXPECT_EQ("[a b]", joined(String("a b").tokenize(NO_TEXT)));
    EXPECT_EQ("", joined(String().tokenize()));
    EXPECT_EQ("", joined(String(",,").tokenize(",")));
    EXPECT_EQ(std::string("[a\0b][c]", 8), joined(String("a\0b,c", 5).tokenize(",")));
}

TEST(String, IsWrittenWithAllItsBytes)
{
    std::ostringstream out;
    out << WITH_NUL << String();
    EXPECT_EQ(std::string("ab\0cd", 5), out.str());
}

TEST(String, LeavesAStreamsWidthToTheNextItem)
{
    std::ostringstream out;
    out << std::setw(6) << std::setfill('*') << String("ab") << 5;
    EXPECT_EQ("ab*****5", out.str());
}

TEST(String, ErasesAll)
{
    String text("abcdef");
    EXPECT_EQ("", bytesOf(text.erase()));
    EXPECT_TRUE(text.empty());
}

TEST(String, LooksAtItsLastCharacter)
{
    EXPECT_TRUE(String("abc").endsWith('c'));
    EXPECT_FALSE(String("abc").endsWith('b'));
    EXPECT_FALSE(String().endsWith('\0'));
}

TEST(String, ToStringIsACopy)
{
    EXPECT_EQ(WITH_NUL, WITH_NUL.toString());
}
