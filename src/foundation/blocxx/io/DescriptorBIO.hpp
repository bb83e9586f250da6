#pragma once

#include <openssl/types.h>

namespace blocxx
{

/// An OpenSSL BIO over a socket's descriptor that never blocks and never raises SIGPIPE, which OpenSSL's own does. The
/// descriptor is not owned. @return null if memory is exhausted.
BIO* newDescriptorBIO(int descriptor);

} // namespace blocxx
