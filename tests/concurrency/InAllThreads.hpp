#pragma once

#include "blocxx/Exception.hpp"

#include <atomic>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace concurrency_test
{

/// Runs `action(thread)` in so many threads, which begin together.
/// @return what went wrong: the messages of the exceptions
template <class Action>
std::vector<std::string> inAllThreads(int count, Action action)
{
    std::mutex mutex;
    std::vector<std::string> problems;
    std::atomic<int> waiting{count};
    std::vector<std::thread> threads;
    threads.reserve(static_cast<std::size_t>(count));
    for (int thread = 0; thread < count; ++thread)
    {
        threads.emplace_back(
            [&, thread]
            {
                for (--waiting; waiting > 0;)
                {
                    std::this_thread::yield();
                }
                try
                {
                    action(thread);
                }
                catch (const blocxx::Exception& error)
                {
                    const std::lock_guard<std::mutex> lock(mutex);
                    problems.emplace_back(error.getMessage());
                }
            });
    }
    for (std::thread& thread : threads)
    {
        thread.join();
    }
    return problems;
}

} // namespace concurrency_test
