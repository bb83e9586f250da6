#include "ProbeBuffer.hpp"

#include "blocxx/BaseStreamBuffer.hpp"

#include <gtest/gtest.h>

#include <cerrno>
#include <istream>
#include <stdexcept>
#include <string>

using blocxx::BaseStreamBuffer;
using zol_test::ProbeBuffer;
using zol_test::readBlock;

class BaseStreamBufferFailure : public testing::TestWithParam<std::size_t>
{
protected:
    std::size_t wanted() const { return GetParam(); } // below and at the buffer's size of 8
};

TEST_P(BaseStreamBufferFailure, DataBeforeItIsDeliveredThenTheStreamIsBad)
{
    ProbeBuffer buffer(BaseStreamBuffer::E_IN, 8);
    buffer.input = {ProbeBuffer::data("abc"), ProbeBuffer::result(-1, ECONNRESET)};
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
    buffer.input = {ProbeBuffer::data("abc"), ProbeBuffer::result(-1, ETIMEDOUT)};
    std::istream stream(&buffer);
    EXPECT_EQ(readBlock(stream, wanted()), "abc");
    EXPECT_EQ(stream.rdstate(), std::ios::eofbit | std::ios::failbit);
    EXPECT_EQ(buffer.inputState(), BaseStreamBuffer::E_INPUT_FAILED);
    EXPECT_EQ(buffer.inputError(), ETIMEDOUT);
}

TEST_P(BaseStreamBufferFailure, IsFinalAndTheDeviceIsNotAskedAgain)
{
    ProbeBuffer buffer(BaseStreamBuffer::E_IN, 8);
    buffer.input = {ProbeBuffer::result(-1, EIO), ProbeBuffer::data("late")};
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
    buffer.input = {ProbeBuffer::data("abc"), ProbeBuffer::result(-1, EIO)};
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
    buffer.input = {ProbeBuffer::result(9)};
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
    buffer.input = {ProbeBuffer::result(-1, ECONNRESET)};
    std::istream stream(&buffer);
    buffer.reportErrorsTo(&stream);
    EXPECT_EQ(stream.get(), std::char_traits<char>::eof());
    EXPECT_TRUE(stream.bad());
}

TEST(BaseStreamBufferInput, FailureWithoutReasonCountsAsInputOutputError)
{
    ProbeBuffer buffer(BaseStreamBuffer::E_IN, 8);
    buffer.input = {ProbeBuffer::result(-1, 0)};
    buffer.sgetc();
    EXPECT_EQ(buffer.inputError(), EIO);
}

TEST(BaseStreamBufferInput, NullEndsTheReporting)
{
    ProbeBuffer buffer(BaseStreamBuffer::E_IN, 8);
    buffer.input = {ProbeBuffer::result(-1, EIO)};
    std::istream stream(&buffer);
    buffer.reportErrorsTo(&stream);
    buffer.reportErrorsTo(nullptr);
    stream.get();
    EXPECT_FALSE(stream.bad());
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

TEST(BaseStreamBuffer, InputThatItsDeviceCalledFailedIsReadAgainAfterAReset)
{
    class FailingOnce : public ProbeBuffer
    {
    public:
        FailingOnce() : ProbeBuffer(E_IN, 16)
        {
            input = {[this](char*, int)
                     {
                         failInput(EPIPE, "cut");
                         return -1;
                     },
                     data("again")};
        }
    };
    FailingOnce buffer;
    std::istream in(&buffer);
    EXPECT_EQ(readBlock(in, 5), "");
    buffer.reset();
    in.clear();
    EXPECT_EQ(readBlock(in, 5), "again");
    EXPECT_EQ(buffer.inputState(), blocxx::BaseStreamBuffer::E_INPUT_OPEN);
}
