#include "io/Wait.hpp"

#include "io/OperationBounds.hpp"

#include <poll.h>

#include <algorithm>
#include <cerrno>

namespace blocxx
{

bool waitUntilReady(int descriptor, short events, const Deadline& deadline, OperationBounds* bounds, short* seen)
{
    pollfd polled[] = {{descriptor, events, 0}, {bounds != nullptr ? bounds->descriptor() : -1, POLLIN, 0}};
    const pollfd& cancelled = polled[1];
    for (;;)
    {
        int limit = deadline.remainingMilliseconds();
        if (bounds != nullptr)
        {
            const int left = bounds->remainingMilliseconds();
            const int error = left == 0 || bounds->isCancelled() ? bounds->reached() : 0;
            if (error != 0)
            {
                errno = error;
                return false;
            }
            limit = earlierTimeout(limit, left);
        }
        const int ready = ::poll(polled, bounds != nullptr ? 2 : 1, limit);
        if (ready > 0)
        {
            if (cancelled.revents == 0)
            {
                if (seen != nullptr)
                {
                    *seen = polled[0].revents;
                }
                return true;
            }
            errno = ECANCELED;
            return false;
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

int earlierTimeout(int left, int right)
{
    return left < 0 ? right : right < 0 ? left : std::min(left, right);
}

} // namespace blocxx
