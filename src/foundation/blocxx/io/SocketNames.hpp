#pragma once

#include "blocxx/SocketAddress.hpp"

#include <sys/socket.h>

namespace blocxx
{

/// The address of one end of a socket. @param call getsockname(2) for this end, getpeername(2) for the other.
/// @return UNSET if the call fails
inline SocketAddress addressOf(int descriptor, int (*call)(int, sockaddr*, socklen_t*))
{
    SocketAddress address;
    sockaddr_storage native{};
    socklen_t size = sizeof native;
    if (call(descriptor, reinterpret_cast<sockaddr*>(&native), &size) == 0)
    {
        address.assignFromNativeForm(reinterpret_cast<const sockaddr*>(&native), size);
    }
    return address;
}

} // namespace blocxx
