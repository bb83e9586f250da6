#pragma once

#include <cstddef>

/// What operator new of this process has handed out and operator delete has not taken back.
namespace allocation_counter
{

/// Bytes allocated now, as the allocator rounds them.
std::size_t live();

/// The most bytes that were allocated at once since the last call.
std::size_t takePeak();

} // namespace allocation_counter
