#include "Peers.hpp"
#include "SystemCalls.hpp"
#include "support/ScriptedServer.hpp"

#include "blocxx/Socket.hpp"

#include <gtest/gtest.h>

#include <cerrno>

using blocxx::DateTime;
using blocxx::Socket;
using blocxx::Timeout;
using zol_test::loopback;
using zol_test::ScriptedServer;
using zol_test::ServerConnection;
using zol_test::SystemCalls;

TEST(Deadline, CountsTheMicrosecondsOfTheMomentAndOfTheClock)
{
    ScriptedServer server([](ServerConnection& connection) { connection.waitUntilPeerCloses(); });
    Socket socket;
    socket.connect(loopback(server.port()));
    socket.setReceiveTimeout(Timeout::absolute(DateTime(1000, 900000)));

    SystemCalls calls;
    calls.wallClock = {1000, 100000000};
    int milliseconds = 0;
    calls.onPoll = [&](pollfd*, nfds_t, int limit)
    {
        milliseconds = limit;
        errno = ENOMEM;
        return -1;
    };
    char byte = 0;
    EXPECT_EQ(socket.read(&byte, 1), -1);
    EXPECT_EQ(errno, ENOMEM);
    EXPECT_LE(milliseconds, 800);
    EXPECT_GT(milliseconds, 0);
}
