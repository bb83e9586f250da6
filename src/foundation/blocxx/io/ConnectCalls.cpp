#include "io/ConnectCalls.hpp"

#include "io/SocketNames.hpp"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>

#include <cerrno>

namespace blocxx
{

namespace
{

// The port of this end, in the order of the network; 0 if it is not known.
in_port_t ownPort(int descriptor)
{
    union
    {
        sockaddr generic;
        sockaddr_in ipv4;
        sockaddr_in6 ipv6;
    } native{};
    socklen_t size = sizeof native;
    if (::getsockname(descriptor, &native.generic, &size) != 0)
    {
        return 0;
    }
    return native.generic.sa_family == AF_INET6 ? native.ipv6.sin6_port : native.ipv4.sin_port;
}

// TCP's simultaneous open (RFC 9293, section 3.5) connects a socket to itself when the port that the system chose for
// this end is the one connected to. There is no peer then. With any other port it is not asked who the peer is.
bool isConnectedToItself(int descriptor, UInt16 port)
{
    if (ownPort(descriptor) != htons(port))
    {
        return false;
    }
    const SocketAddress here = addressOf(descriptor, ::getsockname);
    const SocketAddress there = addressOf(descriptor, ::getpeername);
    return there.getType() != SocketAddress::UNSET && here.getPort() == there.getPort() &&
           here.getAddress() == there.getAddress();
}

} // namespace

FileDescriptor beginConnect(const SocketAddress& address, int& error)
{
    const sockaddr* const native = address.getNativeForm();
    if (native == nullptr)
    {
        error = EINVAL;
        return FileDescriptor();
    }
    FileDescriptor socket(::socket(native->sa_family, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
    if (!socket.isOpen())
    {
        error = errno;
        return socket;
    }
    const auto size = static_cast<socklen_t>(address.getNativeFormSize());
    error = ::connect(socket.get(), native, size) == 0 ? 0 : errno;
    // An interrupted connect continues in the background, as one in progress does.
    if (error == EINTR)
    {
        error = EINPROGRESS;
    }
    if (error != 0 && error != EINPROGRESS)
    {
        socket.close();
    }
    return socket;
}

int connectOutcome(int descriptor)
{
    int outcome = 0;
    socklen_t size = sizeof outcome;
    return ::getsockopt(descriptor, SOL_SOCKET, SO_ERROR, &outcome, &size) != 0 ? errno : outcome;
}

int finishConnect(int descriptor, const SocketAddress& address)
{
    if (isConnectedToItself(descriptor, address.getPort()))
    {
        return ECONNREFUSED;
    }
    const int on = 1;
    ::setsockopt(descriptor, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    return 0;
}

} // namespace blocxx
