#pragma once

#include <pthread.h>

namespace blocxx::Internal
{

/// Internal to the libraries of this project; not an interface for programs.
///
/// While it lives, the calling thread is not cancelled; a request that arrives stays pending.
///
/// For destructors and other functions that nothing may unwind out of, and for calls into C libraries, which do not
/// clean up their state when a cancelled thread unwinds through them.
class CancellationOff
{
public:
    CancellationOff() noexcept { ::pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &m_before); }
    CancellationOff(const CancellationOff&) = delete;
    CancellationOff& operator=(const CancellationOff&) = delete;
    ~CancellationOff()
    {
        int disabled = 0;
        ::pthread_setcancelstate(m_before, &disabled);
    }

private:
    int m_before = PTHREAD_CANCEL_ENABLE;
};

} // namespace blocxx::Internal
