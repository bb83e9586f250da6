#pragma once

#include "blocxx/BLOCXX_config.h"
#include "blocxx/Exception.hpp"

namespace blocxx
{

/// A connection could not be made, or a transfer failed; subclass id -11. The error code is the `errno` value,
/// ETIMEDOUT when a time-out expired.
BLOCXX_DECLARE_APIEXCEPTION(Socket, BLOCXX_COMMON_API)

} // namespace blocxx
