#pragma once

#include "blocxx/BLOCXX_config.h"

#include <cstddef>
#include <streambuf>

namespace blocxx::Internal
{

/// Internal to the libraries of this project; not an interface for programs.
///
/// Reads a run of at most `count` bytes, at least 1: what the buffer holds, or if that is nothing, what its next refill
/// brings. Waits for one refill at most. A buffer without a get area is read one byte at a time. So nothing that the
/// buffer delivered is lost when it throws, and what it throws passes through.
/// @return the bytes read; 0 at the end of the input
BLOCXX_COMMON_API std::size_t readRun(std::streambuf& buffer, char* to, std::size_t count);

} // namespace blocxx::Internal
