#include "io/SpareBuffer.hpp"

#include <pthread.h>

#include <utility>

namespace blocxx
{

namespace
{

enum EKeeping
{
    E_NOTHING_KEPT_YET,
    E_KEEPING,
    E_THREAD_ENDS
};

struct Kept
{
    char* spare;
    EKeeping keeping;
};

// Without a destructor: connections are also released while the thread's other objects are being destroyed, and the C
// library ends the process when it has no memory to register one.
thread_local Kept kept{nullptr, E_NOTHING_KEPT_YET};

extern "C" void endKeeping(void* ofThread)
{
    Kept& its = *static_cast<Kept*>(ofThread);
    its.keeping = E_THREAD_ENDS;
    delete[] std::exchange(its.spare, nullptr);
}

/// Frees what a thread keeps when that ends, and what the thread that ends the process keeps.
class ThreadEnds
{
public:
    ThreadEnds() noexcept : m_isMade(::pthread_key_create(&m_key, endKeeping) == 0) {}
    ~ThreadEnds()
    {
        endKeeping(&kept);
        if (m_isMade)
        {
            ::pthread_key_delete(m_key);
        }
    }
    ThreadEnds(const ThreadEnds&) = delete;
    ThreadEnds& operator=(const ThreadEnds&) = delete;

    /// @return false if there is no memory for that
    bool watch(Kept& ofThread) const { return m_isMade && ::pthread_setspecific(m_key, &ofThread) == 0; }

private:
    pthread_key_t m_key{};
    const bool m_isMade;
};

const ThreadEnds threadEnds;

} // namespace

std::unique_ptr<char[]> SpareBuffer::acquire(std::size_t size)
{
    if (size == SIZE)
    {
        if (char* const spare = std::exchange(kept.spare, nullptr))
        {
            return std::unique_ptr<char[]>(spare);
        }
    }
    return std::unique_ptr<char[]>(new char[size]);
}

void SpareBuffer::release(std::unique_ptr<char[]> buffer, std::size_t size) noexcept
{
    if (buffer == nullptr || size != SIZE)
    {
        return;
    }
    Kept& mine = kept;
    if (mine.spare != nullptr || mine.keeping == E_THREAD_ENDS)
    {
        return;
    }
    if (mine.keeping == E_NOTHING_KEPT_YET)
    {
        if (!threadEnds.watch(mine))
        {
            return;
        }
        mine.keeping = E_KEEPING;
    }
    mine.spare = buffer.release();
}

} // namespace blocxx
