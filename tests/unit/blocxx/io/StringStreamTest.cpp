#include "blocxx/StringStream.hpp"

#include "support/Allocations.hpp"

#include <gtest/gtest.h>

#include <ios>
#include <iterator>
#include <string>

using blocxx::OStringStream;
using blocxx::OStringStreamBuf;
using blocxx::String;

TEST(OStringStream, CollectsWhatIsInserted)
{
    OStringStream out;
    out << "abc" << 5 << String("x");
    EXPECT_EQ("abc5x", out.toString());
    EXPECT_EQ(5U, out.length());
    EXPECT_STREQ("abc5x", out.c_str());
}

TEST(OStringStream, GrowsWithoutLimit)
{
    OStringStream out(3);
    out << "abcdefghijkl";
    EXPECT_EQ("abcdefghijkl", out.toString());
    std::string expected("abcdefghijkl");
    for (int i = 0; i < 5000; ++i)
    {
        out << static_cast<char>('a' + i % 26);
        expected += static_cast<char>('a' + i % 26);
    }
    EXPECT_EQ(expected, out.c_str());
}

TEST(OStringStream, TakesAtMostTwiceTheRoomThatItNeeds)
{
    blocxx::OStringStream stream(256);
    const std::string text(257, 'x');
    const zol_test::Allocations taken = zol_test::allocationsOf([&] { stream << text; });
    EXPECT_EQ(taken.count, 1U);
    EXPECT_LE(taken.bytes, 2 * text.size());
}

TEST(OStringStream, KeepsNuls)
{
    OStringStream out(2);
    out << 'a' << '\0' << String("b\0c", 3);
    out.write("\0", 1);
    EXPECT_EQ(String("a\0b\0c\0", 6), out.toString());
    EXPECT_EQ(String("a\0b\0c\0", 6), out.releaseString());
}

TEST(OStringStream, OfSizeZeroIsAnOrdinaryEmptyStream)
{
    OStringStream out(0);
    EXPECT_EQ("", out.toString());
    out << 'a' << "bc";
    EXPECT_EQ("abc", out.toString());
}

TEST(OStringStream, FlushesAndCannotSeek)
{
    OStringStream out;
    out << "a" << std::flush << std::endl;
    EXPECT_TRUE(out.good());
    EXPECT_EQ("a\n", out.toString());
    EXPECT_EQ(std::streampos(-1), out.tellp());
}

TEST(OStringStream, IsEmptyAndUsableAfterRelease)
{
    OStringStream out(4);
    out << "abcdef";
    EXPECT_EQ("abcdef", out.releaseString());
    EXPECT_EQ(0U, out.length());
    EXPECT_STREQ("", out.c_str());
    EXPECT_EQ("", out.toString());
    EXPECT_EQ("", out.releaseString());
    out << "new" << '!';
    EXPECT_TRUE(out.good());
    EXPECT_EQ("new!", out.toString());
}

TEST(OStringStream, ResetDropsEverythingWritten)
{
    OStringStream out;
    out << "abc";
    out.reset();
    out << "d";
    EXPECT_EQ("d", out.toString());
    EXPECT_STREQ("d", out.c_str());
}

TEST(OStringStream, CopiesHaveTheTextAndTheirOwnFlags)
{
    OStringStream original;
    original << std::hex << "n=";
    OStringStream copy(original);
    copy << 255;
    original << 255;
    EXPECT_EQ("n=255", copy.toString());
    EXPECT_EQ("n=ff", original.toString());
    const OStringStream empty;
    OStringStream copyOfEmpty(empty);
    copyOfEmpty << "abc";
    EXPECT_EQ("abc", copyOfEmpty.toString());
}

TEST(OStringStream, AssignmentReplacesTheText)
{
    OStringStream source;
    source << "abc";
    OStringStream target;
    target << "zz";
    target = source;
    EXPECT_EQ("abc", target.toString());
    target = *&target;
    EXPECT_EQ("abc", target.toString());
}

TEST(OStringStream, ANullTextSetsBadbit)
{
    OStringStream out;
    out << "a" << static_cast<const char*>(nullptr) << "b";
    EXPECT_TRUE(out.bad());
    EXPECT_EQ("a", out.toString());
}

TEST(OStringStreamBuf, WorksUnderAnyStream)
{
    OStringStreamBuf buffer(1);
    std::ostream out(&buffer);
    out << "ab" << 1;
    EXPECT_EQ("ab1", buffer.toString());
    EXPECT_EQ(3U, buffer.length());
    EXPECT_EQ("ab1", buffer.releaseString());
    EXPECT_EQ(0U, buffer.length());
}

TEST(OStringStreamBuf, IsABaseStreamBufferForOutput)
{
    OStringStreamBuf buffer(1);
    blocxx::BaseStreamBuffer& base = buffer;
    EXPECT_EQ(3, base.sputn("abc", 3));
    EXPECT_EQ(0, base.pubsync());
    EXPECT_EQ('d', base.sputc('d'));
    EXPECT_EQ(std::char_traits<char>::eof(), base.sgetc());
    EXPECT_EQ("abcd", buffer.toString());
}
