#include "SystemCalls.hpp"

#include <dlfcn.h>

namespace
{

thread_local const zol_test::SystemCalls* current = nullptr;

template <class Function>
Function systemsOwn(const char* name)
{
    return reinterpret_cast<Function>(::dlsym(RTLD_NEXT, name));
}

} // namespace

namespace zol_test
{

SystemCalls::SystemCalls()
{
    current = this;
}

SystemCalls::~SystemCalls()
{
    current = nullptr;
}

int SystemCalls::connect(int socket, const sockaddr* address, socklen_t size)
{
    static const auto own = systemsOwn<int (*)(int, const sockaddr*, socklen_t)>("connect");
    return own(socket, address, size);
}

ssize_t SystemCalls::receive(int socket, void* data, std::size_t length, int flags)
{
    static const auto own = systemsOwn<ssize_t (*)(int, void*, std::size_t, int)>("recv");
    return own(socket, data, length, flags);
}

ssize_t SystemCalls::send(int socket, const void* data, std::size_t length, int flags)
{
    static const auto own = systemsOwn<ssize_t (*)(int, const void*, std::size_t, int)>("send");
    return own(socket, data, length, flags);
}

int SystemCalls::poll(pollfd* descriptors, nfds_t count, int milliseconds)
{
    static const auto own = systemsOwn<int (*)(pollfd*, nfds_t, int)>("poll");
    return own(descriptors, count, milliseconds);
}

} // namespace zol_test

using zol_test::SystemCalls;

// These take the place of the C library's for the whole program, the libraries it loads included.

#define ZOL_TEST_REPLACEMENT extern "C" __attribute__((visibility("default")))

ZOL_TEST_REPLACEMENT int connect(int socket, const sockaddr* address, socklen_t size)
{
    return current != nullptr && current->onConnect ? current->onConnect(socket, address, size)
                                                    : SystemCalls::connect(socket, address, size);
}

ZOL_TEST_REPLACEMENT ssize_t recv(int socket, void* data, std::size_t length, int flags)
{
    return current != nullptr && current->onReceive ? current->onReceive(socket, data, length, flags)
                                                    : SystemCalls::receive(socket, data, length, flags);
}

ZOL_TEST_REPLACEMENT ssize_t send(int socket, const void* data, std::size_t length, int flags)
{
    return current != nullptr && current->onSend ? current->onSend(socket, data, length, flags)
                                                 : SystemCalls::send(socket, data, length, flags);
}

ZOL_TEST_REPLACEMENT int poll(pollfd* descriptors, nfds_t count, int milliseconds)
{
    return current != nullptr && current->onPoll ? current->onPoll(descriptors, count, milliseconds)
                                                 : SystemCalls::poll(descriptors, count, milliseconds);
}

ZOL_TEST_REPLACEMENT int clock_gettime(clockid_t clock, timespec* now) noexcept
{
    static const auto own = systemsOwn<int (*)(clockid_t, timespec*)>("clock_gettime");
    if (clock == CLOCK_REALTIME && current != nullptr && current->wallClock.tv_sec != 0)
    {
        *now = current->wallClock;
        return 0;
    }
    return own(clock, now);
}
