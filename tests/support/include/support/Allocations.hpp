#pragma once

#include <cstddef>
#include <new>

namespace zol_test
{

/// What operator new returned. A test program that uses this gets counting allocation functions.
struct Allocations
{
    std::size_t count = 0;
    std::size_t bytes = 0;
};

/// The allocations of the calling thread so far.
Allocations allocationsOfThisThread();

/// The allocations of the calling thread while `action` runs.
template <typename Action>
Allocations allocationsOf(Action action)
{
    const Allocations before = allocationsOfThisThread();
    action();
    const Allocations after = allocationsOfThisThread();
    return {after.count - before.count, after.bytes - before.bytes};
}

/// Makes the n-th next allocation of the calling thread fail, the next one for 1; 0 cancels that.
/// @return whether one that was asked for before is still to come
bool failAllocation(std::size_t n);

/// Runs `action` with its n-th allocation failing.
/// @return whether it had as many; the std::bad_alloc that it then threw is caught
template <typename Action>
bool failsInAllocation(std::size_t n, Action action)
{
    failAllocation(n);
    bool threw = false;
    try
    {
        action();
    }
    catch (const std::bad_alloc&)
    {
        threw = true;
    }
    catch (...)
    {
        failAllocation(0);
        throw;
    }
    return !failAllocation(0) && threw;
}

} // namespace zol_test
