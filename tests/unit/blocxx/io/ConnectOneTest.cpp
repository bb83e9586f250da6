#include "io/ConnectOne.hpp"

#include "Peers.hpp"
#include "SystemCalls.hpp"
#include "io/OperationBounds.hpp"
#include "support/Descriptor.hpp"

#include <gtest/gtest.h>

#include <cerrno>
#include <functional>
#include <ostream>
#include <tuple>

// A peer with one address is connected to in a way of its own. What comes out is what attempts at several addresses,
// reduced to one, give.

namespace
{

using blocxx::ConnectAttempts;
using blocxx::Deadline;
using blocxx::OperationBounds;
using blocxx::SocketAddress;
using blocxx::Timeout;
using zol_test::LoopbackSocket;
using zol_test::SystemCalls;

/// What a connect came to, and its error if it failed.
using Outcome = std::tuple<ConnectAttempts::EOutcome, int>;

Outcome byOne(const SocketAddress& address, const Timeout& timeout, OperationBounds* bounds)
{
    const blocxx::OneConnect result = connectToOne(address, Deadline(timeout), bounds);
    EXPECT_EQ(result.socket.isOpen(), result.outcome == ConnectAttempts::E_CONNECTED);
    return {result.outcome, result.error};
}

Outcome byAttempts(const SocketAddress& address, const Timeout& timeout, OperationBounds* bounds)
{
    ConnectAttempts attempts(address, bounds);
    const ConnectAttempts::EOutcome outcome = attempts.run(Deadline(timeout));
    return {outcome, outcome == ConnectAttempts::E_FAILED ? attempts.tellingError() : 0};
}

/// Both ways, each with system calls of its own.
void expectBoth(
    const Outcome& expected, const SocketAddress& address, const Timeout& timeout = Timeout::relative(10),
    OperationBounds* bounds = nullptr, const std::function<void(SystemCalls&)>& arrange = [](SystemCalls&) {})
{
    for (const auto way : {byOne, byAttempts})
    {
        SystemCalls calls;
        arrange(calls);
        EXPECT_EQ(way(address, timeout, bounds), expected) << (way == byOne ? "one" : "attempts");
    }
}

TEST(ConnectOne, ConnectsAsAttemptsDo)
{
    const LoopbackSocket listener(LoopbackSocket::E_LISTENING);
    expectBoth({ConnectAttempts::E_CONNECTED, 0}, zol_test::loopback(listener.port));
    OperationBounds bounds;
    expectBoth({ConnectAttempts::E_CONNECTED, 0}, zol_test::loopback(listener.port), Timeout::infinite, &bounds);
}

TEST(ConnectOne, IsRefusedAsAttemptsAre)
{
    const LoopbackSocket closed(LoopbackSocket::E_BOUND);
    expectBoth({ConnectAttempts::E_FAILED, ECONNREFUSED}, zol_test::loopback(closed.port));
}

TEST(ConnectOne, TimesOutAsAttemptsDo)
{
    const zol_test::SilentPort silent;
    expectBoth({ConnectAttempts::E_TIMED_OUT, 0}, zol_test::loopback(silent.port()), Timeout::relative(0.05F));
    expectBoth({ConnectAttempts::E_TIMED_OUT, 0}, zol_test::loopback(silent.port()), Timeout::relative(0));
}

TEST(ConnectOne, IsBoundedAsAttemptsAre)
{
    const zol_test::SilentPort silent;
    OperationBounds passing;
    passing.setDeadline(Timeout::relative(0.05F));
    expectBoth({ConnectAttempts::E_BOUND_REACHED, 0}, zol_test::loopback(silent.port()), Timeout::infinite, &passing);
    const LoopbackSocket listener(LoopbackSocket::E_LISTENING);
    OperationBounds passed;
    passed.setDeadline(Timeout::relative(-1));
    expectBoth({ConnectAttempts::E_BOUND_REACHED, 0}, zol_test::loopback(listener.port), Timeout::infinite, &passed);
    OperationBounds cancelled;
    blocxx::Cancellation cancellation;
    cancellation.cancel();
    cancelled.setCancellation(cancellation);
    expectBoth({ConnectAttempts::E_BOUND_REACHED, 0}, zol_test::loopback(listener.port), Timeout::infinite, &cancelled);
}

TEST(ConnectOne, FailsWithTheErrorsOfTheSystemAsAttemptsDo)
{
    const LoopbackSocket listener(LoopbackSocket::E_LISTENING);
    const auto address = zol_test::loopback(listener.port);
    expectBoth({ConnectAttempts::E_FAILED, EPERM}, address, Timeout::relative(10), nullptr,
               [](SystemCalls& calls)
               {
                   calls.onConnect = [](int, const sockaddr*, socklen_t)
                   {
                       errno = EPERM;
                       return -1;
                   };
               });
    expectBoth({ConnectAttempts::E_CONNECTED, 0}, address, Timeout::relative(10), nullptr,
               [](SystemCalls& calls)
               {
                   calls.onConnect = [](int descriptor, const sockaddr* native, socklen_t size)
                   {
                       SystemCalls::connect(descriptor, native, size);
                       errno = EINTR;
                       return -1;
                   };
               });
    expectBoth({ConnectAttempts::E_FAILED, ENOMEM}, address, Timeout::relative(10), nullptr,
               [](SystemCalls& calls)
               {
                   calls.onConnect = [](int, const sockaddr*, socklen_t)
                   {
                       errno = EINPROGRESS;
                       return -1;
                   };
                   calls.onPoll = [](pollfd*, nfds_t, int)
                   {
                       errno = ENOMEM;
                       return -1;
                   };
               });
}

TEST(ConnectOne, IsTriedOnceAndNotByAttemptsAgain)
{
    const LoopbackSocket closed(LoopbackSocket::E_BOUND);
    int connects = 0;
    SystemCalls calls;
    calls.onConnect = [&](int descriptor, const sockaddr* native, socklen_t size)
    {
        ++connects;
        return SystemCalls::connect(descriptor, native, size);
    };
    blocxx::Socket socket;
    const zol_test::ConnectFailure failure = zol_test::connectFailure(socket, zol_test::loopback(closed.port));
    EXPECT_EQ(failure.code, ECONNREFUSED);
    EXPECT_EQ(connects, 1);
}

} // namespace
