#pragma once

#include "blocxx/BLOCXX_config.h"

/// What the reference classes share.
namespace blocxx::ReferenceHelpers
{

/// @throws NULLReferenceException "NULL Reference dereferenced", always
[[noreturn]] BLOCXX_COMMON_API void throwNULLException();

/// @throws NULLReferenceException if `pointer` is null
inline void checkNull(const void* pointer)
{
    if (pointer == nullptr)
    {
        throwNULLException();
    }
}

} // namespace blocxx::ReferenceHelpers
