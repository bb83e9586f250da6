#include "io/SpareBuffer.hpp"

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

// Without a destructor: connections are also released while the thread's other objects are being destroyed.
thread_local Kept kept{nullptr, E_NOTHING_KEPT_YET};

struct AtThreadEnd
{
    ~AtThreadEnd()
    {
        kept.keeping = E_THREAD_ENDS;
        delete[] std::exchange(kept.spare, nullptr);
    }
};

// Apart, so that the destructor is registered by the first buffer that is kept and looked at by no other.
__attribute__((noinline)) void freeAtThreadEnd()
{
    thread_local const AtThreadEnd atThreadEnd;
    static_cast<void>(atThreadEnd);
    kept.keeping = E_KEEPING;
}

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
        freeAtThreadEnd();
    }
    mine.spare = buffer.release();
}

} // namespace blocxx
