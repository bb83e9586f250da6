#include "io/SocketImpl.hpp"

#include "io/Wait.hpp"

#include <poll.h>

#include <cerrno>

namespace blocxx
{

int SocketImpl::receive(void* data, int length)
{
    for (;;)
    {
        // Tried before any wait: most of the time the bytes are there.
        const ssize_t count = ::recv(descriptor(), data, static_cast<std::size_t>(length), MSG_DONTWAIT);
        if (count >= 0)
        {
            return static_cast<int>(count);
        }
        if (errno == EINTR)
        {
            continue;
        }
        if (errno != EAGAIN || !waitUntilReady(descriptor(), POLLIN, Deadline(receiveTimeout)))
        {
            return -1;
        }
    }
}

int SocketImpl::sendAll(const void* data, int length)
{
    const char* const bytes = static_cast<const char*>(data);
    int sent = 0;
    while (sent < length)
    {
        const auto left = static_cast<std::size_t>(length - sent);
        const ssize_t count = ::send(descriptor(), bytes + sent, left, MSG_DONTWAIT | MSG_NOSIGNAL);
        if (count >= 0)
        {
            sent += static_cast<int>(count);
            continue;
        }
        if (errno == EINTR)
        {
            continue;
        }
        if (errno != EAGAIN || !waitUntilReady(descriptor(), POLLOUT, Deadline(sendTimeout)))
        {
            return -1;
        }
    }
    return sent;
}

} // namespace blocxx
