#include "ProbeBuffer.hpp"
#include "ScriptedDevice.hpp"
#include "support/Cancellation.hpp"

#include "blocxx/IOIFCStreamBuffer.hpp"
#include "blocxx/internal/DirectInput.hpp"
#include "blocxx/internal/ForcedUnwind.hpp"
#include "blocxx/internal/StreamFailure.hpp"
#include "blocxx/internal/StreamReads.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>
#include <stdexcept>
#include <streambuf>
#include <string>

using blocxx::BaseStreamBuffer;
using blocxx::IOIFCStreamBuffer;
using blocxx::Internal::catchAllButUnwind;
using blocxx::Internal::DirectInput;
using blocxx::Internal::readRun;
using testing::ElementsAre;
using zol_test::ProbeBuffer;
using zol_test::ScriptedDevice;

namespace
{

std::string runOf(std::streambuf& buffer, std::size_t count)
{
    std::string run(count, '\0');
    run.resize(readRun(buffer, run.data(), count));
    return run;
}

std::string windowOf(const BaseStreamBuffer& buffer)
{
    return {buffer.window().data, buffer.window().size};
}

/// A buffer without a get area, which claims to have more at hand, and throws behind its text.
class BytewiseText : public std::streambuf
{
public:
    explicit BytewiseText(std::string text) : m_text(std::move(text)) {}

private:
    std::streamsize showmanyc() override { return 1000; }
    int_type underflow() override
    {
        if (m_next == m_text.size())
        {
            throw std::runtime_error("no more");
        }
        return traits_type::to_int_type(m_text[m_next]);
    }
    int_type uflow() override
    {
        const int_type c = underflow();
        ++m_next;
        return c;
    }

    const std::string m_text;
    std::size_t m_next = 0;
};

} // namespace

TEST(CatchAllButUnwind, ReturnsWhatTheCallOrTheHandlerReturns)
{
    const auto handle = [] { return 2; };
    EXPECT_EQ(catchAllButUnwind([] { return 1; }, handle), 1);
    EXPECT_EQ(catchAllButUnwind([]() -> int { throw 0; }, handle), 2);
}

TEST(CatchAllButUnwind, AHandlerMayPassTheExceptionOn)
{
    const auto call = []() -> int { throw std::runtime_error("text"); };
    EXPECT_THROW(catchAllButUnwind(call, []() -> int { throw; }), std::runtime_error);
}

TEST(CatchAllButUnwind, ACancelledThreadIsNotHandled)
{
    bool handled = false;
    EXPECT_TRUE(
        zol_test::endsCancelled([&] { catchAllButUnwind([] { zol_test::beCancelled(); }, [&] { handled = true; }); }));
    EXPECT_FALSE(handled);
}

TEST(SetStateQuietly, SetsTheBitsAndThrowsNothing)
{
    std::istringstream stream("text");
    stream.exceptions(std::ios::badbit);
    blocxx::Internal::setStateQuietly(stream, std::ios::badbit | std::ios::failbit);
    EXPECT_EQ(stream.rdstate(), std::ios::badbit | std::ios::failbit);
    EXPECT_EQ(stream.exceptions(), std::ios::badbit);
}

TEST(ReadRun, TakesWhatTheBufferHoldsAndNoMore)
{
    ProbeBuffer buffer(BaseStreamBuffer::E_IN, 8);
    buffer.input = {ProbeBuffer::data("abc"), ProbeBuffer::data("de")};
    EXPECT_EQ(runOf(buffer, 2), "ab");
    EXPECT_EQ(runOf(buffer, 100), "c");
    EXPECT_EQ(runOf(buffer, 100), "de");
    EXPECT_EQ(buffer.asked.size(), 2U);
    EXPECT_EQ(runOf(buffer, 100), "");
}

TEST(ReadRun, ReadsABufferWithoutAGetAreaSinglySoThatNothingIsLost)
{
    BytewiseText buffer("ab");
    EXPECT_EQ(runOf(buffer, 100), "a");
    EXPECT_EQ(runOf(buffer, 100), "b");
    EXPECT_THROW(runOf(buffer, 100), std::runtime_error);
}

TEST(DirectInput, IsAllowedForTheBufferOfAConnectionAlone)
{
    class Derived : public IOIFCStreamBuffer
    {
        using IOIFCStreamBuffer::IOIFCStreamBuffer;
    };
    ScriptedDevice device;
    IOIFCStreamBuffer connection(&device);
    Derived derived(&device);
    ProbeBuffer other(BaseStreamBuffer::E_IN, 8);
    EXPECT_TRUE(DirectInput(&connection));
    EXPECT_FALSE(DirectInput(&derived));
    EXPECT_FALSE(DirectInput(&other));
    EXPECT_FALSE(DirectInput(nullptr));
}

TEST(DirectInput, FillsAnEmptyWindowWithOneReadOfAtMostThatMuch)
{
    ScriptedDevice device;
    device.reads = {ScriptedDevice::data("abcdef"), ScriptedDevice::data("x")};
    IOIFCStreamBuffer buffer(&device, BaseStreamBuffer::E_IN, 8);
    const DirectInput direct(&buffer);
    EXPECT_TRUE(direct.fillWindow(3));
    EXPECT_EQ(windowOf(buffer), "abc");
    EXPECT_TRUE(direct.fillWindow(100));
    EXPECT_EQ(windowOf(buffer), "abc");
    buffer.consume(3);
    EXPECT_TRUE(direct.fillWindow(100));
    EXPECT_EQ(windowOf(buffer), "def");
    EXPECT_THAT(device.readRequests, ElementsAre(3, 8));
    buffer.consume(4);
    device.reads.clear();
    EXPECT_FALSE(direct.fillWindow(100));
}

TEST(DirectInput, ReadsIntoTheCallersMemoryAndKeepsWhatCameBehind)
{
    ScriptedDevice device;
    device.reads = {ScriptedDevice::data("abcdef"), ScriptedDevice::data("gh"), ScriptedDevice::data("0123456789")};
    IOIFCStreamBuffer buffer(&device, BaseStreamBuffer::E_IN, 8);
    const DirectInput direct(&buffer);
    char bytes[16] = {};
    EXPECT_EQ(direct.readDirect(bytes, 4, 3), 4U);
    EXPECT_EQ(std::string(bytes, 4), "abcd");
    EXPECT_EQ(windowOf(buffer), "ef");
    buffer.consume(2);
    EXPECT_EQ(direct.readDirect(bytes, 4, 3), 2U);
    EXPECT_EQ(std::string(bytes, 2), "gh");
    EXPECT_EQ(windowOf(buffer), "");
    EXPECT_EQ(direct.readDirect(bytes, 10, 3), 8U);
    EXPECT_THAT(device.readRequests, ElementsAre(7, 7, 8));
    device.reads.clear();
    EXPECT_EQ(direct.readDirect(bytes, 4, 3), 0U);
    EXPECT_EQ(buffer.inputState(), BaseStreamBuffer::E_INPUT_ENDED);
}
