#include "blocxx/Socket.hpp"

#include "Peers.hpp"
#include "ScriptedResolver.hpp"
#include "support/GroupingLocale.hpp"
#include "support/Process.hpp"
#include "support/ScriptedServer.hpp"

#include "blocxx/SSLCtxMgr.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fcntl.h>
#include <netinet/tcp.h>
#include <sys/resource.h>

#include <cerrno>
#include <chrono>
#include <cmath>
#include <cstring>

using blocxx::DateTime;
using blocxx::Socket;
using blocxx::SocketAddress;
using blocxx::Timeout;
using testing::HasSubstr;
using zol_test::Clock;
using zol_test::ConnectFailure;
using zol_test::connectFailure;
using zol_test::loopback;
using zol_test::LoopbackSocket;
using zol_test::readUpTo;
using zol_test::ScriptedResolver;
using zol_test::ScriptedServer;
using zol_test::secondsSince;
using zol_test::ServerConnection;
using zol_test::SilentPort;

namespace
{

void waitForThePeer(ServerConnection& connection)
{
    connection.waitUntilPeerCloses();
}

} // namespace

TEST(SocketConnect, ReachesTheServer)
{
    ScriptedServer server(
        [](ServerConnection& connection)
        {
            EXPECT_EQ(connection.receive(4), "ping");
            connection.send("pong");
        });
    Socket socket;
    EXPECT_FALSE(socket.isConnected());
    EXPECT_EQ(socket.getfd(), -1);
    socket.connect(loopback(server.port()));
    EXPECT_TRUE(socket.isConnected());
    EXPECT_EQ(socket.write("ping", 4), 4);
    EXPECT_EQ(readUpTo(socket, 5), "pong");
}

TEST(SocketConnect, NullContextGivesAPlainSocket)
{
    ScriptedServer server([](ServerConnection& connection) { connection.send("plain"); });
    Socket socket{blocxx::SSLClientCtxRef()};
    socket.connect(loopback(server.port()));
    EXPECT_EQ(readUpTo(socket, 6), "plain");
}

TEST(SocketConnect, DescriptorIsCloseOnExecNonBlockingAndWithoutDelay)
{
    ScriptedServer server(waitForThePeer);
    Socket socket;
    socket.connect(loopback(server.port()));
    EXPECT_TRUE(::fcntl(socket.getfd(), F_GETFD) & FD_CLOEXEC);
    EXPECT_TRUE(::fcntl(socket.getfd(), F_GETFL) & O_NONBLOCK);
    int noDelay = 0;
    socklen_t size = sizeof noDelay;
    ASSERT_EQ(::getsockopt(socket.getfd(), IPPROTO_TCP, TCP_NODELAY, &noDelay, &size), 0);
    EXPECT_NE(noDelay, 0);
}

TEST(SocketConnect, KnowsBothEnds)
{
    ScriptedServer server(waitForThePeer);
    Socket socket;
    EXPECT_EQ(socket.getPeerAddress().getType(), SocketAddress::UNSET);
    EXPECT_EQ(socket.getLocalAddress().getType(), SocketAddress::UNSET);
    const ScriptedResolver resolver("peer.example", {"127.0.0.1"});
    socket.connect(SocketAddress::getByName("peer.example", server.port()));
    EXPECT_EQ(socket.getPeerAddress().toString(), server.address().c_str());
    EXPECT_EQ(socket.getPeerAddress().getName(), "peer.example");
    EXPECT_EQ(socket.getLocalAddress().getAddress(), "127.0.0.1");
    EXPECT_NE(socket.getLocalAddress().getPort(), 0);
    EXPECT_EQ(socket.getLocalAddress().getName(), "");
    socket.disconnect();
    EXPECT_EQ(socket.getPeerAddress().getType(), SocketAddress::UNSET);
}

TEST(SocketConnect, ReachesAnIPv6Server)
{
    ScriptedServer::Options options;
    options.ipv6 = true;
    ScriptedServer server(options, [](ServerConnection& connection) { connection.send("six"); });
    Socket socket;
    socket.connect(SocketAddress::getByName("::1", server.port()));
    EXPECT_EQ(readUpTo(socket, 4), "six");
}

TEST(SocketConnect, RefusedCarriesErrnoAndNamesTheAddress)
{
    const LoopbackSocket closed(LoopbackSocket::E_BOUND);
    Socket socket;
    const ConnectFailure failure = connectFailure(socket, loopback(closed.port));
    EXPECT_EQ(failure.type, "SocketException");
    EXPECT_EQ(failure.code, ECONNREFUSED);
    EXPECT_EQ(failure.text,
              "Failed to connect to: 127.0.0.1:" + std::to_string(closed.port) + ": 111(Connection refused)");
}

TEST(SocketConnect, UnreachableCarriesErrnoAndNamesTheAddress)
{
    // The kernel refuses to route to this block at once.
    Socket socket;
    const ConnectFailure failure = connectFailure(socket, SocketAddress::getByName("255.255.255.255", 80));
    EXPECT_THAT(failure.code, testing::AnyOf(ENETUNREACH, EACCES));
    EXPECT_THAT(failure.text, HasSubstr("Failed to connect to: 255.255.255.255:80: " + std::to_string(failure.code)));
}

TEST(SocketConnect, UnsetAddressIsInvalid)
{
    Socket socket;
    const ConnectFailure failure = connectFailure(socket, SocketAddress());
    EXPECT_EQ(failure.code, EINVAL);
    EXPECT_EQ(failure.text, "Failed to connect to: : 22(Invalid argument)");
}

TEST(SocketConnect, ExpiryNamesAddressPhaseAndLimit)
{
    const SilentPort silent;
    Socket socket;
    socket.setConnectTimeout(Timeout::relative(0.25F));
    const Clock::time_point start = Clock::now();
    const ConnectFailure failure = connectFailure(socket, loopback(silent.port()));
    EXPECT_GE(secondsSince(start), 0.25);
    EXPECT_LT(secondsSince(start), 3);
    EXPECT_EQ(failure.type, "SocketException");
    EXPECT_EQ(failure.code, ETIMEDOUT);
    EXPECT_EQ(failure.text, "connect timed out: 127.0.0.1:" + std::to_string(silent.port()) + " (limit: 0.25 seconds)");
}

TEST(SocketConnect, AbsoluteTimeoutExpiresAtItsMoment)
{
    const SilentPort silent;
    Socket socket;
    const DateTime now = DateTime::getCurrent();
    const std::uint32_t micro = now.getMicrosecond() + 300000;
    const DateTime end(now.get() + micro / 1000000, micro % 1000000);
    socket.setConnectTimeout(Timeout::absolute(end));
    const Clock::time_point start = Clock::now();
    const ConnectFailure failure = connectFailure(socket, loopback(silent.port()));
    EXPECT_GE(secondsSince(start), 0.2);
    EXPECT_LT(secondsSince(start), 3);
    EXPECT_EQ(failure.code, ETIMEDOUT);
    EXPECT_THAT(failure.text,
                HasSubstr("(limit: the moment " + std::to_string(end.get()) + " seconds after the epoch)"));
}

TEST(SocketConnect, TextsDoNotFollowTheGlobalLocale)
{
    const zol_test::GroupingLocale locale;
    const SilentPort silent;
    const std::string address = "127.0.0.1:" + std::to_string(silent.port());
    Socket socket;
    socket.setConnectTimeout(Timeout::relative(0.25F));
    EXPECT_EQ(connectFailure(socket, loopback(silent.port())).text,
              "connect timed out: " + address + " (limit: 0.25 seconds)");
    socket.setConnectTimeout(Timeout::absolute(DateTime(1234567)));
    EXPECT_EQ(connectFailure(socket, loopback(silent.port())).text,
              "connect timed out: " + address + " (limit: the moment 1234567 seconds after the epoch)");
}

struct NoTime
{
    const char* name;
    Timeout timeout;
};

void PrintTo(const NoTime& noTime, std::ostream* out)
{
    *out << noTime.name;
}

class SocketConnectNoTime : public testing::TestWithParam<NoTime>
{
};

TEST_P(SocketConnectNoTime, FailsAtOnceUnlessReadyAtOnce)
{
    const SilentPort silent;
    Socket socket;
    socket.setConnectTimeout(GetParam().timeout);
    const Clock::time_point start = Clock::now();
    EXPECT_EQ(connectFailure(socket, loopback(silent.port())).code, ETIMEDOUT);
    EXPECT_LT(secondsSince(start), 3);
}

INSTANTIATE_TEST_SUITE_P(Timeouts, SocketConnectNoTime,
                         testing::Values(NoTime{"zero", Timeout::relative(0)},
                                         NoTime{"negative", Timeout::relative(-1)},
                                         NoTime{"negative infinity", Timeout::relative(-INFINITY)},
                                         NoTime{"not a number", Timeout::relative(NAN)},
                                         NoTime{"zero with reset", Timeout::relativeWithReset(0)},
                                         NoTime{"past", Timeout::absolute(DateTime(1))},
                                         NoTime{"epoch", Timeout::absolute(DateTime())}));

TEST(SocketConnect, ZeroTimeoutSucceedsWhenTheConnectionIsThereAtOnce)
{
    // The kernel completes a connect to a listener of this machine before the first look at the descriptor.
    ScriptedServer server(waitForThePeer);
    Socket socket;
    socket.setConnectTimeout(Timeout::relative(0));
    EXPECT_NO_THROW(socket.connect(loopback(server.port())));
}

TEST(SocketConnect, VeryLongTimeoutsDoNotOverflow)
{
    ScriptedServer server(waitForThePeer);
    for (const float seconds : {1e6F, 1e9F, 1e30F, 3.4e38F})
    {
        Socket socket;
        socket.setConnectTimeout(Timeout::relative(seconds));
        EXPECT_NO_THROW(socket.connect(loopback(server.port()))) << seconds;
    }
}

TEST(SocketConnect, FailuresLeaveNoDescriptorOpen)
{
    const LoopbackSocket closed(LoopbackSocket::E_BOUND);
    const SilentPort silent;
    const std::size_t before = zol_test::openDescriptors();
    Socket socket;
    socket.setConnectTimeout(Timeout::relative(0.05F));
    connectFailure(socket, loopback(closed.port));
    connectFailure(socket, loopback(silent.port()));
    connectFailure(socket, SocketAddress());
    EXPECT_EQ(zol_test::openDescriptors(), before);
}

TEST(SocketConnect, SignalsDoNotEndTheWait)
{
    const SilentPort silent;
    Socket socket;
    socket.setConnectTimeout(Timeout::relative(0.3F));
    const zol_test::SignalStorm storm;
    const int before = zol_test::SignalStorm::count();
    const Clock::time_point start = Clock::now();
    EXPECT_EQ(connectFailure(socket, loopback(silent.port())).code, ETIMEDOUT);
    EXPECT_GE(secondsSince(start), 0.3);
    EXPECT_LT(secondsSince(start), 3);
    EXPECT_GT(zol_test::SignalStorm::count(), before);
}

TEST(SocketConnect, AgainLeavesTheFirstServer)
{
    ScriptedServer first([](ServerConnection& connection) { EXPECT_EQ(connection.receiveUntilEnd(), ""); });
    ScriptedServer second([](ServerConnection& connection) { connection.send("two"); });
    Socket socket;
    socket.connect(loopback(first.port()));
    socket.connect(loopback(second.port()));
    EXPECT_EQ(readUpTo(socket, 4), "two");
    EXPECT_TRUE(first.waitUntilIdle());
}

TEST(SocketConnect, WorksWithDescriptorsBeyondWhatSelectTakes)
{
    rlimit limit{};
    ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &limit), 0);
    if (limit.rlim_max < 2048)
    {
        GTEST_SKIP() << "at most " << limit.rlim_max << " descriptors are allowed";
    }
    const rlimit raised{2048, limit.rlim_max};
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &raised), 0);
    {
        std::vector<zol_test::Descriptor> fill;
        while (fill.empty() || fill.back().get() < 1100)
        {
            fill.emplace_back(::open("/dev/null", O_RDONLY | O_CLOEXEC));
            ASSERT_TRUE(fill.back());
        }
        ScriptedServer server(
            [](ServerConnection& connection)
            {
                connection.receive(4);
                connection.pause(std::chrono::milliseconds(50));
                connection.send("late");
            });
        Socket socket;
        socket.connect(loopback(server.port()));
        EXPECT_GT(socket.getfd(), 1024);
        EXPECT_EQ(socket.write("ping", 4), 4);
        EXPECT_EQ(readUpTo(socket, 5), "late");
    }
    ::setrlimit(RLIMIT_NOFILE, &limit);
}

TEST(Socket, CopiesShareTheConnection)
{
    ScriptedServer server([](ServerConnection& connection) { EXPECT_EQ(connection.receiveUntilEnd(), "ab"); });
    Socket last;
    {
        Socket socket;
        const Socket copy(socket);
        socket.connect(loopback(server.port()));
        EXPECT_EQ(copy.getfd(), socket.getfd());
        last = copy;
        EXPECT_EQ(socket.write("a", 1), 1);
        last.setReceiveTimeout(Timeout::relative(7));
        EXPECT_EQ(socket.getReceiveTimeout(), Timeout::relative(7));
    }
    EXPECT_TRUE(last.isConnected());
    EXPECT_EQ(last.write("b", 1), 1);
    const Socket copy(last);
    last.disconnect();
    EXPECT_FALSE(copy.isConnected());
    EXPECT_TRUE(server.waitUntilIdle());
}

TEST(Socket, LastCopyClosesTheConnection)
{
    ScriptedServer server([](ServerConnection& connection) { EXPECT_TRUE(connection.waitUntilPeerCloses()); });
    const std::size_t before = zol_test::openDescriptors();
    {
        Socket socket;
        socket.connect(loopback(server.port()));
        const Socket copy(socket);
    }
    EXPECT_TRUE(server.waitForConnections(1));
    EXPECT_TRUE(server.waitUntilIdle());
    EXPECT_EQ(zol_test::openDescriptors(), before);
}

TEST(Socket, DisconnectOfAClosedSocketDoesNothing)
{
    Socket socket;
    EXPECT_NO_THROW(socket.disconnect());
    EXPECT_FALSE(socket.isConnected());
}

TEST(Socket, UnconnectedTransfersFailWithNotConnected)
{
    Socket socket;
    char byte = 0;
    errno = 0;
    EXPECT_EQ(socket.read(&byte, 1), -1);
    EXPECT_EQ(errno, ENOTCONN);
    errno = 0;
    EXPECT_EQ(socket.write(&byte, 1), -1);
    EXPECT_EQ(errno, ENOTCONN);
}

TEST(Socket, TransfersOfNothingDoNothing)
{
    ScriptedServer server(waitForThePeer);
    Socket socket;
    socket.connect(loopback(server.port()));
    char byte = 0;
    EXPECT_EQ(socket.read(&byte, 0), 0);
    EXPECT_EQ(socket.write(&byte, 0), 0);
    errno = 0;
    EXPECT_EQ(socket.read(&byte, -1), -1);
    EXPECT_EQ(errno, EINVAL);
    errno = 0;
    EXPECT_EQ(socket.write(&byte, -1), -1);
    EXPECT_EQ(errno, EINVAL);
}

TEST(SocketTimeouts, StartAsThreeHundredSecondsAndNoConnectLimit)
{
    const Socket socket;
    EXPECT_EQ(socket.getReceiveTimeout(), Timeout::relative(300));
    EXPECT_EQ(socket.getSendTimeout(), Timeout::relative(300));
    EXPECT_EQ(socket.getConnectTimeout(), Timeout::infinite);
}

TEST(SocketTimeouts, StartValueCanBeChangedForNewSockets)
{
    Socket before;
    Socket::setDefaultTimeouts(Timeout::relative(5));
    const Socket after;
    Socket::setDefaultTimeouts(Timeout::relative(300));
    EXPECT_EQ(before.getReceiveTimeout(), Timeout::relative(300));
    EXPECT_EQ(after.getReceiveTimeout(), Timeout::relative(5));
    EXPECT_EQ(after.getSendTimeout(), Timeout::relative(5));
    EXPECT_EQ(after.getConnectTimeout(), Timeout::infinite);
}

TEST(SocketTimeouts, CanBeSetOneByOneAndTogether)
{
    Socket socket;
    socket.setConnectTimeout(Timeout::relative(1));
    socket.setReceiveTimeout(Timeout::relative(2));
    socket.setSendTimeout(Timeout::infinite);
    EXPECT_EQ(socket.getConnectTimeout(), Timeout::relative(1));
    EXPECT_EQ(socket.getReceiveTimeout(), Timeout::relative(2));
    EXPECT_EQ(socket.getSendTimeout(), Timeout::infinite);
    socket.setTimeouts(Timeout::relative(4));
    EXPECT_EQ(socket.getConnectTimeout(), Timeout::relative(4));
    EXPECT_EQ(socket.getReceiveTimeout(), Timeout::relative(4));
    EXPECT_EQ(socket.getSendTimeout(), Timeout::relative(4));
}
