#include "Peers.hpp"

#include "blocxx/Exception.hpp"

#include <gtest/gtest.h>

#include <netinet/in.h>
#include <poll.h>
#include <pthread.h>
#include <sys/socket.h>

#include <atomic>
#include <csignal>
#include <stdexcept>

namespace zol_test
{

namespace
{

std::atomic<int> signalsSeen{0};

void countSignal(int)
{
    ++signalsSeen;
}

} // namespace

SilentPort::SilentPort() : m_listener(LoopbackSocket::E_LISTENING, false, 0)
{
    const blocxx::SocketAddress address = loopback(port());
    for (int i = 0; i < 64; ++i)
    {
        m_waiting.emplace_back(::socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
        const int fd = m_waiting.back().get();
        (void)::connect(fd, address.getNativeForm(), static_cast<socklen_t>(address.getNativeFormSize()));
        pollfd connected{fd, POLLOUT, 0};
        if (::poll(&connected, 1, 100) == 0)
        {
            return;
        }
    }
    throw std::runtime_error("the listener's queue does not fill up");
}

blocxx::SocketAddress loopback(std::uint16_t port)
{
    return blocxx::SocketAddress::getByName("127.0.0.1", port);
}

double secondsSince(Clock::time_point start)
{
    return std::chrono::duration<double>(Clock::now() - start).count();
}

ConnectFailure connectFailure(blocxx::Socket& socket, const blocxx::SocketAddress& address)
{
    try
    {
        socket.connect(address);
    }
    catch (const blocxx::SocketException& e)
    {
        EXPECT_FALSE(socket.isConnected());
        EXPECT_EQ(socket.getfd(), -1);
        return {e.type(), e.getMessage(), e.getErrorCode()};
    }
    ADD_FAILURE() << "connected to " << address.toString().c_str();
    return {};
}

std::string readUpTo(blocxx::Socket& socket, std::size_t count)
{
    std::string text(count, '\0');
    std::size_t got = 0;
    while (got < count)
    {
        const int step = socket.read(text.data() + got, static_cast<int>(count - got));
        if (step <= 0)
        {
            break;
        }
        got += static_cast<std::size_t>(step);
    }
    text.resize(got);
    return text;
}

SignalStorm::SignalStorm()
{
    struct sigaction action = {};
    action.sa_handler = countSignal;
    ::sigaction(SIGUSR1, &action, nullptr);
    m_sender = std::thread(
        [this, target = ::pthread_self()]
        {
            pollfd stop{m_stop.readEnd.get(), POLLIN, 0};
            const timespec pause{0, 500000};
            while (::ppoll(&stop, 1, &pause, nullptr) == 0)
            {
                ::pthread_kill(target, SIGUSR1);
            }
        });
}

SignalStorm::~SignalStorm()
{
    m_stop.writeEnd.reset();
    m_sender.join();
}

int SignalStorm::count()
{
    return signalsSeen;
}

} // namespace zol_test
