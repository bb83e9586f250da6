#pragma once

#include <openssl/types.h>

namespace blocxx
{

/// An OpenSSL BIO over a socket's descriptor that never blocks and never raises SIGPIPE, which OpenSSL's own does. The
/// descriptor is not owned. @return null if memory is exhausted. @throws std::bad_alloc if that is so when the first one
/// is made
BIO* newDescriptorBIO(int descriptor);

} // namespace blocxx
