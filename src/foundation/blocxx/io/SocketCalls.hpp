#pragma once

#include <sys/socket.h>
#include <sys/types.h>
#include <sys/uio.h>

#include <cerrno>
#include <cstddef>

namespace blocxx
{

/// @name recv(2), recvmsg(2) and send(2) on a socket, without blocking and without SIGPIPE; interrupted calls are repeated
/// @return what the call returned; -1 with `errno` EAGAIN if it would block
/// @{
inline ssize_t receiveNow(int descriptor, void* data, std::size_t length)
{
    ssize_t result = 0;
    do
    {
        result = ::recv(descriptor, data, length, MSG_DONTWAIT);
    } while (result < 0 && errno == EINTR);
    return result;
}

inline ssize_t receiveNow(int descriptor, iovec* pieces, std::size_t count)
{
    msghdr message{};
    message.msg_iov = pieces;
    message.msg_iovlen = count;
    ssize_t result = 0;
    do
    {
        result = ::recvmsg(descriptor, &message, MSG_DONTWAIT);
    } while (result < 0 && errno == EINTR);
    return result;
}

inline ssize_t sendNow(int descriptor, const void* data, std::size_t length)
{
    ssize_t result = 0;
    do
    {
        result = ::send(descriptor, data, length, MSG_DONTWAIT | MSG_NOSIGNAL);
    } while (result < 0 && errno == EINTR);
    return result;
}
/// @}

} // namespace blocxx
