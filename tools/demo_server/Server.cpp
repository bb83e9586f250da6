#include "Server.hpp"

#include "Pages.hpp"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <system_error>
#include <thread>

namespace demo
{

namespace
{

constexpr int BACKLOG = 64;
constexpr int ATTEMPTS = 20;

[[noreturn]] void fail(const char* what)
{
    throw std::system_error(errno, std::generic_category(), what);
}

Descriptor listenOn(const sockaddr* address, socklen_t size)
{
    Descriptor socket(::socket(address->sa_family, SOCK_STREAM | SOCK_CLOEXEC, 0));
    const int on = 1;
    if (!socket.isOpen() || ::setsockopt(socket.number(), SOL_SOCKET, SO_REUSEADDR, &on, sizeof(on)) != 0 ||
        (address->sa_family == AF_INET6 &&
         ::setsockopt(socket.number(), IPPROTO_IPV6, IPV6_V6ONLY, &on, sizeof(on)) != 0) ||
        ::bind(socket.number(), address, size) != 0 || ::listen(socket.number(), BACKLOG) != 0)
    {
        return Descriptor();
    }
    return socket;
}

Descriptor listenOnIPv4(std::uint16_t port)
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return listenOn(reinterpret_cast<const sockaddr*>(&address), sizeof(address));
}

Descriptor listenOnIPv6(std::uint16_t port)
{
    sockaddr_in6 address{};
    address.sin6_family = AF_INET6;
    address.sin6_port = htons(port);
    address.sin6_addr = in6addr_loopback;
    return listenOn(reinterpret_cast<const sockaddr*>(&address), sizeof(address));
}

std::uint16_t portOf(const Descriptor& socket)
{
    sockaddr_in address{};
    socklen_t size = sizeof(address);
    if (::getsockname(socket.number(), reinterpret_cast<sockaddr*>(&address), &size) != 0)
    {
        fail("cannot ask for the port");
    }
    return ntohs(address.sin_port);
}

} // namespace

Server::~Server()
{
    std::unique_lock lock(m_mutex);
    for (const int connection : m_connections)
    {
        ::shutdown(connection, SHUT_RDWR);
    }
    m_ended.wait(lock, [this] { return m_connections.empty(); });
}

std::uint16_t Server::listen(std::uint16_t port, SSL_CTX* context)
{
    // The kernel chooses a port for one address only; another program may hold the same number on the other.
    for (int attempt = 0; attempt < ATTEMPTS; ++attempt)
    {
        Descriptor ipv4 = listenOnIPv4(port);
        if (!ipv4.isOpen())
        {
            fail("cannot listen on 127.0.0.1");
        }
        const std::uint16_t chosen = portOf(ipv4);
        Descriptor ipv6 = listenOnIPv6(chosen);
        if (!ipv6.isOpen() && errno == EADDRINUSE && port == 0)
        {
            continue;
        }
        m_listeners.push_back({std::move(ipv4), context});
        if (ipv6.isOpen())
        {
            m_listeners.push_back({std::move(ipv6), context});
        }
        return chosen;
    }
    errno = EADDRINUSE;
    fail("cannot find a port that is free on 127.0.0.1 and ::1");
}

void Server::runUntilReadable(const std::vector<int>& stop)
{
    std::vector<pollfd> waiting;
    for (const Listener& listener : m_listeners)
    {
        waiting.push_back({listener.socket.number(), POLLIN, 0});
    }
    for (const int descriptor : stop)
    {
        waiting.push_back({descriptor, POLLIN, 0});
    }
    const auto firstStop = waiting.begin() + static_cast<std::ptrdiff_t>(m_listeners.size());
    const auto isReady = [](const pollfd& entry) { return entry.revents != 0; };
    while (::poll(waiting.data(), waiting.size(), -1) >= 0 || errno == EINTR)
    {
        if (std::any_of(firstStop, waiting.end(), isReady))
        {
            return;
        }
        for (std::size_t index = 0; index < m_listeners.size(); ++index)
        {
            if (isReady(waiting[index]))
            {
                accept(m_listeners[index]);
            }
        }
    }
}

void Server::accept(const Listener& listener)
{
    Descriptor connection(::accept4(listener.socket.number(), nullptr, nullptr, SOCK_CLOEXEC));
    if (!connection.isOpen())
    {
        return;
    }
    const int on = 1;
    ::setsockopt(connection.number(), IPPROTO_TCP, TCP_NODELAY, &on, sizeof(on));
    const int number = connection.number();
    // The thread removes its number under the same lock, so it cannot do so before the number is added.
    const std::lock_guard lock(m_mutex);
    std::thread([this, owned = std::move(connection), context = listener.context]() mutable
                { serve(std::move(owned), context); })
        .detach();
    m_connections.insert(number);
}

void Server::serve(Descriptor socket, SSL_CTX* context)
{
    try
    {
        Peer peer(socket, context);
        bool kept = true;
        for (std::uint64_t number = 1; kept; ++number)
        {
            Exchange exchange(peer, number);
            sendPage(exchange);
            kept = exchange.keepsConnection();
        }
        peer.finish();
    }
    catch (const std::exception&)
    {
        // The client is gone, or sent no valid request: only its own connection ends.
    }
    // Closed under the lock: the kernel may reuse the number at once for the next connection.
    const std::lock_guard lock(m_mutex);
    m_connections.erase(socket.number());
    socket = Descriptor();
    m_ended.notify_all();
}

} // namespace demo
