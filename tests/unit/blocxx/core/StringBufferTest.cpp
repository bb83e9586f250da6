#include "blocxx/StringBuffer.hpp"

#include "support/GroupingLocale.hpp"

#include "blocxx/Bool.hpp"

#include <gtest/gtest.h>

#include <iomanip>
#include <sstream>
#include <stdexcept>
#include <string>
#include <utility>

using blocxx::String;
using blocxx::StringBuffer;

namespace
{

std::string bytesOf(const StringBuffer& buffer)
{
    return std::string(buffer.c_str(), buffer.length());
}

} // namespace

TEST(StringBuffer, StartsEmptyWithRoomFor128Bytes)
{
    const StringBuffer buffer;
    EXPECT_EQ(0U, buffer.length());
    EXPECT_EQ(128U, buffer.allocated());
    EXPECT_STREQ("", buffer.c_str());
    EXPECT_EQ(128U, StringBuffer(std::size_t{0}).allocated());
    EXPECT_EQ(7U, StringBuffer(7).allocated());
}

TEST(StringBuffer, TakesTextsWithRoomForMore)
{
    EXPECT_EQ("abc", bytesOf(StringBuffer("abc")));
    EXPECT_EQ(131U, StringBuffer("abc").allocated());
    EXPECT_EQ(std::string("a\0b", 3), bytesOf(StringBuffer(String("a\0b", 3))));
    EXPECT_EQ("", bytesOf(StringBuffer(static_cast<const char*>(nullptr))));
}

TEST(StringBuffer, GrowsToTwiceItsSizeAndWhatIsAdded)
{
    StringBuffer byCharacters(4);
    byCharacters.append('a').append('b').append('c');
    EXPECT_EQ(4U, byCharacters.allocated());
    byCharacters.append('d');
    EXPECT_EQ(9U, byCharacters.allocated());
    EXPECT_EQ(12U, StringBuffer(4).append("abc").allocated());
    EXPECT_EQ(4U, StringBuffer(4).append("ab").allocated());
}

TEST(StringBuffer, AppendsAllBytesNulsIncluded)
{
    StringBuffer buffer;
    buffer.append("a\0b", 3).append('\0').append(String("c\0", 2)).append(StringBuffer("d")).append("e");
    EXPECT_EQ(std::string("a\0b\0c\0de", 8), bytesOf(buffer));
    EXPECT_EQ(8U, buffer.toString().length());
    EXPECT_EQ('\0', buffer.c_str()[8]);
}

TEST(StringBuffer, AppendsNothingForANullText)
{
    StringBuffer buffer("a");
    buffer.append(static_cast<const char*>(nullptr)).append(nullptr, 5);
    EXPECT_EQ("a", bytesOf(buffer));
}

TEST(StringBuffer, CanBeAppendedToItself)
{
    StringBuffer buffer(4);
    buffer.append("abc");
    for (int i = 0; i < 5; ++i)
    {
        buffer.append(buffer);
    }
    EXPECT_EQ(96U, buffer.length());
    EXPECT_EQ("abcabc", bytesOf(buffer).substr(90));
    buffer.reset();
    buffer.append("0123456789").append(buffer.c_str() + 8);
    EXPECT_EQ("012345678989", bytesOf(buffer));
}

TEST(StringBuffer, AddsNumbersAsDecimals)
{
    StringBuffer buffer;
    buffer += static_cast<unsigned char>(65);
    buffer += ' ';
    buffer += static_cast<signed char>(-3);
    buffer += static_cast<unsigned short>(65535);
    buffer += static_cast<short>(-1);
    buffer += 4294967295U;
    buffer += -2;
    buffer += 18446744073709551615UL;
    buffer += -4L;
    buffer += true;
    EXPECT_EQ("65 -365535-14294967295-218446744073709551615-41", bytesOf(buffer));
}

TEST(StringBuffer, AddsRealNumbers)
{
    StringBuffer buffer;
    buffer += 1.5F;
    buffer += ' ';
    buffer += 0.1;
    buffer += ' ';
    buffer += 1.0F / 3;
    buffer += ' ';
    buffer += 1.0 / 3;
    EXPECT_EQ("1.5 0.1 0.33333334 0.3333333333333333", bytesOf(buffer));
}

TEST(StringBuffer, TheLocaleChangesNothingInItsNumbers)
{
    const zol_test::GroupingLocale grouping;
    StringBuffer buffer;
    buffer += 1234567;
    buffer += ' ';
    buffer += 1234567.5;
    EXPECT_EQ("1234567 1234567.5", bytesOf(buffer));
}

TEST(StringBuffer, ALengthThatNoMemoryHoldsIsRefusedAndChangesNothing)
{
    StringBuffer buffer("abc");
    const std::size_t allocated = buffer.allocated();
    for (const std::size_t length : {static_cast<std::size_t>(-1), static_cast<std::size_t>(-200)})
    {
        EXPECT_THROW(buffer.append("x", length), std::length_error);
    }
    EXPECT_EQ("abc", bytesOf(buffer));
    EXPECT_EQ(allocated, buffer.allocated());
}

TEST(StringBuffer, AddsTextsAndBools)
{
    StringBuffer buffer;
    buffer += "a";
    buffer += String("b");
    buffer += StringBuffer("c");
    buffer += blocxx::Bool(true);
    buffer += blocxx::Bool(false);
    EXPECT_EQ("abctruefalse", bytesOf(buffer));
}

TEST(StringBuffer, CopiesAreDeepAndKeepTheRoom)
{
    StringBuffer original(500);
    original.append("abc");
    StringBuffer copy(original);
    EXPECT_EQ(500U, copy.allocated());
    copy.append('d');
    EXPECT_EQ("abc", bytesOf(original));
    original = copy;
    copy.reset();
    EXPECT_EQ("abcd", bytesOf(original));
    original = String("s");
    EXPECT_EQ("s", bytesOf(original));
    original = "c";
    EXPECT_EQ("c", bytesOf(original));
}

TEST(StringBuffer, ABufferThatWasMovedFromIsEmptyAndUsable)
{
    StringBuffer source("abc");
    StringBuffer target(std::move(source));
    EXPECT_EQ("abc", bytesOf(target));
    source.append("new"); // NOLINT: that it can be used again is the point
    EXPECT_EQ("new", bytesOf(source));
    target = std::move(source);
    EXPECT_EQ("new", bytesOf(target));
}

TEST(StringBuffer, SwapsContentAndRoom)
{
    StringBuffer left(10);
    StringBuffer right("abc");
    left.swap(right);
    EXPECT_EQ("abc", bytesOf(left));
    EXPECT_EQ(10U, right.allocated());
}

TEST(StringBuffer, IndexingIsNulBeyondTheEnd)
{
    const StringBuffer buffer("ab");
    EXPECT_EQ('b', buffer[1]);
    EXPECT_EQ('\0', buffer[2]);
    EXPECT_EQ('\0', buffer[1000]);
}

TEST(StringBuffer, ReleaseMovesEverythingOutAndLeavesAUsableEmptyBuffer)
{
    StringBuffer buffer;
    buffer.append('a').append('\0').append('b');
    EXPECT_EQ(String("a\0b", 3), buffer.releaseString());
    EXPECT_EQ(0U, buffer.length());
    EXPECT_EQ(1U, buffer.allocated());
    EXPECT_STREQ("", buffer.c_str());
    EXPECT_TRUE(buffer.toString().empty());
    buffer.reset();
    buffer.truncate(0);
    buffer.append("again");
    EXPECT_EQ("again", buffer.releaseString());
    EXPECT_EQ("", buffer.releaseString());
}

TEST(StringBuffer, TruncateOnlyShortens)
{
    StringBuffer buffer("abcdef");
    buffer.truncate(6);
    buffer.truncate(100);
    EXPECT_EQ("abcdef", bytesOf(buffer));
    buffer.truncate(2);
    EXPECT_EQ("ab", bytesOf(buffer));
    EXPECT_EQ(134U, buffer.allocated());
    buffer.reset();
    EXPECT_EQ("", bytesOf(buffer));
    EXPECT_EQ(134U, buffer.allocated());
}

TEST(StringBuffer, ChopsTheLastByteIfThereIsOne)
{
    StringBuffer buffer("a");
    buffer.chop();
    EXPECT_EQ("", bytesOf(buffer));
    buffer.chop();
    EXPECT_EQ("", bytesOf(buffer));
}

TEST(StringBuffer, TrimsBothEnds)
{
    StringBuffer buffer(" \t\n\v\f\r x y \r\n");
    buffer.trim();
    EXPECT_EQ("x y", bytesOf(buffer));
    StringBuffer blank("  ");
    blank.trim();
    EXPECT_EQ("", bytesOf(blank));
}

TEST(StringBuffer, LooksAtItsEnds)
{
    EXPECT_TRUE(StringBuffer("ab").startsWith('a'));
    EXPECT_FALSE(StringBuffer("ab").startsWith('b'));
    EXPECT_TRUE(StringBuffer("ab").endsWith('b'));
    EXPECT_FALSE(StringBuffer().startsWith('\0'));
    EXPECT_FALSE(StringBuffer().endsWith('\0'));
}

TEST(StringBuffer, ComparesAllBytes)
{
    const StringBuffer withNul(String("a\0b", 3));
    EXPECT_TRUE(withNul == StringBuffer(String("a\0b", 3)));
    EXPECT_TRUE(withNul == String("a\0b", 3));
    EXPECT_TRUE(String("a\0b", 3) == withNul);
    EXPECT_FALSE(withNul.equals("a"));
    EXPECT_TRUE(withNul != StringBuffer("a"));
    EXPECT_TRUE(withNul != String("a\0c", 3));
    EXPECT_TRUE(String("a") != withNul);
    EXPECT_TRUE(StringBuffer().equals(static_cast<const char*>(nullptr)));
    EXPECT_TRUE(StringBuffer("x").equals(StringBuffer("x")));
}

TEST(StringBuffer, IsWrittenWithAllItsBytesWhateverTheWidth)
{
    std::ostringstream out;
    out << std::setw(6) << StringBuffer(String("a\0b", 3)) << 5;
    EXPECT_EQ(std::string("a\0b     5", 9), out.str());
}
