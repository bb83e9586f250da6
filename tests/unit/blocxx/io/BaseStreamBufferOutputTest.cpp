#include "ProbeBuffer.hpp"
#include "support/Allocations.hpp"

#include "blocxx/BaseStreamBuffer.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <ostream>
#include <stdexcept>
#include <string>

using blocxx::BaseStreamBuffer;
using testing::ElementsAre;
using zol_test::bytes;
using zol_test::ProbeBuffer;

TEST(BaseStreamBufferOutput, WriteThatExactlyFillsTheBufferDoesNotFlush)
{
    ProbeBuffer buffer(BaseStreamBuffer::E_OUT, 8);
    EXPECT_EQ(buffer.sputn("abc", 3), 3);
    EXPECT_EQ(buffer.sputn("defgh", 5), 5);
    EXPECT_TRUE(buffer.blocks.empty());
    buffer.sputc('i');
    EXPECT_THAT(buffer.blocks, ElementsAre("abcdefgh"));
    buffer.pubsync();
    EXPECT_THAT(buffer.blocks, ElementsAre("abcdefgh", "i"));
}

TEST(BaseStreamBufferOutput, SmallWritesShareOneAllocation)
{
    ProbeBuffer buffer(BaseStreamBuffer::E_OUT, 65536);
    const auto writes = [&]
    {
        for (int i = 0; i < 1000; ++i)
        {
            buffer.sputn("abcd", 4);
        }
    };
    EXPECT_LE(zol_test::allocationsOf(writes).count, 1U); // arrays are not counted below a sanitizer
    EXPECT_TRUE(buffer.blocks.empty());
}

TEST(BaseStreamBufferOutput, BlocksAreOfTheBuffersSizeExceptTheLast)
{
    for (const std::size_t size : {std::size_t(5000), std::size_t(8), std::size_t(4096)})
    {
        ProbeBuffer buffer(BaseStreamBuffer::E_OUT, size);
        const std::string text = bytes(3 * size + 7);
        buffer.sputn(text.data(), 3);
        buffer.sputn(text.data() + 3, static_cast<std::streamsize>(text.size() - 3));
        buffer.pubsync();
        EXPECT_THAT(buffer.blocks, ElementsAre(text.substr(0, size), text.substr(size, size),
                                               text.substr(2 * size, size), text.substr(3 * size)));
    }
}

TEST(BaseStreamBufferOutput, BlocksAreTheSameWhenWrittenByteByByte)
{
    ProbeBuffer buffer(BaseStreamBuffer::E_OUT, 5000);
    const std::string text = bytes(12000);
    for (const char c : text)
    {
        buffer.sputc(c);
    }
    buffer.pubsync();
    EXPECT_THAT(buffer.blocks, ElementsAre(text.substr(0, 5000), text.substr(5000, 5000), text.substr(10000)));
}

TEST(BaseStreamBufferOutput, WriteOfTheBuffersSizeGoesStraightToTheDevice)
{
    ProbeBuffer buffer(BaseStreamBuffer::E_OUT, 8);
    buffer.sputn("12345678", 8);
    EXPECT_THAT(buffer.blocks, ElementsAre("12345678"));
}

TEST(BaseStreamBufferOutput, WriteOfOneByteLessThanTheBuffersSizeStaysInTheBuffer)
{
    ProbeBuffer buffer(BaseStreamBuffer::E_OUT, 8);
    buffer.sputn("1234567", 7);
    EXPECT_TRUE(buffer.blocks.empty());
}

TEST(BaseStreamBufferOutput, SyncWithNothingPendingSucceedsWithoutTheDevice)
{
    ProbeBuffer out(BaseStreamBuffer::E_OUT, 8);
    out.outputResults = {-1};
    EXPECT_EQ(out.pubsync(), 0);
    ProbeBuffer in(BaseStreamBuffer::E_IN, 8);
    EXPECT_EQ(in.pubsync(), 0);
    EXPECT_TRUE(out.blocks.empty());
}

TEST(BaseStreamBufferOutput, AnyNegativeResultOfAFlushIsAFailure)
{
    for (const int result : {-1, -2})
    {
        ProbeBuffer buffer(BaseStreamBuffer::E_OUT, 8);
        buffer.outputResults = {result};
        std::ostream stream(&buffer);
        stream << "abc" << std::flush;
        EXPECT_TRUE(stream.bad()) << result;
    }
}

TEST(BaseStreamBufferOutput, PositiveResultOfAFlushIsASuccess)
{
    ProbeBuffer buffer(BaseStreamBuffer::E_OUT, 8);
    buffer.outputResults = {1};
    std::ostream stream(&buffer);
    stream << "abc" << std::flush;
    EXPECT_TRUE(stream.good());
}

TEST(BaseStreamBufferOutput, BytesOfAFailedFlushAreLost)
{
    ProbeBuffer buffer(BaseStreamBuffer::E_OUT, 8);
    buffer.outputResults = {-1};
    buffer.sputn("abc", 3);
    EXPECT_EQ(buffer.pubsync(), -1);
    buffer.sputn("def", 3);
    EXPECT_EQ(buffer.pubsync(), 0);
    EXPECT_THAT(buffer.blocks, ElementsAre("abc", "def"));
}

TEST(BaseStreamBufferOutput, BlockWriteReturnsHowManyBytesWereAcceptedBeforeTheFailure)
{
    ProbeBuffer buffer(BaseStreamBuffer::E_OUT, 8);
    buffer.outputResults = {0, -1};
    const std::string text = bytes(30);
    EXPECT_EQ(buffer.sputn(text.data(), 30), 8);

    ProbeBuffer filled(BaseStreamBuffer::E_OUT, 8);
    filled.outputResults = {-1};
    filled.sputn("abc", 3);
    EXPECT_EQ(filled.sputn(text.data(), 30), 5);

    ProbeBuffer streamed(BaseStreamBuffer::E_OUT, 8);
    streamed.outputResults = {-1};
    std::ostream stream(&streamed);
    stream.write(text.data(), 30);
    EXPECT_TRUE(stream.bad());
}

TEST(BaseStreamBufferOutput, FailingFlushOfAFullBufferRefusesTheByte)
{
    ProbeBuffer buffer(BaseStreamBuffer::E_OUT, 2);
    buffer.outputResults = {-1};
    buffer.sputn("a", 1);
    buffer.sputn("b", 1);
    EXPECT_EQ(buffer.sputc('c'), std::char_traits<char>::eof());
}

TEST(BaseStreamBufferOutput, ExceptionOfTheDeviceMakesTheStreamBad)
{
    ProbeBuffer buffer(BaseStreamBuffer::E_OUT, 8);
    buffer.duringOutput = [] { throw std::runtime_error("device"); };
    std::ostream stream(&buffer);
    stream << "abc" << std::flush;
    EXPECT_TRUE(stream.bad());
    buffer.duringOutput = nullptr;
    EXPECT_EQ(buffer.pubsync(), 0);
    EXPECT_TRUE(buffer.blocks.empty());
}

TEST(BaseStreamBufferOutput, OverflowWithoutAByteTellsWhetherTheFlushWorked)
{
    const int eof = std::char_traits<char>::eof();
    ProbeBuffer buffer(BaseStreamBuffer::E_OUT, 8);
    buffer.outputResults = {0, -1};
    buffer.sputn("a", 1);
    EXPECT_NE(buffer.overflow(eof), eof);
    buffer.sputn("a", 1);
    EXPECT_EQ(buffer.overflow(eof), eof);
}

TEST(BaseStreamBufferOutput, ByteFFIsWritten)
{
    ProbeBuffer buffer(BaseStreamBuffer::E_OUT, 2);
    EXPECT_EQ(buffer.sputc('\xff'), 0xff);
    buffer.pubsync();
    EXPECT_THAT(buffer.blocks, ElementsAre("\xff"));
}

TEST(BaseStreamBufferOutput, InputOnlyBufferRefusesBytesWithoutTheDevice)
{
    ProbeBuffer buffer(BaseStreamBuffer::E_IN, 8);
    EXPECT_EQ(buffer.sputc('a'), std::char_traits<char>::eof());
    EXPECT_EQ(buffer.sputn("abcdefghijk", 11), 0);
    EXPECT_TRUE(buffer.blocks.empty());
}

TEST(BaseStreamBufferOutput, ResetDropsPendingBytes)
{
    ProbeBuffer buffer(BaseStreamBuffer::E_IN_OUT, 8);
    buffer.sputn("abc", 3);
    buffer.reset();
    buffer.pubsync();
    EXPECT_TRUE(buffer.blocks.empty());
}

TEST(BaseStreamBufferOutput, DirectionsDoNotDisturbEachOther)
{
    ProbeBuffer buffer(BaseStreamBuffer::E_IN_OUT, 8);
    buffer.input = {ProbeBuffer::data("in")};
    buffer.sputn("out", 3);
    EXPECT_EQ(buffer.sbumpc(), 'i');
    buffer.pubsync();
    EXPECT_EQ(buffer.sbumpc(), 'n');
    EXPECT_THAT(buffer.blocks, ElementsAre("out"));
}
