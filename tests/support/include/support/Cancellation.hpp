#pragma once

#include <pthread.h>

namespace zol_test
{

/// Cancels the calling thread, as another one would while it waits in a system call. Does not return.
inline void beCancelled()
{
    pthread_cancel(pthread_self());
    pthread_testcancel();
}

/// Runs `action` in a thread of its own, in which it is to call beCancelled().
/// @return whether the thread ended by that. Code that stops the unwinding aborts the process.
template <typename Action>
bool endsCancelled(Action action)
{
    pthread_t thread{};
    const auto run = [](void* argument) -> void*
    {
        (*static_cast<Action*>(argument))();
        return nullptr;
    };
    if (pthread_create(&thread, nullptr, run, &action) != 0)
    {
        return false;
    }
    void* result = nullptr;
    pthread_join(thread, &result);
    return result == PTHREAD_CANCELED;
}

} // namespace zol_test
