#pragma once

#include "blocxx/BLOCXX_config.h"
#include "blocxx/SocketException.hpp"

namespace blocxx
{

/// A TLS context could not be made, or a TLS handshake failed; subclass id -51.
BLOCXX_DECLARE_APIEXCEPTION2(SSL, SocketException, BLOCXX_COMMON_API)

} // namespace blocxx
