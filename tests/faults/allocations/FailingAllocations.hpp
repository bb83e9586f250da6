#pragma once

#include <array>
#include <cstddef>

/// The program's allocation functions: operator new in all its forms, those that OpenSSL is given before its first use,
/// and, unless a sanitizer owns them, those of the C library.
namespace zol_faults
{

enum EAllocator
{
    E_OPERATOR_NEW,
    E_OPENSSL,
    E_C_LIBRARY
};

inline constexpr std::size_t ALLOCATORS = 3;

/// Whether malloc is the program's own as well.
extern const bool C_LIBRARY_ALLOCATES_HERE;

/// What the calling thread has allocated since it was reset, by the function that was asked.
using AllocationCounts = std::array<std::size_t, ALLOCATORS>;

enum EFailing
{
    E_ONE,            ///< one allocation fails
    E_ALL_THAT_FOLLOW ///< and all behind it as well
};

/// The next n-th allocation of the calling thread is to fail; none for 0. Resets the counts.
void failAllocations(std::size_t n, EFailing failing);

/// No further allocation is to fail.
void stopFailing();

AllocationCounts allocationCounts();

/// What the calling thread has allocated and not freed, in all its life; what others free of it counts as kept.
long keptAllocations();

} // namespace zol_faults
