#include "blocxx/BaseStreamBuffer.hpp"

#include "ProbeBuffer.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <istream>
#include <ostream>
#include <string>

using blocxx::BaseStreamBuffer;
using testing::ElementsAre;
using zol_test::ProbeBuffer;
using zol_test::readBlock;

TEST(BaseStreamBufferInput, RefillAsksOnceForTheWholeBufferAndHandsOverWhatArrived)
{
    ProbeBuffer buffer(BaseStreamBuffer::E_IN, 16);
    buffer.input = {ProbeBuffer::data("abc")};
    EXPECT_EQ(buffer.sgetc(), 'a');
    EXPECT_EQ(buffer.in_avail(), 3);
    EXPECT_THAT(buffer.asked, ElementsAre(16));
}

TEST(BaseStreamBufferInput, ByteFFIsNotTheEnd)
{
    ProbeBuffer buffer(BaseStreamBuffer::E_IN, 16);
    buffer.input = {ProbeBuffer::data("\xff")};
    EXPECT_EQ(buffer.sbumpc(), 0xff);
    EXPECT_EQ(buffer.sbumpc(), std::char_traits<char>::eof());
}

TEST(BaseStreamBufferInput, SmallReadsCopyRunsOutOfTheBuffer)
{
    ProbeBuffer buffer(BaseStreamBuffer::E_IN, 16);
    buffer.input = {ProbeBuffer::data("0123456789"), ProbeBuffer::data("abcdef")};
    std::istream stream(&buffer);
    EXPECT_EQ(readBlock(stream, 4), "0123");
    EXPECT_EQ(readBlock(stream, 8), "456789ab");
    EXPECT_EQ(readBlock(stream, 4), "cdef");
    EXPECT_TRUE(stream.good());
    EXPECT_THAT(buffer.asked, ElementsAre(16, 16));
}

TEST(BaseStreamBufferInput, ReadOfTheBuffersSizeGoesStraightToTheCaller)
{
    ProbeBuffer buffer(BaseStreamBuffer::E_IN, 8);
    char block[8];
    char* seen = nullptr;
    buffer.input = {[&](char* to, int room)
                    {
                        seen = to;
                        return ProbeBuffer::fill()(to, room);
                    }};
    EXPECT_EQ(buffer.sgetn(block, 8), 8);
    EXPECT_EQ(seen, block);
}

TEST(BaseStreamBufferInput, ReadOfOneByteLessThanTheBuffersSizeGoesThroughTheBuffer)
{
    ProbeBuffer buffer(BaseStreamBuffer::E_IN, 8);
    char block[8];
    char* seen = nullptr;
    buffer.input = {[&](char* to, int room)
                    {
                        seen = to;
                        return ProbeBuffer::fill()(to, room);
                    }};
    EXPECT_EQ(buffer.sgetn(block, 7), 7);
    EXPECT_NE(seen, block);
    EXPECT_THAT(buffer.asked, ElementsAre(8));
    EXPECT_EQ(buffer.in_avail(), 1);
}

TEST(BaseStreamBufferInput, LargeReadAsksForAtMostTheBuffersSizeAtATime)
{
    ProbeBuffer buffer(BaseStreamBuffer::E_IN, 8);
    buffer.input = {ProbeBuffer::fill(), ProbeBuffer::data("abc"), ProbeBuffer::fill(), ProbeBuffer::fill()};
    std::istream stream(&buffer);
    EXPECT_EQ(readBlock(stream, 20), "xxxxxxxxabcxxxxxxxxx");
    EXPECT_THAT(buffer.asked, ElementsAre(8, 8, 8, 1));
    EXPECT_TRUE(stream.good());
}

TEST(BaseStreamBufferInput, LargeReadTakesWhatIsBufferedFirst)
{
    ProbeBuffer buffer(BaseStreamBuffer::E_IN, 8);
    buffer.input = {ProbeBuffer::data("abc"), ProbeBuffer::fill()};
    std::istream stream(&buffer);
    EXPECT_EQ(stream.get(), 'a');
    EXPECT_EQ(readBlock(stream, 8), "bcxxxxxx");
    EXPECT_THAT(buffer.asked, ElementsAre(8, 6));
}

TEST(BaseStreamBufferInput, OrderlyEndGivesEofAndFailButNeverBad)
{
    ProbeBuffer buffer(BaseStreamBuffer::E_IN, 8);
    buffer.input = {ProbeBuffer::data("abc"), ProbeBuffer::result(0)};
    std::istream stream(&buffer);
    buffer.reportErrorsTo(&stream);
    EXPECT_EQ(readBlock(stream, 5), "abc");
    EXPECT_EQ(stream.rdstate(), std::ios::eofbit | std::ios::failbit);
    EXPECT_EQ(buffer.inputState(), BaseStreamBuffer::E_INPUT_ENDED);
    EXPECT_EQ(buffer.inputError(), 0);
}

TEST(BaseStreamBufferInput, OrderlyEndIsNotSticky)
{
    ProbeBuffer buffer(BaseStreamBuffer::E_IN, 8);
    buffer.input = {ProbeBuffer::result(0), ProbeBuffer::data("more")};
    std::istream stream(&buffer);
    EXPECT_EQ(stream.get(), std::char_traits<char>::eof());
    EXPECT_EQ(buffer.inputState(), BaseStreamBuffer::E_INPUT_ENDED);
    stream.clear();
    EXPECT_EQ(readBlock(stream, 4), "more");
    EXPECT_EQ(buffer.inputState(), BaseStreamBuffer::E_INPUT_OPEN);
}

TEST(BaseStreamBufferInput, LineEndedByTheEndShowsEofOnly)
{
    ProbeBuffer buffer(BaseStreamBuffer::E_IN, 8);
    buffer.input = {ProbeBuffer::data("abc")};
    std::istream stream(&buffer);
    std::string line;
    std::getline(stream, line);
    EXPECT_EQ(line, "abc");
    EXPECT_EQ(stream.rdstate(), std::ios::eofbit);
}

TEST(BaseStreamBufferInput, NegativeResultEndsAPlainSubclass)
{
    ProbeBuffer buffer(BaseStreamBuffer::E_IN, 8, ProbeBuffer::E_NEGATIVE_ENDS);
    buffer.input = {ProbeBuffer::data("abc"), ProbeBuffer::result(-1, EIO)};
    std::istream stream(&buffer);
    buffer.reportErrorsTo(&stream);
    EXPECT_EQ(readBlock(stream, 5), "abc");
    EXPECT_EQ(stream.rdstate(), std::ios::eofbit | std::ios::failbit);
    EXPECT_EQ(buffer.inputState(), BaseStreamBuffer::E_INPUT_ENDED);
}

TEST(BaseStreamBufferInput, DefaultHooksEndTheInputAndRefuseOutput)
{
    BaseStreamBuffer buffer(BaseStreamBuffer::E_IN_OUT);
    EXPECT_EQ(buffer.sgetc(), std::char_traits<char>::eof());
    EXPECT_EQ(buffer.inputState(), BaseStreamBuffer::E_INPUT_ENDED);
    std::ostream stream(&buffer);
    stream << 'x' << std::flush;
    EXPECT_TRUE(stream.bad());
    EXPECT_EQ(buffer.outputError(), ENOTSUP);
}

TEST(BaseStreamBufferInput, PutbackReachesTheStartOfTheRefillAndNoFurther)
{
    ProbeBuffer buffer(BaseStreamBuffer::E_IN, 8);
    buffer.input = {ProbeBuffer::data("ab"), ProbeBuffer::data("cd")};
    std::istream stream(&buffer);
    EXPECT_EQ(readBlock(stream, 3), "abc");
    stream.unget();
    EXPECT_TRUE(stream.good());
    EXPECT_EQ(stream.peek(), 'c');
    stream.unget();
    EXPECT_TRUE(stream.bad());
}

TEST(BaseStreamBufferInput, NothingCanBePutBackAfterAStraightRead)
{
    ProbeBuffer buffer(BaseStreamBuffer::E_IN, 4);
    buffer.input = {ProbeBuffer::data("ab"), ProbeBuffer::data("cdef")};
    std::istream stream(&buffer);
    EXPECT_EQ(readBlock(stream, 6), "abcdef");
    stream.unget();
    EXPECT_TRUE(stream.bad());
}

TEST(BaseStreamBufferInput, WhatWasHeldBeforeAStraightReadCannotBePutBackBehindIt)
{
    ProbeBuffer buffer(BaseStreamBuffer::E_IN, 4);
    buffer.input = {ProbeBuffer::data("ab"), ProbeBuffer::data("cdef")};
    std::istream stream(&buffer);
    EXPECT_EQ(readBlock(stream, 1), "a");
    EXPECT_EQ(readBlock(stream, 5), "bcdef");
    stream.unget();
    EXPECT_TRUE(stream.bad());
}

TEST(BaseStreamBufferInput, OutputOnlyBufferHasNoInput)
{
    ProbeBuffer buffer(BaseStreamBuffer::E_OUT, 8);
    char block[16];
    EXPECT_EQ(buffer.sgetc(), std::char_traits<char>::eof());
    EXPECT_EQ(buffer.sgetn(block, 16), 0);
    EXPECT_TRUE(buffer.asked.empty());
}

TEST(BaseStreamBufferInput, ResetDropsUnreadBytesAndOpensTheInputAgain)
{
    ProbeBuffer buffer(BaseStreamBuffer::E_IN, 8);
    buffer.input = {ProbeBuffer::data("abc"), ProbeBuffer::result(-1, EIO), ProbeBuffer::data("new")};
    std::istream stream(&buffer);
    EXPECT_EQ(readBlock(stream, 3), "abc");
    buffer.sgetc();
    buffer.reset();
    EXPECT_EQ(buffer.inputState(), BaseStreamBuffer::E_INPUT_OPEN);
    EXPECT_EQ(buffer.inputError(), 0);
    EXPECT_EQ(buffer.sgetc(), 'n');
    buffer.reset();
    EXPECT_EQ(buffer.in_avail(), 0);
}

TEST(BaseStreamBufferInput, SizeZeroCountsAsOne)
{
    ProbeBuffer buffer(BaseStreamBuffer::E_IN, 0);
    buffer.input = {ProbeBuffer::data("a"), ProbeBuffer::data("b")};
    std::istream stream(&buffer);
    EXPECT_EQ(readBlock(stream, 2), "ab");
    EXPECT_THAT(buffer.asked, ElementsAre(1, 1));
}

TEST(BaseStreamBufferInput, SizeBeyondIntIsClippedToIt)
{
    // The buffer is allocated when it is first needed, and a straight read needs none.
    ProbeBuffer buffer(BaseStreamBuffer::E_OUT, static_cast<std::size_t>(-1));
    buffer.sputn("abc", 3);
    buffer.pubsync();
    EXPECT_THAT(buffer.blocks, ElementsAre("abc"));
}

TEST(BaseStreamBuffer, CannotSeek)
{
    ProbeBuffer buffer(BaseStreamBuffer::E_IN_OUT, 8);
    EXPECT_EQ(buffer.pubseekoff(0, std::ios::beg), std::streampos(-1));
    EXPECT_EQ(buffer.pubseekpos(0), std::streampos(-1));
}
