#pragma once

#include "support/Descriptor.hpp"

#include "blocxx/Socket.hpp"
#include "blocxx/SocketAddress.hpp"

#include <chrono>
#include <cstdint>
#include <functional>
#include <string>
#include <thread>
#include <vector>

namespace zol_test
{

/// A port of 127.0.0.1 that stays silent: its listener's queue is full, so that a connect lasts until its time is up.
class SilentPort
{
public:
    SilentPort();

    std::uint16_t port() const { return m_listener.port; }

private:
    LoopbackSocket m_listener;
    std::vector<Descriptor> m_waiting;
};

blocxx::SocketAddress loopback(std::uint16_t port);

using Clock = std::chrono::steady_clock;
double secondsSince(Clock::time_point start);

/// The exception of a failed connect. Fails the test if it succeeds.
struct ConnectFailure
{
    std::string type;
    std::string text;
    int code = 0;
};
ConnectFailure connectFailure(blocxx::Socket& socket, const blocxx::SocketAddress& address);

/// Reads until `count` bytes are there, or the end, or an error.
std::string readUpTo(blocxx::Socket& socket, std::size_t count);

/// Sends a thread a signal, without SA_RESTART, every half millisecond while it lives. The thread that constructs it
/// is the one that gets them.
class SignalStorm
{
public:
    SignalStorm();
    ~SignalStorm();
    SignalStorm(const SignalStorm&) = delete;
    SignalStorm& operator=(const SignalStorm&) = delete;

    /// How many signals have interrupted the thread so far.
    static int count();

private:
    std::thread m_sender;
    Pipe m_stop;
};

} // namespace zol_test
