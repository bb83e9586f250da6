#pragma once

#include <cstddef>

namespace zol_test
{

/// What operator new gave out. A test program that uses this gets counting allocation functions.
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

} // namespace zol_test
