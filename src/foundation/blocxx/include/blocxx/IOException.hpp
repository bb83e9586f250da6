#pragma once

#include "blocxx/Exception.hpp"

namespace blocxx
{

/// Input or output failed; subclass id -22.
BLOCXX_DECLARE_APIEXCEPTION(IO, BLOCXX_COMMON_API)

} // namespace blocxx
