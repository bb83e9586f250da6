#include "support/Allocations.hpp"

#include <cstdlib>
#include <new>
#include <utility>

namespace
{

thread_local zol_test::Allocations soFar;
thread_local std::size_t untilFailure = 0; // 0: none is to fail

} // namespace

namespace zol_test
{

Allocations allocationsOfThisThread()
{
    return soFar;
}

bool failAllocation(std::size_t n)
{
    return std::exchange(untilFailure, n) != 0;
}

} // namespace zol_test

void* operator new(std::size_t size)
{
    const bool fails = untilFailure != 0 && --untilFailure == 0;
    void* const memory = fails ? nullptr : std::malloc(size != 0 ? size : 1);
    if (memory == nullptr)
    {
        throw std::bad_alloc();
    }
    ++soFar.count;
    soFar.bytes += size;
    return memory;
}

void operator delete(void* memory) noexcept
{
    std::free(memory);
}

void operator delete(void* memory, std::size_t) noexcept
{
    std::free(memory);
}
