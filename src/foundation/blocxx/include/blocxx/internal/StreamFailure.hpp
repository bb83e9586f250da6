#pragma once

#include "blocxx/BLOCXX_config.h"
#include "blocxx/String.hpp"

#include <ios>

namespace blocxx::Internal
{

/// Internal to the libraries of this project; not an interface for programs.
/// @{

/// Sets bits of a stream's state without throwing what its exception mask asks for.
BLOCXX_COMMON_API void setStateQuietly(std::ios& stream, std::ios_base::iostate bits) noexcept;

/// Why an operation of a device failed.
struct FailureReason
{
    int error = 0; ///< a value of `errno`
    String text;   ///< empty if the error says it all
};

/// The reason that the exception being handled gives: its error code, or EIO if it has none, and its message. To be
/// called inside a handler, and not while a cancelled thread unwinds (catchAllButUnwind).
BLOCXX_COMMON_API FailureReason reasonOfCaughtException() noexcept;

/// @}

} // namespace blocxx::Internal
