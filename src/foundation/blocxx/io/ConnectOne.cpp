#include "io/ConnectOne.hpp"

#include "io/ConnectCalls.hpp"
#include "io/OperationBounds.hpp"
#include "io/Wait.hpp"

#include <cerrno>

namespace blocxx
{

OneConnect connectToOne(const SocketAddress& address, const Deadline& deadline, OperationBounds* bounds)
{
    if (bounds != nullptr && bounds->reached() != 0)
    {
        return {ConnectAttempts::E_BOUND_REACHED, 0, FileDescriptor()};
    }
    int error = 0;
    FileDescriptor socket = beginConnect(address, error);
    if (error == EINPROGRESS)
    {
        short events = 0;
        if (!waitUntilReady(socket.get(), POLLOUT, deadline, bounds, &events))
        {
            const int reason = errno;
            if (bounds != nullptr && bounds->reached() != 0)
            {
                return {ConnectAttempts::E_BOUND_REACHED, 0, FileDescriptor()};
            }
            if (reason == ETIMEDOUT)
            {
                return {ConnectAttempts::E_TIMED_OUT, 0, FileDescriptor()};
            }
            return {ConnectAttempts::E_FAILED, reason, FileDescriptor()};
        }
        // A failed connect shows as an error and a hang-up as well.
        error = events == POLLOUT ? 0 : connectOutcome(socket.get());
    }
    if (error == 0)
    {
        error = finishConnect(socket.get(), address);
    }
    if (error != 0)
    {
        return {ConnectAttempts::E_FAILED, error, FileDescriptor()};
    }
    if (bounds != nullptr && bounds->reached() != 0)
    {
        return {ConnectAttempts::E_BOUND_REACHED, 0, FileDescriptor()};
    }
    return {ConnectAttempts::E_CONNECTED, 0, std::move(socket)};
}

} // namespace blocxx
