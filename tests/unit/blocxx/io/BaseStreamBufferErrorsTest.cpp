#include "ProbeBuffer.hpp"
#include "support/Cancellation.hpp"

#include "blocxx/BaseStreamBuffer.hpp"
#include "blocxx/SocketException.hpp"

#include <gtest/gtest.h>

#include <cerrno>
#include <istream>
#include <new>
#include <ostream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <system_error>

using blocxx::BaseStreamBuffer;
using zol_test::bytes;
using zol_test::ProbeBuffer;
using zol_test::readBlock;

namespace
{

/// The exception that a socket throws for an error.
blocxx::SocketException socketException(int error)
{
    errno = error;
    try
    {
        BLOCXX_THROW_ERRNO_MSG(blocxx::SocketException, "the peer is gone");
    }
    catch (const blocxx::SocketException& e)
    {
        return e;
    }
}

} // namespace

TEST(BaseStreamBufferInputError, KeepsTheDevicesTextBesideTheCode)
{
    ProbeBuffer buffer(BaseStreamBuffer::E_IN, 8);
    buffer.errorText = "unknown authority";
    buffer.input = {ProbeBuffer::data("abc"), ProbeBuffer::result(-1, EPROTO)};
    std::istream stream(&buffer);
    EXPECT_EQ(stream.get(), 'a');
    EXPECT_EQ(buffer.inputErrorText(), "");
    readBlock(stream, 5);
    EXPECT_EQ(buffer.inputError(), EPROTO);
    EXPECT_EQ(buffer.inputErrorText(), "unknown authority");
    buffer.reset();
    EXPECT_EQ(buffer.inputError(), 0);
    EXPECT_EQ(buffer.inputErrorText(), "");
}

TEST(BaseStreamBufferInputError, AnOrderlyEndHasNoText)
{
    ProbeBuffer buffer(BaseStreamBuffer::E_IN, 8);
    buffer.errorText = "of a failure before";
    buffer.sgetc();
    EXPECT_EQ(buffer.inputErrorText(), "");
}

TEST(BaseStreamBufferInputError, ATextThatCannotBeMadeHidesNoFailure)
{
    class NoMemory : public ProbeBuffer
    {
        using ProbeBuffer::ProbeBuffer;
        blocxx::String deviceErrorText() const override { throw std::bad_alloc(); }
    };
    NoMemory buffer(BaseStreamBuffer::E_IN, 8);
    buffer.input = {ProbeBuffer::data("abc"), ProbeBuffer::result(-1, EPROTO)};
    std::istream stream(&buffer);
    buffer.reportErrorsTo(&stream);
    EXPECT_EQ(readBlock(stream, 5), "abc");
    EXPECT_TRUE(stream.bad());
    EXPECT_EQ(buffer.inputError(), EPROTO);
    EXPECT_EQ(buffer.inputErrorText(), "");
}

TEST(BaseStreamBufferInputError, ADeviceThatThrowsKeepsItsOwnCodeAndText)
{
    ProbeBuffer buffer(BaseStreamBuffer::E_IN, 8);
    const blocxx::SocketException thrown = socketException(ETIMEDOUT);
    buffer.input = {ProbeBuffer::data("abc"), ProbeBuffer::exception(thrown)};
    std::istream stream(&buffer);
    buffer.reportErrorsTo(&stream);
    EXPECT_EQ(readBlock(stream, 8), "abc");
    EXPECT_EQ(buffer.inputError(), ETIMEDOUT);
    EXPECT_EQ(buffer.inputErrorText(), thrown.getMessage());
    EXPECT_NE(buffer.inputErrorText(), "");
}

TEST(BaseStreamBufferInputError, AStandardExceptionsCodeCountsIfItIsAnErrno)
{
    const std::system_error withErrno(ECONNRESET, std::generic_category(), "reading");
    const std::ios_base::failure withoutErrno("reading");
    for (const bool hasErrno : {true, false})
    {
        ProbeBuffer buffer(BaseStreamBuffer::E_IN, 8);
        buffer.input = {hasErrno ? ProbeBuffer::exception(withErrno) : ProbeBuffer::exception(withoutErrno)};
        std::istream stream(&buffer);
        stream.get();
        EXPECT_EQ(buffer.inputError(), hasErrno ? ECONNRESET : EIO);
        EXPECT_EQ(buffer.inputErrorText(), hasErrno ? withErrno.what() : withoutErrno.what());
    }
}

TEST(BaseStreamBufferInputError, AnythingElseThatIsThrownIsAnInputOutputError)
{
    ProbeBuffer buffer(BaseStreamBuffer::E_IN, 8);
    buffer.input = {ProbeBuffer::exception(5)};
    std::istream stream(&buffer);
    stream.get();
    EXPECT_EQ(buffer.inputError(), EIO);
    EXPECT_EQ(buffer.inputErrorText(), "");
}

TEST(BaseStreamBufferInputError, AnExceptionBeforeTheFirstByteOfALargeReadPassesOn)
{
    ProbeBuffer buffer(BaseStreamBuffer::E_IN, 8);
    buffer.input = {ProbeBuffer::exception()};
    std::istream stream(&buffer);
    buffer.reportErrorsTo(&stream);
    char block[16];
    EXPECT_THROW(buffer.sgetn(block, sizeof block), std::runtime_error);
    EXPECT_TRUE(stream.bad());
}

TEST(BaseStreamBufferInputError, ACancelledThreadIsNotHeldUpAndLeavesAFailedInput)
{
    for (const std::size_t wanted : {std::size_t{7}, std::size_t{8}})
    {
        ProbeBuffer buffer(BaseStreamBuffer::E_IN, 8);
        buffer.input = {ProbeBuffer::data("abc"), ProbeBuffer::cancellation(), ProbeBuffer::data("late")};
        std::istream stream(&buffer);
        buffer.reportErrorsTo(&stream);
        EXPECT_TRUE(zol_test::endsCancelled([&] { readBlock(stream, wanted); }));
        EXPECT_EQ(buffer.inputState(), BaseStreamBuffer::E_INPUT_FAILED);
        EXPECT_EQ(buffer.inputError(), ECANCELED);
        stream.clear();
        EXPECT_EQ(readBlock(stream, 4), "");
        EXPECT_TRUE(stream.bad());
    }
}

TEST(BaseStreamBufferInputError, ACancelledReadHasNoTextOfAFailureBeforeTheReset)
{
    ProbeBuffer buffer(BaseStreamBuffer::E_IN, 8);
    buffer.errorText = "unknown authority";
    buffer.input = {ProbeBuffer::result(-1, EPROTO), ProbeBuffer::cancellation()};
    buffer.sgetc();
    EXPECT_EQ(buffer.inputErrorText(), "unknown authority");
    buffer.reset();
    EXPECT_TRUE(zol_test::endsCancelled([&] { buffer.sgetc(); }));
    EXPECT_EQ(buffer.inputErrorText(), "");
}

TEST(BaseStreamBufferOutputState, IsPendingUntilAFlushHasSentTheBytes)
{
    ProbeBuffer buffer(BaseStreamBuffer::E_OUT, 8);
    EXPECT_EQ(buffer.outputState(), BaseStreamBuffer::E_OUTPUT_SENT);
    buffer.sputn("abc", 3);
    EXPECT_EQ(buffer.outputState(), BaseStreamBuffer::E_OUTPUT_PENDING);
    buffer.pubsync();
    EXPECT_EQ(buffer.outputState(), BaseStreamBuffer::E_OUTPUT_SENT);
    EXPECT_EQ(buffer.outputError(), 0);
}

TEST(BaseStreamBufferOutputState, RemembersAFailedFlushAlsoAfterALaterSuccess)
{
    ProbeBuffer buffer(BaseStreamBuffer::E_OUT, 8);
    buffer.outputResults = {-1};
    buffer.outputErrno = ECONNRESET;
    buffer.errorText = "unknown authority";
    buffer.sputn("abc", 3);
    EXPECT_EQ(buffer.pubsync(), -1);
    EXPECT_EQ(buffer.outputState(), BaseStreamBuffer::E_OUTPUT_FAILED);
    EXPECT_EQ(buffer.pubsync(), 0);
    buffer.sputn("def", 3);
    EXPECT_EQ(buffer.pubsync(), 0);
    EXPECT_EQ(buffer.outputState(), BaseStreamBuffer::E_OUTPUT_FAILED);
    EXPECT_EQ(buffer.outputError(), ECONNRESET);
    EXPECT_EQ(buffer.outputErrorText(), "unknown authority");
    EXPECT_EQ(buffer.inputState(), BaseStreamBuffer::E_INPUT_OPEN);
}

TEST(BaseStreamBufferOutputState, KeepsTheFirstOfSeveralFailures)
{
    ProbeBuffer buffer(BaseStreamBuffer::E_OUT, 2);
    buffer.outputResults = {-1, -1};
    buffer.outputErrno = ETIMEDOUT;
    buffer.errorText = "first";
    buffer.sputn("ab", 2);
    buffer.outputErrno = EPIPE;
    buffer.errorText = "second";
    buffer.sputn("cd", 2);
    EXPECT_EQ(buffer.outputError(), ETIMEDOUT);
    EXPECT_EQ(buffer.outputErrorText(), "first");
}

TEST(BaseStreamBufferOutputState, ReportsAFailureThatLeavesNoBitOnTheStream)
{
    ProbeBuffer buffer(BaseStreamBuffer::E_OUT, 8);
    buffer.outputResults = {0, 0, -1};
    buffer.outputErrno = ECONNRESET;
    std::ostream stream(&buffer);
    std::istringstream body(bytes(30));
    stream << body.rdbuf();
    EXPECT_TRUE(stream.good());
    EXPECT_EQ(buffer.outputState(), BaseStreamBuffer::E_OUTPUT_FAILED);
    EXPECT_EQ(buffer.outputError(), ECONNRESET);
}

TEST(BaseStreamBufferOutputState, AFailureWithoutReasonCountsAsInputOutputError)
{
    ProbeBuffer buffer(BaseStreamBuffer::E_OUT, 8);
    buffer.outputResults = {-1};
    buffer.sputn("abc", 3);
    buffer.pubsync();
    EXPECT_EQ(buffer.outputError(), EIO);
}

TEST(BaseStreamBufferOutputState, ADeviceThatThrowsKeepsItsOwnCodeAndText)
{
    const blocxx::SocketException thrown = socketException(EPIPE);
    for (const std::size_t count : {std::size_t{3}, std::size_t{8}})
    {
        ProbeBuffer buffer(BaseStreamBuffer::E_OUT, 8);
        buffer.duringOutput = [&] { throw thrown; };
        std::ostream stream(&buffer);
        stream << bytes(count) << std::flush;
        EXPECT_TRUE(stream.bad());
        EXPECT_EQ(buffer.outputState(), BaseStreamBuffer::E_OUTPUT_FAILED);
        EXPECT_EQ(buffer.outputError(), EPIPE);
        EXPECT_EQ(buffer.outputErrorText(), thrown.getMessage());
    }
}

TEST(BaseStreamBufferOutputState, ADeviceThatCannotBeWrittenToFails)
{
    BaseStreamBuffer buffer(BaseStreamBuffer::E_OUT);
    buffer.sputc('a');
    buffer.pubsync();
    EXPECT_EQ(buffer.outputState(), BaseStreamBuffer::E_OUTPUT_FAILED);
    EXPECT_EQ(buffer.outputError(), ENOTSUP);
}

TEST(BaseStreamBufferOutputState, AResetForgetsPendingBytesAndFailures)
{
    ProbeBuffer buffer(BaseStreamBuffer::E_OUT, 8);
    buffer.outputResults = {-1};
    buffer.errorText = "text";
    buffer.sputn("abc", 3);
    buffer.pubsync();
    buffer.sputn("abc", 3);
    buffer.reset();
    EXPECT_EQ(buffer.outputState(), BaseStreamBuffer::E_OUTPUT_SENT);
    EXPECT_EQ(buffer.outputError(), 0);
    EXPECT_EQ(buffer.outputErrorText(), "");
}

TEST(BaseStreamBufferOutputState, ACancelledThreadIsNotHeldUpAndLeavesAFailedOutput)
{
    ProbeBuffer buffer(BaseStreamBuffer::E_OUT, 8);
    buffer.duringOutput = [] { zol_test::beCancelled(); };
    std::ostream stream(&buffer);
    EXPECT_TRUE(zol_test::endsCancelled([&] { stream << "abc" << std::flush; }));
    EXPECT_EQ(buffer.outputState(), BaseStreamBuffer::E_OUTPUT_FAILED);
    EXPECT_EQ(buffer.outputError(), ECANCELED);
}
