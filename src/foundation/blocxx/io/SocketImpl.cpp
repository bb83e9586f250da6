#include "io/SocketImpl.hpp"

#include "io/SocketCalls.hpp"

#include <poll.h>

#include <cerrno>
#include <optional>
#include <utility>

namespace blocxx
{

int SocketImpl::receive(void* data, int length)
{
    return receiveWith([this, data, length]
                       { return receiveNow(descriptor(), data, static_cast<std::size_t>(length)); });
}

int SocketImpl::receivePieces(iovec* pieces, std::size_t count)
{
    return receiveWith([this, pieces, count] { return receiveNow(descriptor(), pieces, count); });
}

template <class Receive>
int SocketImpl::receiveWith(Receive receiveOnce)
{
    std::optional<Deadline> deadline;
    // The response to what has just been sent is on its way: an attempt to read it would be in vain.
    if (std::exchange(m_hasJustSent, false))
    {
        deadline.emplace(receiveTimeout);
        if (!awaitInput(POLLIN, *deadline))
        {
            return -1;
        }
    }
    for (;;)
    {
        // Tried before any wait: most of the time the bytes are there.
        const ssize_t count = receiveOnce();
        if (count >= 0)
        {
            return static_cast<int>(count);
        }
        if (errno != EAGAIN)
        {
            return -1;
        }
        if (!deadline)
        {
            deadline.emplace(receiveTimeout);
        }
        if (!awaitInput(POLLIN, *deadline))
        {
            return -1;
        }
    }
}

int SocketImpl::sendAll(const void* data, int length)
{
    const char* const bytes = static_cast<const char*>(data);
    m_hasJustSent = true;
    int sent = 0;
    std::optional<Deadline> deadline;
    while (sent < length)
    {
        const ssize_t count = sendNow(descriptor(), bytes + sent, static_cast<std::size_t>(length - sent));
        if (count >= 0)
        {
            sent += static_cast<int>(count);
            deadline.reset();
            continue;
        }
        if (errno != EAGAIN)
        {
            return -1;
        }
        if (!deadline)
        {
            deadline.emplace(sendTimeout);
        }
        if (!await(POLLOUT, *deadline))
        {
            return -1;
        }
    }
    return sent;
}

int SocketImpl::sendSome(const void* data, int length, short& event)
{
    const ssize_t count = sendNow(descriptor(), data, static_cast<std::size_t>(length));
    event = count < 0 && errno == EAGAIN ? POLLOUT : 0;
    return static_cast<int>(count);
}

bool SocketImpl::isInputAtHand()
{
    pollfd polled{descriptor(), POLLIN, 0};
    return ::poll(&polled, 1, 0) > 0;
}

} // namespace blocxx
