#include "blocxx/BaseStreamBuffer.hpp"

#include "ProbeBuffer.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <istream>
#include <ostream>
#include <stdexcept>
#include <string>

using blocxx::BaseStreamBuffer;
using testing::ElementsAre;
using zol_test::bytes;
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
    buffer.input = {ProbeBuffer::data("abc"), ProbeBuffer::answer(0)};
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
    buffer.input = {ProbeBuffer::answer(0), ProbeBuffer::data("more")};
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
    buffer.input = {ProbeBuffer::data("abc"), ProbeBuffer::answer(-1, EIO)};
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
}

class BaseStreamBufferFailure : public testing::TestWithParam<std::size_t>
{
protected:
    std::size_t wanted() const { return GetParam(); } // below and at the buffer's size of 8
};

TEST_P(BaseStreamBufferFailure, DataBeforeItIsDeliveredThenTheStreamIsBad)
{
    ProbeBuffer buffer(BaseStreamBuffer::E_IN, 8);
    buffer.input = {ProbeBuffer::data("abc"), ProbeBuffer::answer(-1, ECONNRESET)};
    std::istream stream(&buffer);
    buffer.reportErrorsTo(&stream);
    EXPECT_EQ(readBlock(stream, wanted()), "abc");
    EXPECT_TRUE(stream.bad());
    EXPECT_EQ(buffer.inputState(), BaseStreamBuffer::E_INPUT_FAILED);
    EXPECT_EQ(buffer.inputError(), ECONNRESET);
}

TEST_P(BaseStreamBufferFailure, IsRememberedWithoutAStreamToReportTo)
{
    ProbeBuffer buffer(BaseStreamBuffer::E_IN, 8);
    buffer.input = {ProbeBuffer::data("abc"), ProbeBuffer::answer(-1, ETIMEDOUT)};
    std::istream stream(&buffer);
    EXPECT_EQ(readBlock(stream, wanted()), "abc");
    EXPECT_EQ(stream.rdstate(), std::ios::eofbit | std::ios::failbit);
    EXPECT_EQ(buffer.inputState(), BaseStreamBuffer::E_INPUT_FAILED);
    EXPECT_EQ(buffer.inputError(), ETIMEDOUT);
}

TEST_P(BaseStreamBufferFailure, IsFinalAndTheDeviceIsNotAskedAgain)
{
    ProbeBuffer buffer(BaseStreamBuffer::E_IN, 8);
    buffer.input = {ProbeBuffer::answer(-1, EIO), ProbeBuffer::data("late")};
    std::istream stream(&buffer);
    buffer.reportErrorsTo(&stream);
    EXPECT_EQ(readBlock(stream, wanted()), "");
    const std::size_t asked = buffer.asked.size();
    stream.clear();
    EXPECT_EQ(readBlock(stream, wanted()), "");
    EXPECT_TRUE(stream.bad());
    EXPECT_EQ(buffer.asked.size(), asked);
}

TEST_P(BaseStreamBufferFailure, ThrowsAfterTheDataWhenTheStreamsMaskAsksForIt)
{
    ProbeBuffer buffer(BaseStreamBuffer::E_IN, 8);
    buffer.input = {ProbeBuffer::data("abc"), ProbeBuffer::answer(-1, EIO)};
    std::istream stream(&buffer);
    stream.exceptions(std::ios::badbit);
    buffer.reportErrorsTo(&stream);
    std::string block(wanted(), '\0');
    EXPECT_THROW(stream.read(block.data(), static_cast<std::streamsize>(block.size())), std::ios_base::failure);
    EXPECT_EQ(stream.gcount(), 3);
    EXPECT_EQ(block.substr(0, 3), "abc");
    EXPECT_TRUE(stream.bad());
}

TEST_P(BaseStreamBufferFailure, ByExceptionDeliversTheDataBeforeIt)
{
    ProbeBuffer buffer(BaseStreamBuffer::E_IN, 8);
    buffer.input = {ProbeBuffer::data("abc"), ProbeBuffer::exception()};
    std::istream stream(&buffer);
    buffer.reportErrorsTo(&stream);
    EXPECT_EQ(readBlock(stream, wanted()), "abc");
    EXPECT_TRUE(stream.bad());
    EXPECT_EQ(buffer.inputState(), BaseStreamBuffer::E_INPUT_FAILED);
    EXPECT_EQ(buffer.inputError(), EIO);
}

TEST_P(BaseStreamBufferFailure, ByExceptionWithNothingToDeliverPassesItOn)
{
    ProbeBuffer buffer(BaseStreamBuffer::E_IN, 8);
    buffer.input = {ProbeBuffer::exception()};
    std::istream stream(&buffer);
    stream.exceptions(std::ios::badbit);
    buffer.reportErrorsTo(&stream);
    EXPECT_THROW(readBlock(stream, wanted()), std::runtime_error);
    EXPECT_TRUE(stream.bad());
    EXPECT_EQ(buffer.inputState(), BaseStreamBuffer::E_INPUT_FAILED);
}

TEST_P(BaseStreamBufferFailure, ByExceptionWithoutAStreamToReportToPassesItOn)
{
    ProbeBuffer buffer(BaseStreamBuffer::E_IN, 8);
    buffer.input = {ProbeBuffer::data("abc"), ProbeBuffer::exception()};
    std::istream stream(&buffer);
    readBlock(stream, wanted());
    EXPECT_TRUE(stream.bad());
}

TEST_P(BaseStreamBufferFailure, IsAResultLargerThanTheRoom)
{
    ProbeBuffer buffer(BaseStreamBuffer::E_IN, 8);
    buffer.input = {ProbeBuffer::answer(9)};
    std::istream stream(&buffer);
    buffer.reportErrorsTo(&stream);
    EXPECT_EQ(readBlock(stream, wanted()), "");
    EXPECT_TRUE(stream.bad());
    EXPECT_EQ(buffer.inputError(), EIO);
}

INSTANTIATE_TEST_SUITE_P(ReadsOf, BaseStreamBufferFailure, testing::Values(7, 8));

TEST(BaseStreamBufferInput, FailureOfASingleByteReadIsReported)
{
    ProbeBuffer buffer(BaseStreamBuffer::E_IN, 8);
    buffer.input = {ProbeBuffer::answer(-1, ECONNRESET)};
    std::istream stream(&buffer);
    buffer.reportErrorsTo(&stream);
    EXPECT_EQ(stream.get(), std::char_traits<char>::eof());
    EXPECT_TRUE(stream.bad());
}

TEST(BaseStreamBufferInput, FailureWithoutReasonCountsAsInputOutputError)
{
    ProbeBuffer buffer(BaseStreamBuffer::E_IN, 8);
    buffer.input = {ProbeBuffer::answer(-1, 0)};
    buffer.sgetc();
    EXPECT_EQ(buffer.inputError(), EIO);
}

TEST(BaseStreamBufferInput, NullEndsTheReporting)
{
    ProbeBuffer buffer(BaseStreamBuffer::E_IN, 8);
    buffer.input = {ProbeBuffer::answer(-1, EIO)};
    std::istream stream(&buffer);
    buffer.reportErrorsTo(&stream);
    buffer.reportErrorsTo(nullptr);
    stream.get();
    EXPECT_FALSE(stream.bad());
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

TEST(BaseStreamBufferInput, OutputOnlyBufferHasNone)
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
    buffer.input = {ProbeBuffer::data("abc"), ProbeBuffer::answer(-1, EIO), ProbeBuffer::data("new")};
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
    // The memory is taken at the first need only, and a straight read needs none.
    ProbeBuffer buffer(BaseStreamBuffer::E_OUT, static_cast<std::size_t>(-1));
    buffer.sputn("abc", 3);
    buffer.pubsync();
    EXPECT_THAT(buffer.blocks, ElementsAre("abc"));
}

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
    for (const int answer : {-1, -2})
    {
        ProbeBuffer buffer(BaseStreamBuffer::E_OUT, 8);
        buffer.outputResults = {answer};
        std::ostream stream(&buffer);
        stream << "abc" << std::flush;
        EXPECT_TRUE(stream.bad()) << answer;
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

TEST(BaseStreamBuffer, CannotSeek)
{
    ProbeBuffer buffer(BaseStreamBuffer::E_IN_OUT, 8);
    EXPECT_EQ(buffer.pubseekoff(0, std::ios::beg), std::streampos(-1));
    EXPECT_EQ(buffer.pubseekpos(0), std::streampos(-1));
}

TEST(BaseStreamBuffer, DeviceCanCallItsEndAFailure)
{
    class CutDevice : public blocxx::BaseStreamBuffer
    {
    public:
        CutDevice() : BaseStreamBuffer(E_IN) {}

    protected:
        int buffer_from_device(char* to, int) override
        {
            if (m_delivered)
            {
                failInput(EPIPE, "cut");
                return -1;
            }
            m_delivered = true;
            *to = 'x';
            return 1;
        }

    private:
        bool m_delivered = false;
    };
    CutDevice buffer;
    std::istream in(&buffer);
    buffer.reportErrorsTo(&in);
    char read[10];
    in.read(read, sizeof(read));
    EXPECT_EQ(in.gcount(), 1);
    EXPECT_TRUE(in.bad());
    EXPECT_EQ(buffer.inputState(), blocxx::BaseStreamBuffer::E_INPUT_FAILED);
    EXPECT_EQ(buffer.inputError(), EPIPE);
    EXPECT_EQ(buffer.inputErrorText(), "cut");
    in.clear();
    EXPECT_EQ(in.get(), std::istream::traits_type::eof());
    EXPECT_TRUE(in.bad());
}
