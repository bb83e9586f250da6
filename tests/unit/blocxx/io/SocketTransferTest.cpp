#include "Peers.hpp"
#include "SystemCalls.hpp"
#include "Transfers.hpp"
#include "support/ScriptedServer.hpp"

#include "blocxx/Cancellation.hpp"
#include "blocxx/IOIFCStreamBuffer.hpp"
#include "blocxx/Socket.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <future>
#include <istream>

using blocxx::BaseStreamBuffer;
using blocxx::IOIFC;
using blocxx::IOIFCStreamBuffer;
using blocxx::Socket;
using blocxx::SocketException;
using blocxx::Timeout;
using zol_test::Clock;
using zol_test::LARGE;
using zol_test::loopback;
using zol_test::readUpTo;
using zol_test::resetAfterOneByte;
using zol_test::ScriptedServer;
using zol_test::secondsSince;
using zol_test::ServerConnection;
using zol_test::sizeOf;
using zol_test::SystemCalls;
using zol_test::withSmallBuffers;

namespace
{

using std::chrono::milliseconds;

// Writes until the reset of the peer has arrived. Returns errno then.
int writeUntilFailure(Socket& socket)
{
    for (int i = 0; i < 1000; ++i)
    {
        if (socket.write("x", 1) < 0)
        {
            return errno;
        }
        std::this_thread::sleep_for(milliseconds(5));
    }
    return 0;
}

} // namespace

TEST(SocketRead, HandsOverWhatHasArrived)
{
    std::promise<void> more;
    ScriptedServer server(
        [&](ServerConnection& connection)
        {
            connection.send("abc");
            more.get_future().wait_for(std::chrono::seconds(5));
            connection.send("def");
        });
    Socket socket;
    socket.connect(loopback(server.port()));
    char block[64];
    EXPECT_EQ(socket.read(block, sizeof block), 3);
    more.set_value();
    EXPECT_EQ(socket.read(block, sizeof block), 3);
}

TEST(SocketRead, OrderlyEndIsZeroAndStaysSo)
{
    ScriptedServer server([](ServerConnection& connection) { connection.send("abc"); });
    Socket socket;
    socket.connect(loopback(server.port()));
    EXPECT_EQ(readUpTo(socket, 3), "abc");
    char byte = 0;
    EXPECT_EQ(socket.read(&byte, 1), 0);
    EXPECT_EQ(socket.read(&byte, 1), 0);
}

TEST(SocketRead, WaitsForTheResponseToWhatWasSentBeforeItAsksForIt)
{
    ScriptedServer server(
        [](ServerConnection& connection)
        {
            while (connection.discard(1) == 1)
            {
                connection.pause(milliseconds(50));
                connection.send("ab");
            }
        });
    Socket socket;
    socket.connect(loopback(server.port()));
    int receives = 0;
    int polls = 0;
    SystemCalls calls;
    calls.onReceive = [&](int descriptor, void* data, std::size_t length, int flags)
    {
        ++receives;
        return SystemCalls::receive(descriptor, data, length, flags);
    };
    calls.onPoll = [&](pollfd* descriptors, nfds_t count, int milliseconds)
    {
        ++polls;
        return SystemCalls::poll(descriptors, count, milliseconds);
    };
    for (int round = 1; round < 4; ++round)
    {
        ASSERT_EQ(socket.write("x", 1), 1);
        char byte = 0;
        ASSERT_EQ(socket.read(&byte, 1), 1);
        ASSERT_EQ(socket.read(&byte, 1), 1);
        EXPECT_EQ(receives, 2 * round);
        EXPECT_EQ(polls, round);
    }
}

TEST(SocketRead, AfterAWriteTimesOutAndIsCancelledLikeAnyOther)
{
    ScriptedServer server([](ServerConnection& connection) { connection.waitUntilPeerCloses(); });
    Socket socket;
    socket.connect(loopback(server.port()));
    socket.setReceiveTimeout(Timeout::relative(0.05F));
    char byte = 0;
    socket.write("x", 1);
    EXPECT_EQ(socket.read(&byte, 1), -1);
    EXPECT_EQ(errno, ETIMEDOUT);
    EXPECT_TRUE(socket.receiveTimeOutExpired());
    const blocxx::Cancellation cancellation;
    cancellation.cancel();
    socket.setCancellation(cancellation);
    EXPECT_EQ(socket.read(&byte, 1), -1);
    EXPECT_EQ(errno, ECANCELED);
}

TEST(SocketRead, ResetIsAnError)
{
    ScriptedServer server(resetAfterOneByte);
    Socket socket;
    socket.connect(loopback(server.port()));
    socket.write("x", 1);
    char byte = 0;
    EXPECT_EQ(socket.read(&byte, 1), -1);
    EXPECT_EQ(errno, ECONNRESET);
}

TEST(SocketRead, ThrowsWhenAskedTo)
{
    ScriptedServer server(resetAfterOneByte);
    Socket socket;
    socket.connect(loopback(server.port()));
    socket.write("x", 1);
    char byte = 0;
    try
    {
        socket.read(&byte, 1, IOIFC::E_THROW_ON_ERROR);
        FAIL() << "no exception";
    }
    catch (const SocketException& e)
    {
        EXPECT_EQ(e.getErrorCode(), ECONNRESET);
        EXPECT_STREQ(e.getMessage(), "SocketBaseImpl::read: 104(Connection reset by peer)");
        EXPECT_EQ(e.getSubClassId(), -11);
    }
}

TEST(SocketRead, TimeoutIsAnErrorThatErrnoNames)
{
    ScriptedServer server([](ServerConnection& connection) { connection.waitUntilPeerCloses(); });
    Socket socket;
    socket.connect(loopback(server.port()));
    socket.setReceiveTimeout(Timeout::relative(0.2F));
    char byte = 0;
    const Clock::time_point start = Clock::now();
    errno = 0;
    EXPECT_EQ(socket.read(&byte, 1), -1);
    EXPECT_EQ(errno, ETIMEDOUT);
    EXPECT_GE(secondsSince(start), 0.2);
    EXPECT_LT(secondsSince(start), 3);
    try
    {
        socket.read(&byte, 1, IOIFC::E_THROW_ON_ERROR);
        FAIL() << "no exception";
    }
    catch (const SocketException& e)
    {
        EXPECT_EQ(e.getErrorCode(), ETIMEDOUT);
        EXPECT_STREQ(e.getMessage(), "SocketBaseImpl::read: 110(Connection timed out)");
    }
}

TEST(SocketRead, TimeoutIsOfEachReadNotOfAll)
{
    ScriptedServer server([](ServerConnection& connection)
                          { connection.sendSlowly("0123456789abcde", milliseconds(100)); });
    Socket socket;
    socket.connect(loopback(server.port()));
    socket.setReceiveTimeout(Timeout::relative(1));
    const Clock::time_point start = Clock::now();
    EXPECT_EQ(readUpTo(socket, 15), "0123456789abcde");
    EXPECT_GT(secondsSince(start), 1.1);
}

TEST(SocketRead, ContinuesAfterATimeout)
{
    std::promise<void> more;
    ScriptedServer server(
        [&](ServerConnection& connection)
        {
            more.get_future().wait_for(std::chrono::seconds(5));
            connection.send("late");
        });
    Socket socket;
    socket.connect(loopback(server.port()));
    socket.setReceiveTimeout(Timeout::relative(0.05F));
    char byte = 0;
    EXPECT_EQ(socket.read(&byte, 1), -1);
    more.set_value();
    socket.setReceiveTimeout(Timeout::relative(5));
    EXPECT_EQ(readUpTo(socket, 4), "late");
}

TEST(SocketRead, ZeroTimeoutTakesWhatIsThereAndWaitsForNothing)
{
    ScriptedServer server(
        [](ServerConnection& connection)
        {
            connection.send("abc");
            connection.waitUntilPeerCloses();
        });
    Socket socket;
    socket.connect(loopback(server.port()));
    char first = 0;
    ASSERT_EQ(socket.read(&first, 1), 1);
    socket.setReceiveTimeout(Timeout::relative(0));
    EXPECT_EQ(readUpTo(socket, 2), "bc");
    const Clock::time_point start = Clock::now();
    EXPECT_EQ(socket.read(&first, 1), -1);
    EXPECT_EQ(errno, ETIMEDOUT);
    EXPECT_LT(secondsSince(start), 3);
}

TEST(SocketRead, InfiniteTimeoutWaits)
{
    ScriptedServer server(
        [](ServerConnection& connection)
        {
            connection.pause(milliseconds(300));
            connection.send("late");
        });
    Socket socket;
    socket.setTimeouts(Timeout::infinite);
    socket.connect(loopback(server.port()));
    EXPECT_EQ(readUpTo(socket, 4), "late");
}

TEST(SocketRead, SignalsDoNotEndTheWait)
{
    ScriptedServer server(
        [](ServerConnection& connection)
        {
            connection.pause(milliseconds(300));
            connection.send("late");
            connection.waitUntilPeerCloses();
        });
    Socket socket;
    socket.connect(loopback(server.port()));
    const int before = zol_test::SignalStorm::count();
    const zol_test::SignalStorm storm;
    EXPECT_EQ(readUpTo(socket, 4), "late");
    EXPECT_GT(zol_test::SignalStorm::count(), before);
    socket.setReceiveTimeout(Timeout::relative(0.2F));
    char byte = 0;
    const Clock::time_point start = Clock::now();
    EXPECT_EQ(socket.read(&byte, 1), -1);
    EXPECT_EQ(errno, ETIMEDOUT);
    EXPECT_LT(secondsSince(start), 3);
}

TEST(SocketWrite, WritesAllHoweverMuchItIs)
{
    ScriptedServer server(withSmallBuffers({}), [](ServerConnection& connection)
                          { EXPECT_EQ(connection.receiveUntilEnd().size(), LARGE.size()); });
    Socket socket;
    socket.connect(loopback(server.port()));
    EXPECT_EQ(socket.write(LARGE.data(), sizeOf(LARGE)), sizeOf(LARGE));
    socket.disconnect();
    EXPECT_TRUE(server.waitUntilIdle());
}

TEST(SocketWrite, SignalsDoNotEndIt)
{
    ScriptedServer server(withSmallBuffers({}), [](ServerConnection& connection)
                          { EXPECT_EQ(connection.receiveUntilEnd().size(), LARGE.size()); });
    Socket socket;
    socket.connect(loopback(server.port()));
    {
        const zol_test::SignalStorm storm;
        EXPECT_EQ(socket.write(LARGE.data(), sizeOf(LARGE)), sizeOf(LARGE));
    }
    socket.disconnect();
    EXPECT_TRUE(server.waitUntilIdle());
}

TEST(SocketWrite, TimesOutWhenNothingLeaves)
{
    ScriptedServer server(withSmallBuffers({}),
                          [](ServerConnection& connection) { connection.pause(std::chrono::seconds(10)); });
    Socket socket;
    socket.connect(loopback(server.port()));
    socket.setSendTimeout(Timeout::relative(0.2F));
    const Clock::time_point start = Clock::now();
    errno = 0;
    EXPECT_EQ(socket.write(LARGE.data(), sizeOf(LARGE)), -1);
    EXPECT_EQ(errno, ETIMEDOUT);
    EXPECT_GE(secondsSince(start), 0.2);
    EXPECT_LT(secondsSince(start), 3);
}

TEST(SocketWrite, TimeoutIsRestartedByProgress)
{
    ScriptedServer server(withSmallBuffers({}),
                          [](ServerConnection& connection)
                          {
                              for (int i = 0; i < 8; ++i)
                              {
                                  connection.receive(LARGE.size() / 8);
                                  connection.pause(milliseconds(300));
                              }
                          });
    Socket socket;
    socket.connect(loopback(server.port()));
    socket.setSendTimeout(Timeout::relative(1.2F));
    const Clock::time_point start = Clock::now();
    EXPECT_EQ(socket.write(LARGE.data(), sizeOf(LARGE)), sizeOf(LARGE));
    EXPECT_GT(secondsSince(start), 1.2);
}

TEST(SocketWrite, ToAResetPeerIsAnErrorAndNoSignal)
{
    // A signal would end the test program.
    ::signal(SIGPIPE, SIG_DFL);
    ScriptedServer server(resetAfterOneByte);
    Socket socket;
    socket.connect(loopback(server.port()));
    socket.write("x", 1);
    EXPECT_TRUE(server.waitUntilIdle());
    EXPECT_THAT(writeUntilFailure(socket), testing::AnyOf(EPIPE, ECONNRESET));
    EXPECT_EQ(socket.write("x", 1), -1);
    EXPECT_EQ(errno, EPIPE);
    struct sigaction disposition = {};
    ASSERT_EQ(::sigaction(SIGPIPE, nullptr, &disposition), 0);
    EXPECT_EQ(disposition.sa_handler, SIG_DFL);
}

TEST(SocketWrite, ThrowsWhenAskedTo)
{
    ScriptedServer server(resetAfterOneByte);
    Socket socket;
    socket.connect(loopback(server.port()));
    socket.write("x", 1);
    EXPECT_TRUE(server.waitUntilIdle());
    writeUntilFailure(socket);
    try
    {
        socket.write("x", 1, IOIFC::E_THROW_ON_ERROR);
        FAIL() << "no exception";
    }
    catch (const SocketException& e)
    {
        EXPECT_EQ(e.getErrorCode(), EPIPE);
        EXPECT_STREQ(e.getMessage(), "SocketBaseImpl::write: 32(Broken pipe)");
    }
}

TEST(SocketClose, DoesNotWaitForAPeerThatDoesNotRead)
{
    ScriptedServer server(withSmallBuffers({}),
                          [](ServerConnection& connection) { connection.pause(std::chrono::seconds(10)); });
    Clock::time_point start;
    {
        Socket socket;
        socket.connect(loopback(server.port()));
        IOIFCStreamBuffer buffer(&socket);
        socket.setSendTimeout(Timeout::relative(0.1F));
        EXPECT_EQ(socket.write(LARGE.data(), sizeOf(LARGE)), -1);
        buffer.sputn("pending", 7);
        socket.setSendTimeout(Timeout::infinite);
        start = Clock::now();
    }
    EXPECT_LT(secondsSince(start), 5);
}

// What a stream over a socket shows.

class SocketStream : public testing::Test
{
protected:
    void connect(const ScriptedServer& server)
    {
        m_socket.connect(loopback(server.port()));
        m_buffer.reportErrorsTo(&m_stream);
    }

    std::string read(std::size_t count)
    {
        std::string text(count, '\0');
        m_stream.read(text.data(), static_cast<std::streamsize>(count));
        text.resize(static_cast<std::size_t>(m_stream.gcount()));
        return text;
    }

    Socket m_socket;
    IOIFCStreamBuffer m_buffer{&m_socket, BaseStreamBuffer::E_IN_OUT, 65536};
    std::iostream m_stream{&m_buffer};
};

TEST_F(SocketStream, OrderlyCloseGivesTheDataThenEofAndFail)
{
    ScriptedServer server([](ServerConnection& connection) { connection.send("complete"); });
    connect(server);
    EXPECT_EQ(read(100), "complete");
    EXPECT_EQ(m_stream.rdstate(), std::ios::eofbit | std::ios::failbit);
    EXPECT_EQ(m_buffer.inputState(), BaseStreamBuffer::E_INPUT_ENDED);
}

TEST_F(SocketStream, ResetAfterDataGivesTheDataThenBad)
{
    std::promise<void> received;
    ScriptedServer server(
        [&](ServerConnection& connection)
        {
            connection.send("incomplete");
            received.get_future().wait_for(std::chrono::seconds(5));
            connection.reset();
        });
    connect(server);
    EXPECT_EQ(m_stream.peek(), 'i');
    received.set_value();
    EXPECT_EQ(read(100000), "incomplete");
    EXPECT_TRUE(m_stream.bad());
    EXPECT_EQ(m_buffer.inputError(), ECONNRESET);
}

TEST_F(SocketStream, ReceiveTimeoutAfterDataGivesTheDataThenBad)
{
    ScriptedServer server(
        [](ServerConnection& connection)
        {
            connection.send("incomplete");
            connection.waitUntilPeerCloses();
        });
    connect(server);
    m_socket.setReceiveTimeout(Timeout::relative(0.3F));
    EXPECT_EQ(read(100000), "incomplete");
    EXPECT_TRUE(m_stream.bad());
    EXPECT_EQ(m_buffer.inputError(), ETIMEDOUT);
}

TEST_F(SocketStream, LocalDisconnectGivesBad)
{
    ScriptedServer server([](ServerConnection& connection) { connection.waitUntilPeerCloses(); });
    connect(server);
    m_socket.disconnect();
    EXPECT_EQ(read(1), "");
    EXPECT_TRUE(m_stream.bad());
    EXPECT_EQ(m_buffer.inputError(), ENOTCONN);
}

TEST_F(SocketStream, WriteToAResetPeerGivesBad)
{
    ScriptedServer server(resetAfterOneByte);
    connect(server);
    m_socket.write("x", 1);
    EXPECT_TRUE(server.waitUntilIdle());
    writeUntilFailure(m_socket);
    m_stream << "x" << std::flush;
    EXPECT_TRUE(m_stream.bad());
}

TEST_F(SocketStream, LargeBodyArrivesWhole)
{
    ScriptedServer server([](ServerConnection& connection) { connection.send(LARGE); });
    connect(server);
    std::string body;
    std::string block(65536, '\0');
    while (m_stream.read(block.data(), 65536), m_stream.gcount() > 0)
    {
        body.append(block, 0, static_cast<std::size_t>(m_stream.gcount()));
    }
    EXPECT_EQ(body, LARGE);
    EXPECT_FALSE(m_stream.bad());
}
