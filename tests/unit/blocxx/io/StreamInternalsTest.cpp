#include "ProbeBuffer.hpp"
#include "ScriptedDevice.hpp"
#include "support/Cancellation.hpp"

#include "blocxx/IOIFCStreamBuffer.hpp"
#include "blocxx/internal/DirectInput.hpp"
#include "blocxx/internal/ForcedUnwind.hpp"
#include "blocxx/internal/GetArea.hpp"
#include "blocxx/internal/StreamFailure.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>
#include <stdexcept>
#include <string>

using blocxx::BaseStreamBuffer;
using blocxx::IOIFCStreamBuffer;
using blocxx::Internal::catchAllButUnwind;
using blocxx::Internal::DirectInput;
using blocxx::Internal::GetArea;
using testing::ElementsAre;
using zol_test::ProbeBuffer;
using zol_test::ScriptedDevice;

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

TEST(GetArea, ShowsUnreadBytesInPlaceAndTakesThem)
{
    ProbeBuffer buffer(BaseStreamBuffer::E_IN, 8);
    EXPECT_EQ(GetArea::of(buffer), "");
    buffer.input = {ProbeBuffer::data("abcdef"), ProbeBuffer::data("gh")};
    EXPECT_EQ(buffer.sbumpc(), 'a');
    EXPECT_EQ(GetArea::of(buffer), "bcdef");
    GetArea::consume(buffer, 2);
    EXPECT_EQ(GetArea::of(buffer), "def");
    EXPECT_EQ(buffer.sgetc(), 'd');
    GetArea::consume(buffer, 3);
    EXPECT_EQ(GetArea::of(buffer), "");
    EXPECT_EQ(buffer.sgetc(), 'g');
}

TEST(GetArea, IsThatOfAnyStreamBuffer)
{
    std::istringstream stream("text");
    stream.get();
    EXPECT_EQ(GetArea::of(*stream.rdbuf()), "ext");
    GetArea::consume(*stream.rdbuf(), 2);
    EXPECT_EQ(stream.get(), 't');
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

TEST(DirectInput, FillsAnEmptyGetAreaWithOneReadOfAtMostThatMuch)
{
    ScriptedDevice device;
    device.reads = {ScriptedDevice::data("abcdef"), ScriptedDevice::data("x")};
    IOIFCStreamBuffer buffer(&device, BaseStreamBuffer::E_IN, 8);
    const DirectInput direct(&buffer);
    EXPECT_TRUE(direct.fillGetArea(3));
    EXPECT_EQ(GetArea::of(buffer), "abc");
    EXPECT_TRUE(direct.fillGetArea(100));
    EXPECT_EQ(GetArea::of(buffer), "abc");
    GetArea::consume(buffer, 3);
    EXPECT_TRUE(direct.fillGetArea(100));
    EXPECT_EQ(GetArea::of(buffer), "def");
    EXPECT_THAT(device.readRequests, ElementsAre(3, 8));
    GetArea::consume(buffer, 3);
    device.reads.clear();
    EXPECT_FALSE(direct.fillGetArea(100));
}

TEST(DirectInput, ReadsIntoTheCallersMemoryAndKeepsWhatCameAfter)
{
    ScriptedDevice device;
    device.reads = {ScriptedDevice::data("abcdef"), ScriptedDevice::data("gh"), ScriptedDevice::data("0123456789")};
    IOIFCStreamBuffer buffer(&device, BaseStreamBuffer::E_IN, 8);
    const DirectInput direct(&buffer);
    char bytes[16] = {};
    EXPECT_EQ(direct.readDirect(bytes, 4, 3), 4U);
    EXPECT_EQ(std::string(bytes, 4), "abcd");
    EXPECT_EQ(GetArea::of(buffer), "ef");
    GetArea::consume(buffer, 2);
    EXPECT_EQ(direct.readDirect(bytes, 4, 3), 2U);
    EXPECT_EQ(std::string(bytes, 2), "gh");
    EXPECT_EQ(GetArea::of(buffer), "");
    EXPECT_EQ(direct.readDirect(bytes, 10, 3), 8U);
    EXPECT_THAT(device.readRequests, ElementsAre(7, 7, 8));
    device.reads.clear();
    EXPECT_EQ(direct.readDirect(bytes, 4, 3), 0U);
    EXPECT_EQ(buffer.inputState(), BaseStreamBuffer::E_INPUT_ENDED);
}
