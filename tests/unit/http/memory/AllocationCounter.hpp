#pragma once

#include <cstddef>

/// What operator new of this process has handed out and operator delete has not taken back.
namespace allocation_counter
{

/// Bytes allocated now, as the allocator rounds them.
std::size_t live();

/// The most bytes that were allocated at once since the last call.
std::size_t takePeak();

/// Lets the allocation after the next `count` fail, once; a negative number lets none fail.
void failAfter(long count);

} // namespace allocation_counter
