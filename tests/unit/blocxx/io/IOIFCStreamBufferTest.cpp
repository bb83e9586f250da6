#include "blocxx/IOIFCStreamBuffer.hpp"

#include "ScriptedDevice.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <istream>
#include <string>

using blocxx::BaseStreamBuffer;
using blocxx::IOIFC;
using blocxx::IOIFCStreamBuffer;
using testing::ElementsAre;
using zol_test::ScriptedDevice;

TEST(IOIFCStreamBuffer, WorksInBothDirectionsWith64KiBByDefault)
{
    ScriptedDevice device;
    device.reads = {ScriptedDevice::data("in")};
    IOIFCStreamBuffer buffer(&device);
    EXPECT_EQ(buffer.sgetc(), 'i');
    EXPECT_THAT(device.readRequests, ElementsAre(65536));
    buffer.sputn("out", 3);
    buffer.pubsync();
    EXPECT_EQ(device.written, "out");
}

TEST(IOIFCStreamBuffer, RefillIsOneReadOfTheDevice)
{
    ScriptedDevice device;
    device.reads = {ScriptedDevice::data("abc"), ScriptedDevice::data("def")};
    IOIFCStreamBuffer buffer(&device, BaseStreamBuffer::E_IN, 16);
    EXPECT_EQ(buffer.sgetc(), 'a');
    EXPECT_EQ(buffer.in_avail(), 3);
    EXPECT_THAT(device.readRequests, ElementsAre(16));
}

TEST(IOIFCStreamBuffer, NegativeReadIsAFailureAndZeroTheEnd)
{
    ScriptedDevice device;
    device.reads = {ScriptedDevice::end()};
    IOIFCStreamBuffer buffer(&device);
    buffer.sgetc();
    EXPECT_EQ(buffer.inputState(), BaseStreamBuffer::E_INPUT_ENDED);
    device.reads = {ScriptedDevice::failure(ETIMEDOUT)};
    buffer.sgetc();
    EXPECT_EQ(buffer.inputState(), BaseStreamBuffer::E_INPUT_FAILED);
    EXPECT_EQ(buffer.inputError(), ETIMEDOUT);
}

TEST(IOIFCStreamBuffer, KeepsWhatTheDeviceSaysAboutAFailure)
{
    ScriptedDevice device;
    device.errorText = "unknown authority";
    device.reads = {ScriptedDevice::failure(EPROTO)};
    device.writes = {ScriptedDevice::failure(EPIPE)};
    IOIFCStreamBuffer buffer(&device);
    buffer.sgetc();
    EXPECT_EQ(buffer.inputError(), EPROTO);
    EXPECT_EQ(buffer.inputErrorText(), "unknown authority");
    EXPECT_EQ(buffer.outputErrorText(), "");
    buffer.sputc('a');
    buffer.pubsync();
    EXPECT_EQ(buffer.outputError(), EPIPE);
    EXPECT_EQ(buffer.outputErrorText(), "unknown authority");
}

TEST(IOIFCStreamBuffer, AWriteCountWithoutAReasonIsAnInputOutputError)
{
    for (const int count : {0, 4})
    {
        ScriptedDevice device;
        device.writes = {ScriptedDevice::result(count)};
        IOIFCStreamBuffer buffer(&device);
        buffer.sputn("abc", 3);
        errno = EAGAIN;
        buffer.pubsync();
        EXPECT_EQ(buffer.outputError(), EIO) << count;
    }
}

TEST(IOIFCStreamBuffer, ShortWritesContinueWithTheRest)
{
    ScriptedDevice device;
    device.writes = {ScriptedDevice::result(2), ScriptedDevice::result(1)};
    IOIFCStreamBuffer buffer(&device);
    buffer.sputn("abcdef", 6);
    EXPECT_EQ(buffer.pubsync(), 0);
    EXPECT_EQ(device.written, "abcdef");
    EXPECT_THAT(device.writeRequests, ElementsAre(6, 4, 3));
}

TEST(IOIFCStreamBuffer, WriteCountsThatMakeNoSenseAreFailures)
{
    for (const int count : {0, -1, -7, 4})
    {
        ScriptedDevice device;
        device.writes = {ScriptedDevice::result(count)};
        IOIFCStreamBuffer buffer(&device);
        buffer.sputn("abc", 3);
        EXPECT_EQ(buffer.pubsync(), -1) << count;
        EXPECT_EQ(device.writeRequests.size(), 1U) << count;
    }
}

TEST(IOIFCStreamBuffer, DestructorDoesNotFlush)
{
    ScriptedDevice device;
    {
        IOIFCStreamBuffer buffer(&device);
        buffer.sputn("abc", 3);
    }
    EXPECT_TRUE(device.writeRequests.empty());
}

TEST(IOIFCStreamBuffer, ThrowingDeviceMakesTheStreamBadOrThrow)
{
    ScriptedDevice device;
    device.reads = {ScriptedDevice::failure(EIO)};
    IOIFCStreamBuffer buffer(&device);
    buffer.setErrorAction(IOIFC::E_THROW_ON_ERROR);
    std::iostream stream(&buffer);
    stream.get();
    EXPECT_TRUE(stream.bad());

    ScriptedDevice other;
    other.reads = {ScriptedDevice::failure(EIO)};
    IOIFCStreamBuffer otherBuffer(&other);
    otherBuffer.setErrorAction(IOIFC::E_THROW_ON_ERROR);
    std::iostream throwing(&otherBuffer);
    throwing.exceptions(std::ios::badbit);
    EXPECT_THROW(throwing.get(), blocxx::SocketException);
}

TEST(IOIFCStreamBuffer, ThrowingDeviceMakesAFlushFail)
{
    ScriptedDevice device;
    device.writes = {ScriptedDevice::failure(EPIPE)};
    IOIFCStreamBuffer buffer(&device);
    buffer.setErrorAction(IOIFC::E_THROW_ON_ERROR);
    std::iostream stream(&buffer);
    stream << "abc" << std::flush;
    EXPECT_TRUE(stream.bad());
}

TEST(IOIFCStreamBuffer, ResetDropsInputAndOutput)
{
    ScriptedDevice device;
    device.reads = {ScriptedDevice::data("abc"), ScriptedDevice::data("x")};
    IOIFCStreamBuffer buffer(&device);
    buffer.sgetc();
    buffer.sputn("lost", 4);
    buffer.reset();
    EXPECT_EQ(buffer.sgetc(), 'x');
    buffer.pubsync();
    EXPECT_EQ(device.written, "");
}

TEST(IOIFCStreamBuffer, SynchronisesTheTiedBufferBeforeARead)
{
    ScriptedDevice device;
    ScriptedDevice log;
    IOIFCStreamBuffer tied(&log);
    IOIFCStreamBuffer buffer(&device);
    EXPECT_EQ(buffer.tie(&tied), nullptr);
    tied.sputn("request", 7);
    buffer.sgetc();
    EXPECT_EQ(log.written, "request");
    EXPECT_EQ(buffer.tie(nullptr), &tied);
}

TEST(IOIFCStreamBuffer, SizeBelowOneCountsAsOne)
{
    ScriptedDevice device;
    device.reads = {ScriptedDevice::data("ab")};
    IOIFCStreamBuffer buffer(&device, BaseStreamBuffer::E_IN, -5);
    EXPECT_EQ(buffer.sbumpc(), 'a');
    EXPECT_EQ(buffer.sbumpc(), 'b');
    EXPECT_THAT(device.readRequests, ElementsAre(1, 1));
}
