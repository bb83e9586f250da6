#include "Peers.hpp"
#include "SystemCalls.hpp"
#include "support/ScriptedServer.hpp"

#include "blocxx/Socket.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <thread>
#include <vector>

using blocxx::Socket;
using blocxx::Timeout;
using zol_test::loopback;
using zol_test::readUpTo;
using zol_test::ScriptedServer;
using zol_test::ServerConnection;
using zol_test::SystemCalls;

namespace
{

void echoFour(ServerConnection& connection)
{
    connection.send(connection.receive(4));
}

int failWith(int error)
{
    errno = error;
    return -1;
}

} // namespace

TEST(SocketImpl, InterruptedTransfersAreRepeated)
{
    ScriptedServer server(echoFour);
    Socket socket;
    socket.connect(loopback(server.port()));
    SystemCalls calls;
    int sends = 0;
    calls.onSend = [&](int fd, const void* data, std::size_t length, int flags) -> ssize_t
    { return ++sends < 3 ? failWith(EINTR) : SystemCalls::send(fd, data, length, flags); };
    EXPECT_EQ(socket.write("ping", 4), 4);
    EXPECT_EQ(sends, 3);
    int receives = 0;
    calls.onReceive = [&](int fd, void* data, std::size_t length, int flags) -> ssize_t
    { return ++receives < 3 ? failWith(EINTR) : SystemCalls::receive(fd, data, length, flags); };
    EXPECT_EQ(readUpTo(socket, 4), "ping");
    EXPECT_GE(receives, 3);
}

TEST(SocketImpl, ShortWritesAreContinued)
{
    ScriptedServer server(echoFour);
    Socket socket;
    socket.connect(loopback(server.port()));
    SystemCalls calls;
    calls.onSend = [](int fd, const void* data, std::size_t length, int flags)
    { return SystemCalls::send(fd, data, std::min<std::size_t>(length, 1), flags); };
    EXPECT_EQ(socket.write("ping", 4), 4);
    EXPECT_EQ(readUpTo(socket, 4), "ping");
}

TEST(SocketImpl, AWakeUpForNothingIsWaitedOutAgain)
{
    ScriptedServer server(echoFour);
    Socket socket;
    socket.connect(loopback(server.port()));
    SystemCalls calls;
    int sends = 0;
    calls.onSend = [&](int fd, const void* data, std::size_t length, int flags) -> ssize_t
    { return ++sends < 3 ? failWith(EAGAIN) : SystemCalls::send(fd, data, length, flags); };
    EXPECT_EQ(socket.write("ping", 4), 4);
    int receives = 0;
    calls.onReceive = [&](int fd, void* data, std::size_t length, int flags) -> ssize_t
    {
        if (++receives < 3)
        {
            // What arrives in the meantime makes the wait end at once.
            return failWith(EAGAIN);
        }
        return SystemCalls::receive(fd, data, length, flags);
    };
    EXPECT_EQ(readUpTo(socket, 4), "ping");
}

TEST(SocketImpl, ASpuriousWakeUpDoesNotRestartTheLimit)
{
    ScriptedServer server([](ServerConnection& connection) { connection.waitUntilPeerCloses(); });
    Socket socket;
    socket.connect(loopback(server.port()));
    socket.setTimeouts(Timeout::relative(100));
    SystemCalls calls;
    std::vector<int> limits;
    calls.onPoll = [&](pollfd* waiting, nfds_t, int limit)
    {
        limits.push_back(limit);
        if (limits.size() == 2)
        {
            return failWith(ENOMEM);
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        waiting->revents = waiting->events;
        return 1;
    };
    char byte = 0;
    EXPECT_EQ(socket.read(&byte, 1), -1);
    ASSERT_EQ(limits.size(), 2U);
    EXPECT_LT(limits[1], limits[0]);

    limits.clear();
    calls.onSend = [](int, const void*, std::size_t, int) -> ssize_t { return failWith(EAGAIN); };
    EXPECT_EQ(socket.write("x", 1), -1);
    ASSERT_EQ(limits.size(), 2U);
    EXPECT_LT(limits[1], limits[0]);
}

TEST(SocketImpl, BytesThatLeaveRestartTheLimit)
{
    ScriptedServer server([](ServerConnection& connection) { connection.waitUntilPeerCloses(); });
    Socket socket;
    socket.connect(loopback(server.port()));
    socket.setSendTimeout(Timeout::relative(100));
    SystemCalls calls;
    std::vector<int> limits;
    calls.onPoll = [&](pollfd* waiting, nfds_t, int limit)
    {
        limits.push_back(limit);
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        waiting->revents = waiting->events;
        return limits.size() == 4 ? failWith(ENOMEM) : 1;
    };
    // Three waits for the first byte, and one after it.
    int sends = 0;
    calls.onSend = [&](int, const void*, std::size_t, int) -> ssize_t { return ++sends == 4 ? 1 : failWith(EAGAIN); };
    EXPECT_EQ(socket.write("xy", 2), -1);
    ASSERT_EQ(limits.size(), 4U);
    EXPECT_LT(limits[2], limits[0] - 30);
    EXPECT_GT(limits[3], limits[2]);
}
