#pragma once

#include <cstddef>

namespace zol_test
{

/// Bytes of memory that this process holds resident now.
std::size_t residentSetSize();

/// Number of descriptors that this process has open now.
std::size_t openDescriptors();

} // namespace zol_test
