#include "io/SocketCalls.hpp"

#include <sys/socket.h>

#include <cerrno>

namespace blocxx
{

namespace
{

template <class Call>
ssize_t untilNotInterrupted(Call call)
{
    ssize_t result = 0;
    do
    {
        result = call();
    } while (result < 0 && errno == EINTR);
    return result;
}

} // namespace

ssize_t receiveNow(int descriptor, void* data, std::size_t length)
{
    return untilNotInterrupted([=] { return ::recv(descriptor, data, length, MSG_DONTWAIT); });
}

ssize_t sendNow(int descriptor, const void* data, std::size_t length)
{
    return untilNotInterrupted([=] { return ::send(descriptor, data, length, MSG_DONTWAIT | MSG_NOSIGNAL); });
}

} // namespace blocxx
