#include "support/Allocations.hpp"

#include <cstdlib>
#include <new>

namespace
{

thread_local zol_test::Allocations soFar;

} // namespace

namespace zol_test
{

Allocations allocationsOfThisThread()
{
    return soFar;
}

} // namespace zol_test

void* operator new(std::size_t size)
{
    void* const memory = std::malloc(size != 0 ? size : 1);
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
