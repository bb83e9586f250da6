#include "Peers.hpp"
#include "ProbeBuffer.hpp"
#include "ScriptedDevice.hpp"
#include "support/Cancellation.hpp"
#include "support/ScriptedServer.hpp"

#include "blocxx/IOIFCStreamBuffer.hpp"
#include "blocxx/Socket.hpp"
#include "blocxx/internal/DirectInput.hpp"
#include "blocxx/internal/ForcedUnwind.hpp"
#include "blocxx/internal/GetArea.hpp"
#include "blocxx/internal/StreamFailure.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <sstream>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

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

TEST(DirectInput, FillsPiecesInTheirOrderFromASocket)
{
    zol_test::ScriptedServer server(zol_test::sending("abcdefghij"));
    blocxx::Socket socket;
    socket.connect(zol_test::loopback(server.port()));
    IOIFCStreamBuffer buffer(&socket);
    const DirectInput direct(&buffer);
    ASSERT_TRUE(direct.takesPieces());
    char first[3];
    char second[4];
    char third[9];
    iovec pieces[] = {{first, sizeof first}, {second, sizeof second}, {third, sizeof third}};
    ASSERT_EQ(direct.readPieces(pieces, 3), 10U);
    EXPECT_EQ(std::string(first, 3) + '|' + std::string(second, 4) + '|' + std::string(third, 3), "abc|defg|hij");
    direct.hold(pieces + 1, 6);
    EXPECT_EQ(GetArea::of(buffer), "defghi");
    GetArea::consume(buffer, 6);
    EXPECT_EQ(direct.readPieces(pieces, 3), 0U);
    EXPECT_EQ(buffer.inputState(), BaseStreamBuffer::E_INPUT_ENDED);
}

TEST(DirectInput, AReadOfPiecesThatFailsIsAFailedInput)
{
    for (const blocxx::IOIFC::ErrorAction action : {blocxx::IOIFC::E_THROW_ON_ERROR, blocxx::IOIFC::E_RETURN_ON_ERROR})
    {
        zol_test::ScriptedServer server(zol_test::resetAfterOneByte);
        blocxx::Socket socket;
        socket.connect(zol_test::loopback(server.port()));
        socket.write("x", 1);
        IOIFCStreamBuffer buffer(&socket);
        buffer.setErrorAction(action);
        const DirectInput direct(&buffer);
        char byte = 0;
        iovec piece{&byte, 1};
        bool threw = false;
        try
        {
            EXPECT_EQ(direct.readPieces(&piece, 1), 0U);
        }
        catch (const blocxx::SocketException&)
        {
            threw = true;
        }
        EXPECT_EQ(threw, action == blocxx::IOIFC::E_THROW_ON_ERROR);
        EXPECT_EQ(buffer.inputState(), BaseStreamBuffer::E_INPUT_FAILED);
        EXPECT_EQ(buffer.inputError(), ECONNRESET);
        // The buffer has its own device again.
        EXPECT_TRUE(direct.takesPieces());
    }
}

TEST(DirectInput, TakesPiecesOfPlainTcpConnectionsAlone)
{
    ScriptedDevice device;
    blocxx::Socket plain;
    blocxx::Socket tls{blocxx::SSLClientCtxRef(new blocxx::SSLClientCtx)};
    const std::vector<std::pair<blocxx::IOIFC*, bool>> cases = {
        {&plain, true}, {&tls, false}, {&device, false}, {nullptr, false}};
    for (const auto& [candidate, expected] : cases)
    {
        IOIFCStreamBuffer buffer(candidate);
        EXPECT_EQ(DirectInput(&buffer).takesPieces(), expected);
    }
}
