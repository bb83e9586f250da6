#pragma once

#include <pthread.h>

#include <thread>

namespace zol_test
{

/// Runs `action` on a thread that has been asked to end: the first cancellation point that it reaches ends it.
/// @return whether it reached its own end
template <class Action>
bool runsToItsEndThoughCancelled(Action action)
{
    bool ended = false;
    std::thread thread(
        [&action, &ended]
        {
            ::pthread_cancel(::pthread_self());
            action();
            ended = true;
            ::pthread_testcancel();
        });
    thread.join();
    return ended;
}

} // namespace zol_test
