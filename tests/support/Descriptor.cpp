#include "support/Descriptor.hpp"

#include <fcntl.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <system_error>

namespace zol_test
{

namespace
{

[[noreturn]] void fail(const char* what)
{
    throw std::system_error(errno, std::generic_category(), what);
}

} // namespace

Descriptor& Descriptor::operator=(Descriptor&& other) noexcept
{
    if (this != &other)
    {
        reset();
        m_fd = std::exchange(other.m_fd, -1);
    }
    return *this;
}

void Descriptor::reset()
{
    if (m_fd >= 0)
    {
        ::close(std::exchange(m_fd, -1));
    }
}

Pipe::Pipe()
{
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) != 0)
    {
        fail("pipe2");
    }
    readEnd = Descriptor(ends[0]);
    writeEnd = Descriptor(ends[1]);
}

LoopbackSocket::LoopbackSocket(EState state, bool ipv6, int backlog)
    : descriptor(::socket(ipv6 ? AF_INET6 : AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0))
{
    if (!descriptor)
    {
        fail("socket");
    }
    sockaddr_storage address{};
    socklen_t size = 0;
    if (ipv6)
    {
        sockaddr_in6 in{};
        in.sin6_family = AF_INET6;
        in.sin6_addr = in6addr_loopback;
        size = sizeof in;
        std::memcpy(&address, &in, sizeof in);
    }
    else
    {
        sockaddr_in in{};
        in.sin_family = AF_INET;
        in.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        size = sizeof in;
        std::memcpy(&address, &in, sizeof in);
    }
    auto* native = reinterpret_cast<sockaddr*>(&address);
    if (::bind(descriptor.get(), native, size) != 0)
    {
        fail(ipv6 ? "bind to ::1" : "bind to 127.0.0.1");
    }
    if (state == E_LISTENING && ::listen(descriptor.get(), backlog) != 0)
    {
        fail("listen");
    }
    if (::getsockname(descriptor.get(), native, &size) != 0)
    {
        fail("getsockname");
    }
    // The port is at the same place in both kinds of address.
    sockaddr_in in{};
    std::memcpy(&in, &address, sizeof in);
    port = ntohs(in.sin_port);
}

std::uint16_t freePort()
{
    return LoopbackSocket(LoopbackSocket::E_BOUND).port;
}

} // namespace zol_test
