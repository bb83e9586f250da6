#include "AllocationCounter.hpp"

#include <malloc.h>

#include <atomic>
#include <cstdlib>
#include <new>

namespace
{

std::atomic<std::size_t> g_live{0};
std::atomic<std::size_t> g_peak{0};
std::atomic<long> g_untilFailure{-1};

} // namespace

std::size_t allocation_counter::live()
{
    return g_live;
}

std::size_t allocation_counter::takePeak()
{
    return g_peak.exchange(g_live);
}

void allocation_counter::failAfter(long count)
{
    g_untilFailure = count;
}

void* operator new(std::size_t size)
{
    const bool fails = g_untilFailure >= 0 && g_untilFailure-- == 0;
    void* const memory = fails ? nullptr : std::malloc(size == 0 ? 1 : size);
    if (memory == nullptr)
    {
        throw std::bad_alloc();
    }
    const std::size_t now = g_live += malloc_usable_size(memory);
    for (std::size_t peak = g_peak; peak < now && !g_peak.compare_exchange_weak(peak, now);)
    {
    }
    return memory;
}

void* operator new[](std::size_t size)
{
    return operator new(size);
}

void operator delete(void* memory) noexcept
{
    if (memory != nullptr)
    {
        g_live -= malloc_usable_size(memory);
        std::free(memory);
    }
}

void operator delete[](void* memory) noexcept
{
    operator delete(memory);
}

void operator delete(void* memory, std::size_t) noexcept
{
    operator delete(memory);
}

void operator delete[](void* memory, std::size_t) noexcept
{
    operator delete(memory);
}
