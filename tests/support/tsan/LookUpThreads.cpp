// Compiled into the library in builds with the thread sanitizer alone. The sanitizer crashes in threads that the C
// library makes for itself, as getaddrinfo_a(3) does: here are the same calls, with threads that it knows.

#include <dlfcn.h>
#include <netdb.h>
#include <pthread.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <ctime>
#include <mutex>
#include <new>
#include <vector>

namespace
{

using Resolver = int (*)(const char*, const char*, const addrinfo*, addrinfo**);

class Pool
{
public:
    /// Never destroyed: the threads may outlive static destruction.
    static Pool& instance()
    {
        static Pool& one = *new Pool;
        return one;
    }

    /// @throws std::bad_alloc nothing is queued
    void add(gaicb* block)
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_queued.push_back(block);
        block->__return = EAI_INPROGRESS;
        if (m_threads < MOST_THREADS && startThread())
        {
            ++m_threads;
        }
    }

    int errorOf(const gaicb* block)
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return block->__return;
    }

    int cancel(gaicb* block)
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        const auto place = std::find(m_queued.begin(), m_queued.end(), block);
        if (place != m_queued.end())
        {
            m_queued.erase(place);
            block->__return = EAI_CANCELED;
            return EAI_CANCELED;
        }
        return block->__return == EAI_INPROGRESS ? EAI_NOTCANCELED : EAI_ALLDONE;
    }

    int wait(const gaicb* block, std::chrono::nanoseconds limit)
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        return m_done.wait_for(lock, limit, [block] { return block->__return != EAI_INPROGRESS; }) ? 0 : EAI_AGAIN;
    }

private:
    static const int MOST_THREADS = 20;

    // Not a std::thread: that allocates on one thread what the other releases, which looks like a leak to tests that count
    // by thread.
    static bool startThread()
    {
        pthread_t thread{};
        return ::pthread_create(&thread, nullptr, &run, nullptr) == 0 && ::pthread_detach(thread) == 0;
    }

    static void* run(void*)
    {
        instance().work();
        return nullptr;
    }

    void work()
    {
        // The program may have a getaddrinfo of its own, which the C library's threads do not call either.
        static const auto resolve = reinterpret_cast<Resolver>(::dlsym(RTLD_NEXT, "getaddrinfo"));
        std::unique_lock<std::mutex> lock(m_mutex);
        while (!m_queued.empty())
        {
            gaicb* const block = m_queued.front();
            m_queued.erase(m_queued.begin());
            lock.unlock();
            addrinfo* found = nullptr;
            const int code = resolve(block->ar_name, block->ar_service, block->ar_request, &found);
            lock.lock();
            block->ar_result = found;
            block->__return = code;
            m_done.notify_all();
        }
        --m_threads;
    }

    std::mutex m_mutex;
    std::condition_variable m_done;
    std::vector<gaicb*> m_queued;
    int m_threads = 0;
};

} // namespace

extern "C" int getaddrinfo_a(int, gaicb* list[], int count, sigevent*) noexcept
try
{
    std::for_each(list, list + count, [](gaicb* block) { Pool::instance().add(block); });
    return 0;
}
catch (const std::bad_alloc&)
{
    return EAI_MEMORY;
}

extern "C" int gai_suspend(const gaicb* const list[], int, const timespec* limit)
{
    return Pool::instance().wait(list[0],
                                 std::chrono::seconds(limit->tv_sec) + std::chrono::nanoseconds(limit->tv_nsec));
}

extern "C" int gai_error(gaicb* block) noexcept
{
    return Pool::instance().errorOf(block);
}

extern "C" int gai_cancel(gaicb* block) noexcept
{
    return Pool::instance().cancel(block);
}
