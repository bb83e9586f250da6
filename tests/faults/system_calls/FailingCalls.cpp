#include "system_calls/FailingCalls.hpp"

#include <dlfcn.h>
#include <fcntl.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/random.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>

namespace
{

using namespace zol_faults;

thread_local bool counting = false;
thread_local Fault current;
thread_local std::array<std::size_t, CALLS> made{};
thread_local std::size_t vain = 0;

/// The fault of a call that is being made, 0 for none.
int faultOf(ECall call)
{
    if (!counting)
    {
        return 0;
    }
    const std::size_t number = ++made[call];
    if (current.error == 0 || current.call != call)
    {
        return 0;
    }
    if (current.number == Fault::EVERY_CALL)
    {
        return current.error == Fault::ONE_BYTE || number % 2 == 1 ? current.error : 0;
    }
    return number == current.number ? current.error : 0;
}

template <class Result>
Result failing(int error)
{
    errno = error;
    return static_cast<Result>(-1);
}

template <class Function>
Function systemsOwn(const char* name)
{
    return reinterpret_cast<Function>(::dlsym(RTLD_NEXT, name));
}

/// Makes a call unless it is to fail.
template <class Function, class... Arguments>
int callUnlessFailing(ECall call, const char* name, Arguments... arguments)
{
    const int error = faultOf(call);
    return error != 0 ? failing<int>(error) : systemsOwn<Function>(name)(arguments...);
}

/// The same for one that transfers `size` bytes. A connection that is told to have ended has ended.
template <class Result, class Call>
Result transferUnlessFailing(ECall call, int descriptor, std::size_t size, Call transfer)
{
    const int error = faultOf(call);
    if (error == EPIPE || error == ECONNRESET)
    {
        ::shutdown(descriptor, SHUT_RDWR);
    }
    return error > 0 ? failing<Result>(error) : transfer(error == Fault::ONE_BYTE && size > 1 ? 1 : size);
}

} // namespace

namespace zol_faults
{

void failCalls(const Fault& fault)
{
    current = fault;
    made = {};
    vain = 0;
    counting = true;
}

void stopFailingCalls()
{
    counting = false;
}

std::array<std::size_t, CALLS> callsMade()
{
    return made;
}

std::size_t closedInVain()
{
    return vain;
}

} // namespace zol_faults

// These take the place of the C library's for the whole program, the libraries that it loads included.

#define ZOL_TEST_REPLACEMENT extern "C" __attribute__((visibility("default")))

ZOL_TEST_REPLACEMENT int connect(int socket, const sockaddr* address, socklen_t size)
{
    const auto own = systemsOwn<int (*)(int, const sockaddr*, socklen_t)>("connect");
    const int error = faultOf(E_CONNECT);
    if (error == EINTR)
    {
        own(socket, address, size);
    }
    return error != 0 ? failing<int>(error) : own(socket, address, size);
}

ZOL_TEST_REPLACEMENT int close(int descriptor)
{
    const int error = faultOf(E_CLOSE);
    const int result = systemsOwn<int (*)(int)>("close")(descriptor);
    if (counting && result != 0 && errno == EBADF)
    {
        ++vain;
    }
    return error != 0 ? failing<int>(error) : result;
}

ZOL_TEST_REPLACEMENT ssize_t recv(int socket, void* data, std::size_t size, int flags)
{
    const auto own = systemsOwn<ssize_t (*)(int, void*, std::size_t, int)>("recv");
    return transferUnlessFailing<ssize_t>(E_RECV, socket, size,
                                          [=](std::size_t some) { return own(socket, data, some, flags); });
}

/// What is to transfer one byte transfers the first of the first piece.
ZOL_TEST_REPLACEMENT ssize_t recvmsg(int socket, msghdr* message, int flags)
{
    const auto own = systemsOwn<ssize_t (*)(int, msghdr*, int)>("recvmsg");
    const auto transfer = [=](std::size_t some)
    {
        iovec first{message->msg_iov->iov_base, 1};
        msghdr shortened = *message;
        shortened.msg_iov = &first;
        shortened.msg_iovlen = 1;
        return own(socket, some == 1 ? &shortened : message, flags);
    };
    return transferUnlessFailing<ssize_t>(E_RECV, socket, SIZE_MAX, transfer);
}

ZOL_TEST_REPLACEMENT ssize_t send(int socket, const void* data, std::size_t size, int flags)
{
    const auto own = systemsOwn<ssize_t (*)(int, const void*, std::size_t, int)>("send");
    return transferUnlessFailing<ssize_t>(E_SEND, socket, size,
                                          [=](std::size_t some) { return own(socket, data, some, flags); });
}

ZOL_TEST_REPLACEMENT ssize_t read(int descriptor, void* data, std::size_t size)
{
    const auto own = systemsOwn<ssize_t (*)(int, void*, std::size_t)>("read");
    return transferUnlessFailing<ssize_t>(E_READ, descriptor, size,
                                          [=](std::size_t some) { return own(descriptor, data, some); });
}

ZOL_TEST_REPLACEMENT ssize_t write(int descriptor, const void* data, std::size_t size)
{
    const auto own = systemsOwn<ssize_t (*)(int, const void*, std::size_t)>("write");
    return transferUnlessFailing<ssize_t>(E_WRITE, descriptor, size,
                                          [=](std::size_t some) { return own(descriptor, data, some); });
}

ZOL_TEST_REPLACEMENT ssize_t pread(int descriptor, void* data, std::size_t size, off_t offset)
{
    const auto own = systemsOwn<ssize_t (*)(int, void*, std::size_t, off_t)>("pread");
    return transferUnlessFailing<ssize_t>(E_PREAD, descriptor, size,
                                          [=](std::size_t some) { return own(descriptor, data, some, offset); });
}

ZOL_TEST_REPLACEMENT ssize_t getrandom(void* data, std::size_t size, unsigned flags)
{
    const auto own = systemsOwn<ssize_t (*)(void*, std::size_t, unsigned)>("getrandom");
    return transferUnlessFailing<ssize_t>(E_GETRANDOM, -1, size,
                                          [=](std::size_t some) { return own(data, some, flags); });
}

ZOL_TEST_REPLACEMENT int poll(pollfd* descriptors, nfds_t count, int milliseconds)
{
    return callUnlessFailing<int (*)(pollfd*, nfds_t, int)>(E_POLL, "poll", descriptors, count, milliseconds);
}

ZOL_TEST_REPLACEMENT int fcntl(int descriptor, int command, ...)
{
    va_list arguments;
    va_start(arguments, command);
    void* const argument = va_arg(arguments, void*);
    va_end(arguments);
    return callUnlessFailing<int (*)(int, int, ...)>(E_FCNTL, "fcntl", descriptor, command, argument);
}

ZOL_TEST_REPLACEMENT int open(const char* path, int flags, ...)
{
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(arguments, mode_t) : 0;
    va_end(arguments);
    return callUnlessFailing<int (*)(const char*, int, ...)>(E_OPEN, "open", path, flags, mode);
}

ZOL_TEST_REPLACEMENT int fstat(int descriptor, struct stat* status) noexcept
{
    return callUnlessFailing<int (*)(int, struct stat*)>(E_FSTAT, "fstat", descriptor, status);
}

ZOL_TEST_REPLACEMENT int stat(const char* path, struct stat* status) noexcept
{
    return callUnlessFailing<int (*)(const char*, struct stat*)>(E_STAT, "stat", path, status);
}

ZOL_TEST_REPLACEMENT int socket(int domain, int type, int protocol) noexcept
{
    return callUnlessFailing<int (*)(int, int, int)>(E_SOCKET, "socket", domain, type, protocol);
}

ZOL_TEST_REPLACEMENT int getsockopt(int socket, int level, int name, void* value, socklen_t* size) noexcept
{
    return callUnlessFailing<int (*)(int, int, int, void*, socklen_t*)>(E_GETSOCKOPT, "getsockopt", socket, level, name,
                                                                        value, size);
}

ZOL_TEST_REPLACEMENT int setsockopt(int socket, int level, int name, const void* value, socklen_t size) noexcept
{
    return callUnlessFailing<int (*)(int, int, int, const void*, socklen_t)>(E_SETSOCKOPT, "setsockopt", socket, level,
                                                                             name, value, size);
}

ZOL_TEST_REPLACEMENT int getpeername(int socket, sockaddr* address, socklen_t* size) noexcept
{
    return callUnlessFailing<int (*)(int, sockaddr*, socklen_t*)>(E_GETPEERNAME, "getpeername", socket, address, size);
}

ZOL_TEST_REPLACEMENT int getsockname(int socket, sockaddr* address, socklen_t* size) noexcept
{
    return callUnlessFailing<int (*)(int, sockaddr*, socklen_t*)>(E_GETSOCKNAME, "getsockname", socket, address, size);
}

ZOL_TEST_REPLACEMENT int eventfd(unsigned value, int flags) noexcept
{
    return callUnlessFailing<int (*)(unsigned, int)>(E_EVENTFD, "eventfd", value, flags);
}
