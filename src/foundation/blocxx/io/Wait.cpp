#include "io/Wait.hpp"

#include <poll.h>

#include <cerrno>

namespace blocxx
{

bool waitUntilReady(int descriptor, short events, const Deadline& deadline)
{
    pollfd wanted{descriptor, events, 0};
    for (;;)
    {
        const int ready = ::poll(&wanted, 1, deadline.remainingMilliseconds());
        if (ready > 0)
        {
            return true;
        }
        if (ready < 0 && errno != EINTR)
        {
            return false;
        }
        if (deadline.expired())
        {
            errno = ETIMEDOUT;
            return false;
        }
    }
}

} // namespace blocxx
