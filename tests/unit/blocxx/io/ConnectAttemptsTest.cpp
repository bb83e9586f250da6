#include "Peers.hpp"
#include "ScriptedResolver.hpp"
#include "SystemCalls.hpp"
#include "TLSPeers.hpp"
#include "support/Process.hpp"
#include "support/ScriptedServer.hpp"

#include "blocxx/Socket.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fcntl.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <cerrno>
#include <string>
#include <vector>

using blocxx::Socket;
using blocxx::SocketAddress;
using blocxx::Timeout;
using testing::HasSubstr;
using zol_test::Clock;
using zol_test::ConnectFailure;
using zol_test::connectFailure;
using zol_test::Descriptor;
using zol_test::LoopbackSocket;
using zol_test::readUpTo;
using zol_test::ScriptedResolver;
using zol_test::ScriptedServer;
using zol_test::secondsSince;
using zol_test::ServerConnection;
using zol_test::SilentPort;
using zol_test::SystemCalls;

namespace
{

const char* const HOST = "some.example";

SocketAddress someHost(std::uint16_t port)
{
    return SocketAddress::getByName(HOST, port);
}

Descriptor listenOn(const char* address, std::uint16_t port)
{
    Descriptor listener(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    const SocketAddress native = SocketAddress::getByName(address, port);
    EXPECT_EQ(::bind(listener.get(), native.getNativeForm(), sizeof(sockaddr_in)), 0);
    EXPECT_EQ(::listen(listener.get(), 5), 0);
    return listener;
}

// Connecting to the addresses fails with one error after the other, without any network.
ConnectFailure failureAfter(const std::vector<int>& errors)
{
    const ScriptedResolver resolver(HOST, std::vector<std::string>(errors.size(), "127.0.0.1"));
    SystemCalls calls;
    std::size_t index = 0;
    calls.onConnect = [&](int, const sockaddr*, socklen_t)
    {
        errno = errors.at(index++);
        return -1;
    };
    Socket socket;
    return connectFailure(socket, someHost(1));
}

} // namespace

TEST(ConnectAttempts, TakesTheAddressesInTheResolversOrder)
{
    ScriptedServer server([](ServerConnection& connection) { connection.send("here"); });
    const ScriptedResolver resolver(HOST, {"127.0.0.2", "127.0.0.3", "127.0.0.1"});
    Socket socket;
    socket.connect(someHost(server.port()));
    EXPECT_EQ(socket.getPeerAddress().getAddress(), "127.0.0.1");
    EXPECT_EQ(readUpTo(socket, 4), "here");
}

TEST(ConnectAttempts, TheNextAddressDoesNotWaitForASilentOne)
{
    const SilentPort silent;
    const Descriptor listener = listenOn("127.0.0.9", silent.port());
    const ScriptedResolver resolver(HOST, {"127.0.0.1", "127.0.0.9"});
    Socket socket;
    socket.setConnectTimeout(Timeout::relative(60));
    const Clock::time_point start = Clock::now();
    socket.connect(someHost(silent.port()));
    EXPECT_EQ(socket.getPeerAddress().getAddress(), "127.0.0.9");
    EXPECT_GE(secondsSince(start), 0.25);
    EXPECT_LT(secondsSince(start), 10);
}

TEST(ConnectAttempts, TheNextAddressFollowsAFailedOneAtOnce)
{
    const LoopbackSocket closed(LoopbackSocket::E_BOUND);
    const Descriptor listener = listenOn("127.0.0.9", closed.port);
    std::vector<std::string> addresses(80, "127.0.0.1");
    addresses.emplace_back("127.0.0.9");
    const ScriptedResolver resolver(HOST, addresses);
    Socket socket;
    const Clock::time_point start = Clock::now();
    socket.connect(someHost(closed.port));
    EXPECT_EQ(socket.getPeerAddress().getAddress(), "127.0.0.9");
    EXPECT_LT(secondsSince(start), 10);
}

TEST(ConnectAttempts, AnEarlierOneStaysOpenAndMayStillWin)
{
    // A listener with a full queue drops what the kernel of the client sends again after a second.
    const LoopbackSocket listener(LoopbackSocket::E_LISTENING, false, 0);
    const SocketAddress address = zol_test::loopback(listener.port);
    const Descriptor filler(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    ASSERT_EQ(::connect(filler.get(), address.getNativeForm(), sizeof(sockaddr_in)), 0);

    const ScriptedResolver resolver(HOST, {"127.0.0.1", "127.0.0.1"});
    std::vector<int> attempts;
    Descriptor accepted;
    SystemCalls calls;
    calls.onConnect = [&](int fd, const sockaddr* native, socklen_t size)
    {
        attempts.push_back(fd);
        const int result = SystemCalls::connect(fd, native, size);
        const int error = errno;
        if (attempts.size() == 2)
        {
            accepted = Descriptor(::accept4(listener.descriptor.get(), nullptr, nullptr, SOCK_CLOEXEC));
        }
        errno = error;
        return result;
    };
    Socket socket;
    socket.setConnectTimeout(Timeout::relative(60));
    socket.connect(someHost(listener.port));
    ASSERT_EQ(attempts.size(), 2U);
    EXPECT_EQ(socket.getfd(), attempts[0]);
    EXPECT_EQ(::fcntl(attempts[1], F_GETFD), -1) << "the other attempt is still open";
}

TEST(ConnectAttempts, TheOthersAreClosedBeforeTheHandshakeStarts)
{
    const SilentPort silent;
    const Descriptor listener = listenOn("127.0.0.9", silent.port());
    const ScriptedResolver resolver(HOST, {"127.0.0.1", "127.0.0.9"});
    SystemCalls calls;
    std::vector<int> attempts;
    calls.onConnect = [&](int fd, const sockaddr* native, socklen_t size)
    {
        attempts.push_back(fd);
        return SystemCalls::connect(fd, native, size);
    };
    int flags = 0;
    calls.onSend = [&](int, const void*, std::size_t, int) -> ssize_t
    {
        flags = ::fcntl(attempts.at(0), F_GETFD);
        errno = EPIPE;
        return -1;
    };
    Socket socket(zol_test::uncheckedClient());
    const ConnectFailure failure = connectFailure(socket, someHost(silent.port()));
    EXPECT_EQ(failure.code, EPIPE);
    EXPECT_EQ(attempts.size(), 2U);
    EXPECT_EQ(flags, -1) << "the silent attempt is still open";
}

TEST(ConnectAttempts, AnInterruptedConnectContinues)
{
    ScriptedServer server([](ServerConnection& connection) { connection.send("here"); });
    SystemCalls calls;
    calls.onConnect = [](int fd, const sockaddr* native, socklen_t size)
    {
        SystemCalls::connect(fd, native, size);
        errno = EINTR;
        return -1;
    };
    Socket socket;
    socket.connect(zol_test::loopback(server.port()));
    EXPECT_EQ(readUpTo(socket, 4), "here");
}

TEST(ConnectAttempts, AConnectionToItselfIsRefused)
{
    const std::uint16_t port = zol_test::freePort();
    SystemCalls calls;
    // What the kernel does when it happens to choose the same port.
    calls.onConnect = [](int fd, const sockaddr* native, socklen_t size)
    {
        EXPECT_EQ(::bind(fd, native, size), 0);
        return SystemCalls::connect(fd, native, size);
    };
    for (const char* host : {"127.0.0.1", "::1"})
    {
        Socket socket;
        const SocketAddress address = SocketAddress::getByName(host, port);
        const ConnectFailure failure = connectFailure(socket, address);
        EXPECT_EQ(failure.code, ECONNREFUSED);
        EXPECT_EQ(failure.text,
                  std::string("Failed to connect to: ") + address.toString().c_str() + ": 111(Connection refused)");
    }
}

TEST(ConnectAttempts, FailureOfAllAddressesNamesEach)
{
    const LoopbackSocket closed(LoopbackSocket::E_BOUND);
    const ScriptedResolver resolver(HOST, {"127.0.0.2", "127.0.0.1"});
    Socket socket;
    const ConnectFailure failure = connectFailure(socket, someHost(closed.port));
    const std::string port = std::to_string(closed.port);
    EXPECT_EQ(failure.code, ECONNREFUSED);
    EXPECT_EQ(failure.text, "Failed to connect to: 127.0.0.2:" + port + ": 111(Connection refused); 127.0.0.1:" + port +
                                ": 111(Connection refused)");
}

TEST(ConnectAttempts, TheFirstFailureThatThePeerCausedGivesTheCode)
{
    EXPECT_EQ(failureAfter({EHOSTUNREACH, ECONNREFUSED}).code, EHOSTUNREACH);
    EXPECT_EQ(failureAfter({ECONNREFUSED, EHOSTUNREACH}).code, ECONNREFUSED);
    EXPECT_EQ(failureAfter({ENETUNREACH, EADDRNOTAVAIL, ECONNREFUSED, EHOSTUNREACH}).code, ECONNREFUSED);
    for (const int ours :
         {EACCES, EADDRNOTAVAIL, EAFNOSUPPORT, EINVAL, EMFILE, ENETDOWN, ENETUNREACH, ENFILE, ENOBUFS, ENOMEM, EPERM})
    {
        EXPECT_EQ(failureAfter({ours, ECONNREFUSED}).code, ECONNREFUSED) << ours;
    }
}

TEST(ConnectAttempts, IfThisMachineCausedThemAllTheFirstFailureGivesTheCode)
{
    EXPECT_EQ(failureAfter({ENETUNREACH, EADDRNOTAVAIL}).code, ENETUNREACH);
    EXPECT_EQ(failureAfter({EADDRNOTAVAIL, ENETUNREACH}).code, EADDRNOTAVAIL);
}

TEST(ConnectAttempts, OneDeadlineBoundsThemAllAndItsTextNamesThem)
{
    const SilentPort silent;
    const std::size_t before = zol_test::openDescriptors();
    const ScriptedResolver resolver(HOST, {"127.0.0.1", "127.0.0.2", "127.0.0.1"});
    Socket socket;
    socket.setConnectTimeout(Timeout::relative(0.6F));
    const Clock::time_point start = Clock::now();
    const ConnectFailure failure = connectFailure(socket, someHost(silent.port()));
    EXPECT_GE(secondsSince(start), 0.6);
    EXPECT_LT(secondsSince(start), 10);
    EXPECT_EQ(failure.type, "SocketException");
    EXPECT_EQ(failure.code, ETIMEDOUT);
    const std::string port = std::to_string(silent.port());
    EXPECT_EQ(failure.text, "connect timed out: 127.0.0.1:" + port + "; 127.0.0.2:" + port +
                                ": 111(Connection refused); 127.0.0.1:" + port + " (limit: 0.6 seconds)");
    EXPECT_EQ(zol_test::openDescriptors(), before);
}

TEST(ConnectAttempts, AnAddressWhoseTurnDoesNotComeIsNotNamed)
{
    const SilentPort silent;
    const ScriptedResolver resolver(HOST, {"127.0.0.1", "127.0.0.2"});
    Socket socket;
    socket.setConnectTimeout(Timeout::relative(0));
    const ConnectFailure failure = connectFailure(socket, someHost(silent.port()));
    EXPECT_EQ(failure.code, ETIMEDOUT);
    EXPECT_EQ(failure.text, "connect timed out: 127.0.0.1:" + std::to_string(silent.port()) + " (limit: 0 seconds)");
}

TEST(ConnectAttempts, WithoutTimeTheNextAddressIsStillTriedWhenOneFailsAtOnce)
{
    const LoopbackSocket closed(LoopbackSocket::E_BOUND);
    const Descriptor listener = listenOn("127.0.0.9", closed.port);
    const ScriptedResolver resolver(HOST, {"127.0.0.1", "127.0.0.9"});
    Socket socket;
    socket.setConnectTimeout(Timeout::relative(0));
    EXPECT_NO_THROW(socket.connect(someHost(closed.port)));
}

TEST(ConnectAttempts, AFailedWaitFailsThemAll)
{
    const SilentPort silent;
    const std::size_t before = zol_test::openDescriptors();
    SystemCalls calls;
    calls.onPoll = [](pollfd*, nfds_t, int)
    {
        errno = ENOMEM;
        return -1;
    };
    Socket socket;
    const ConnectFailure failure = connectFailure(socket, zol_test::loopback(silent.port()));
    EXPECT_EQ(failure.code, ENOMEM);
    EXPECT_THAT(failure.text, HasSubstr(": 12(Cannot allocate memory)"));
    EXPECT_EQ(zol_test::openDescriptors(), before);
}
