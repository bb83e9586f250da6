#include "support/NothrowNew.hpp"

#include <atomic>
#include <cstddef>
#include <new>

namespace
{

std::atomic<bool> failing = false;

} // namespace

// These replace the library's own in every program that uses the class above.
void* operator new(std::size_t size, const std::nothrow_t&) noexcept
{
    if (failing)
    {
        return nullptr;
    }
    try
    {
        return ::operator new(size);
    }
    catch (const std::bad_alloc&)
    {
        return nullptr;
    }
}

void* operator new[](std::size_t size, const std::nothrow_t&) noexcept
{
    if (failing)
    {
        return nullptr;
    }
    try
    {
        return ::operator new[](size);
    }
    catch (const std::bad_alloc&)
    {
        return nullptr;
    }
}

namespace zol_test
{

FailingNothrowNew::FailingNothrowNew()
{
    failing = true;
}

FailingNothrowNew::~FailingNothrowNew()
{
    failing = false;
}

} // namespace zol_test
