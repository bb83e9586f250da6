#pragma once

#include "blocxx/String.hpp"

/// @file
/// Throwing what this folder throws. The line of the exception is that of the caller.

namespace ZOLNS2::MIME
{

/// Throws a ContentException.
[[noreturn]] void refuseContent(const blocxx::String& message, int line = __builtin_LINE());

/// Throws a ContentException with the error code and the text of an `errno` value behind the message.
[[noreturn]] void refuseContentWithErrno(const blocxx::String& message, int error, int line = __builtin_LINE());

} // namespace ZOLNS2::MIME

namespace ZOLNS2::HTTP
{

/// Throws an ExchangeException, E_URL and E_MALFORMED.
[[noreturn]] void refuseRequest(const blocxx::String& message, int line = __builtin_LINE());

} // namespace ZOLNS2::HTTP
