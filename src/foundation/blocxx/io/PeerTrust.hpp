#pragma once

#include "blocxx/SSLCtxMgr.hpp"

#include <openssl/types.h>

namespace blocxx
{

/// Has the context verify its peers: by the certificates that the options trust, and the revocation lists that they
/// give. @throws SSLException if one of them cannot be used; the text names the file
void requireVerification(SSL_CTX* context, const SSLOpts& opts);

} // namespace blocxx
