#pragma once

#include <cstdint>
#include <utility>

namespace zol_test
{

/// Owns one file descriptor; -1 when it owns none.
class Descriptor
{
public:
    Descriptor() = default;
    explicit Descriptor(int fd) : m_fd(fd) {}
    Descriptor(Descriptor&& other) noexcept : m_fd(std::exchange(other.m_fd, -1)) {}
    Descriptor& operator=(Descriptor&& other) noexcept;
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor() { reset(); }

    int get() const { return m_fd; }
    explicit operator bool() const { return m_fd >= 0; }
    void reset();

private:
    int m_fd = -1;
};

/// Both ends of a pipe, close-on-exec. Throws `std::system_error`.
struct Pipe
{
    Pipe();
    Descriptor readEnd;
    Descriptor writeEnd;
};

/// A TCP socket bound to a port of the loopback interface that the kernel chose. Throws `std::system_error`.
struct LoopbackSocket
{
    enum EState
    {
        E_BOUND,    ///< connections to the port are refused, and no other program can take it
        E_LISTENING ///< connections are accepted by the kernel, whether or not anything reads them
    };
    explicit LoopbackSocket(EState state, bool ipv6 = false, int backlog = 128);

    Descriptor descriptor;
    std::uint16_t port = 0;
};

/// A port that was free a moment ago. Another program may take it: prefer a `LoopbackSocket`, which keeps its port.
std::uint16_t freePort();

} // namespace zol_test
