#include "io/ConnectOne.hpp"

#include "io/ConnectCalls.hpp"
#include "io/OperationBounds.hpp"
#include "io/Wait.hpp"

#include <cerrno>

namespace blocxx
{

namespace
{

OneConnect unconnected(ConnectAttempts::EOutcome outcome, int error = 0)
{
    return {outcome, error, FileDescriptor()};
}

} // namespace

OneConnect connectToOne(const SocketAddress& address, const Deadline& deadline, OperationBounds* bounds)
{
    const auto boundReached = [bounds] { return bounds != nullptr && bounds->reached() != 0; };
    if (boundReached())
    {
        return unconnected(ConnectAttempts::E_BOUND_REACHED);
    }
    int error = 0;
    FileDescriptor socket = beginConnect(address, error);
    if (error == EINPROGRESS)
    {
        short events = 0;
        if (!waitUntilReady(socket.get(), POLLOUT, deadline, bounds, &events))
        {
            const int reason = errno;
            if (boundReached())
            {
                return unconnected(ConnectAttempts::E_BOUND_REACHED);
            }
            if (reason == ETIMEDOUT)
            {
                return unconnected(ConnectAttempts::E_TIMED_OUT);
            }
            return unconnected(ConnectAttempts::E_FAILED, reason);
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
        return unconnected(ConnectAttempts::E_FAILED, error);
    }
    if (boundReached())
    {
        return unconnected(ConnectAttempts::E_BOUND_REACHED);
    }
    return {ConnectAttempts::E_CONNECTED, 0, std::move(socket)};
}

} // namespace blocxx
