#pragma once

#include "blocxx/TlsFacts.hpp"

#include <openssl/types.h>

namespace blocxx
{

/// The facts of an established session. What the peer's certificate would tell is empty without one.
TlsFacts readTlsFacts(const SSL* session);

} // namespace blocxx
