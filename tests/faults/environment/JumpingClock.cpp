#include "environment/JumpingClock.hpp"

#include <dlfcn.h>

#include <atomic>
#include <ctime>

namespace
{

std::atomic<bool> jumping{false};
std::atomic<int> looks{0};

const time_t TEN_YEARS = time_t{10} * 365 * 86400;

} // namespace

namespace zol_faults
{

JumpingClock::JumpingClock()
{
    jumping = true;
}

JumpingClock::~JumpingClock()
{
    jumping = false;
}

} // namespace zol_faults

// Takes the place of the C library's for the whole program, the libraries that it loads included.
extern "C" __attribute__((visibility("default"))) int clock_gettime(clockid_t clock, timespec* now) noexcept
{
    static const auto own = reinterpret_cast<int (*)(clockid_t, timespec*)>(::dlsym(RTLD_NEXT, "clock_gettime"));
    const int result = own(clock, now);
    if (jumping && clock == CLOCK_REALTIME)
    {
        now->tv_sec += looks++ % 2 == 0 ? TEN_YEARS : -TEN_YEARS;
    }
    return result;
}
