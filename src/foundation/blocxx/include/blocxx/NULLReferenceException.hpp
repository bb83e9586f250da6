#pragma once

#include "blocxx/Exception.hpp"

namespace blocxx
{

/// Thrown by `*` and `->` of a null reference; subclass id -34.
BLOCXX_DECLARE_APIEXCEPTION(NULLReference, BLOCXX_COMMON_API)

} // namespace blocxx
