#pragma once

#include "allocations/FailingAllocations.hpp"
#include "common/Operations.hpp"

#include <functional>
#include <string>

namespace zol_faults
{

/// What a process told that did an operation for the first time of its life, with one allocation failing, and then again,
/// made anew, without.
struct FirstUse
{
    AllocationCounts counts{}; ///< of the first time
    Ending::EKind first = Ending::E_WRONG;
    Ending::EKind second = Ending::E_WRONG;
    std::string text; ///< of how both ended, or how the process did
};

/// @param before what the process does before that, and before the operation is made
/// @param point  the allocation that fails, none for 0
FirstUse useForTheFirstTime(const std::function<void()>& before, const OperationCase& operation, std::size_t point);

} // namespace zol_faults
