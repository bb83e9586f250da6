#pragma once

#include <poll.h>
#include <sys/socket.h>
#include <sys/types.h>

#include <cstddef>
#include <ctime>
#include <functional>

namespace zol_test
{

/// While it lives, the system calls of the thread that made it do what the test says, in the libraries as well; those
/// of other threads are the system's. One at a time on a thread.
struct SystemCalls
{
    SystemCalls();
    ~SystemCalls();
    SystemCalls(const SystemCalls&) = delete;
    SystemCalls& operator=(const SystemCalls&) = delete;

    /// A call without a function here is the system's.
    std::function<int(int, const sockaddr*, socklen_t)> onConnect;
    std::function<ssize_t(int, void*, std::size_t, int)> onReceive;
    std::function<ssize_t(int, const void*, std::size_t, int)> onSend;
    std::function<int(pollfd*, nfds_t, int)> onPoll;

    /// The time of the wall clock, unless it is zero.
    timespec wallClock{};

    /// The system's own.
    static int connect(int socket, const sockaddr* address, socklen_t size);
    static ssize_t receive(int socket, void* data, std::size_t length, int flags);
    static ssize_t send(int socket, const void* data, std::size_t length, int flags);
    static int poll(pollfd* descriptors, nfds_t count, int milliseconds);
};

} // namespace zol_test
