#include "support/ScriptedServer.hpp"

#include <openssl/err.h>
#include <openssl/ssl.h>

#include <poll.h>
#include <sys/socket.h>
#include <sys/types.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace zol_test
{

using Clock = std::chrono::steady_clock;

namespace
{

constexpr std::chrono::milliseconds LINGER_LIMIT = std::chrono::seconds(1);

} // namespace

ServerConnection::ServerConnection(ScriptedServer& server, Descriptor socket, std::size_t index)
    : m_server(server), m_socket(std::move(socket)), m_index(index)
{
}

ServerConnection::~ServerConnection()
{
    SSL_free(m_ssl);
}

Clock::time_point ServerConnection::deadline() const
{
    return Clock::now() + m_server.m_options.limit;
}

bool ServerConnection::wait(short events, Clock::time_point deadline)
{
    for (;;)
    {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now()).count();
        pollfd waits[] = {{events != 0 ? m_socket.get() : -1, events, 0}, {m_server.m_stop.readEnd.get(), POLLIN, 0}};
        ::poll(waits, 2, static_cast<int>(std::max<std::int64_t>(left, 0)));
        if (waits[1].revents != 0)
        {
            throw ScriptedServer::Stopped();
        }
        if (waits[0].revents != 0)
        {
            return true;
        }
        if (left <= 0)
        {
            return false;
        }
    }
}

void ServerConnection::handshake(SSL_CTX* context)
{
    m_ssl = SSL_new(context);
    SSL_set_fd(m_ssl, m_socket.get());
    const auto limit = deadline();
    for (;;)
    {
        ERR_clear_error();
        const int result = SSL_accept(m_ssl);
        const int error = SSL_get_error(m_ssl, result);
        if (result == 1)
        {
            return;
        }
        if (error != SSL_ERROR_WANT_READ && error != SSL_ERROR_WANT_WRITE)
        {
            char text[256] = "connection ended";
            if (const unsigned long reason = ERR_get_error(); reason != 0)
            {
                ERR_error_string_n(reason, text, sizeof text);
            }
            throw std::runtime_error(std::string("TLS handshake: ") + text);
        }
        if (!wait(error == SSL_ERROR_WANT_READ ? POLLIN : POLLOUT, limit))
        {
            throw std::runtime_error("TLS handshake: not done in time");
        }
    }
}

// Reads what there is: its size, 0 for the peer's end; nothing when the deadline passes first.
std::optional<std::size_t> ServerConnection::readSome(char* data, std::size_t size, Clock::time_point deadline)
{
    for (;;)
    {
        short events = POLLIN;
        if (m_ssl != nullptr)
        {
            ERR_clear_error();
            const int count = SSL_read(m_ssl, data, static_cast<int>(size));
            if (count > 0)
            {
                return static_cast<std::size_t>(count);
            }
            const int error = SSL_get_error(m_ssl, count);
            if (error != SSL_ERROR_WANT_READ && error != SSL_ERROR_WANT_WRITE)
            {
                return 0;
            }
            events = error == SSL_ERROR_WANT_READ ? POLLIN : POLLOUT;
        }
        else
        {
            const ssize_t count = ::recv(m_socket.get(), data, size, 0);
            if (count >= 0)
            {
                return static_cast<std::size_t>(count);
            }
            if (errno != EAGAIN && errno != EINTR)
            {
                return 0;
            }
        }
        if (!wait(events, deadline))
        {
            return std::nullopt;
        }
    }
}

// Adds to what was received; returns false at the peer's end.
bool ServerConnection::fill(Clock::time_point deadline, const char* wanted)
{
    char block[16384];
    const auto count = readSome(block, sizeof block, deadline);
    if (!count)
    {
        throw std::runtime_error(std::string("did not receive ") + wanted + " in time");
    }
    m_received.append(block, *count);
    m_server.recordRequest(m_index, std::string_view(block, *count));
    return *count > 0;
}

std::string ServerConnection::take(std::size_t count)
{
    std::string taken = m_received.substr(0, count);
    m_received.erase(0, count);
    return taken;
}

std::string ServerConnection::receiveHead()
{
    const auto limit = deadline();
    std::size_t end = std::string::npos;
    while ((end = m_received.find("\r\n\r\n")) == std::string::npos)
    {
        if (!fill(limit, "a head"))
        {
            throw std::runtime_error("the peer ended within its head");
        }
    }
    return take(end + 4);
}

std::string ServerConnection::receive(std::size_t count)
{
    const auto limit = deadline();
    while (m_received.size() < count)
    {
        if (!fill(limit, "all bytes"))
        {
            throw std::runtime_error("the peer ended before all bytes were there");
        }
    }
    return take(count);
}

std::string ServerConnection::receiveUntilEnd()
{
    const auto limit = deadline();
    while (fill(limit, "the end"))
    {
    }
    return take(m_received.size());
}

std::uint64_t ServerConnection::discard(std::uint64_t count)
{
    std::uint64_t total = take(std::min<std::uint64_t>(count, m_received.size())).size();
    char block[65536];
    while (total < count)
    {
        const auto some = readSome(block, std::min<std::uint64_t>(sizeof block, count - total), deadline());
        if (!some)
        {
            throw std::runtime_error("did not receive what is to be discarded in time");
        }
        if (*some == 0)
        {
            break;
        }
        total += *some;
    }
    return total;
}

bool ServerConnection::send(std::string_view data)
{
    const auto limit = deadline();
    while (!data.empty())
    {
        short events = POLLOUT;
        if (m_ssl != nullptr)
        {
            ERR_clear_error();
            const int count =
                SSL_write(m_ssl, data.data(), static_cast<int>(std::min<std::size_t>(data.size(), 16384)));
            if (count > 0)
            {
                data.remove_prefix(static_cast<std::size_t>(count));
                continue;
            }
            const int error = SSL_get_error(m_ssl, count);
            if (error != SSL_ERROR_WANT_READ && error != SSL_ERROR_WANT_WRITE)
            {
                return false;
            }
            events = error == SSL_ERROR_WANT_READ ? POLLIN : POLLOUT;
        }
        else
        {
            const ssize_t count = ::send(m_socket.get(), data.data(), data.size(), MSG_NOSIGNAL);
            if (count >= 0)
            {
                data.remove_prefix(static_cast<std::size_t>(count));
                continue;
            }
            if (errno != EAGAIN && errno != EINTR)
            {
                return false;
            }
        }
        if (!wait(events, limit))
        {
            throw std::runtime_error("could not send in time");
        }
    }
    return true;
}

bool ServerConnection::sendSlowly(std::string_view data, std::chrono::microseconds delay)
{
    for (std::size_t i = 0; i < data.size(); ++i)
    {
        if (!send(data.substr(i, 1)))
        {
            return false;
        }
        std::this_thread::sleep_for(delay);
    }
    return true;
}

// Without its session, so that nothing is written to a descriptor that may belong to another connection by then.
void ServerConnection::drop()
{
    SSL_free(m_ssl);
    m_ssl = nullptr;
    m_socket.reset();
}

void ServerConnection::reset()
{
    const ::linger now = {1, 0};
    ::setsockopt(m_socket.get(), SOL_SOCKET, SO_LINGER, &now, sizeof now);
    drop();
}

void ServerConnection::shutdownWrite()
{
    if (m_ssl != nullptr)
    {
        SSL_shutdown(m_ssl);
    }
    ::shutdown(m_socket.get(), SHUT_WR);
}

void ServerConnection::close()
{
    shutdownWrite();
    // Closing with received bytes unread would be a reset, which may overtake what was sent.
    char block[16384];
    while (::recv(m_socket.get(), block, sizeof block, MSG_DONTWAIT) > 0)
    {
    }
    drop();
}

void ServerConnection::cut()
{
    drop();
}

bool ServerConnection::waitUntilPeerCloses(std::chrono::milliseconds limit)
{
    const auto end = Clock::now() + limit;
    char block[65536];
    for (;;)
    {
        const auto count = readSome(block, sizeof block, end);
        if (!count)
        {
            return false;
        }
        if (*count == 0)
        {
            return true;
        }
    }
}

void ServerConnection::pause(std::chrono::milliseconds time)
{
    wait(0, Clock::now() + time);
}

// What the peer still sends is taken, so that the end does not become a reset.
void ServerConnection::linger()
{
    if (m_socket)
    {
        shutdownWrite();
        waitUntilPeerCloses(LINGER_LIMIT);
        drop();
    }
}

} // namespace zol_test
