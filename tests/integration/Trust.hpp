#pragma once

#include "support/Certificates.hpp"

#include "blocxx/SSLCtxMgr.hpp"

namespace zol_integration
{

/// A TLS client's context that trusts one authority and nobody else.
inline blocxx::SSLClientCtxRef trusting(const zol_test::Certificate& authority)
{
    blocxx::SSLOpts options;
    options.inMemoryTrustStore.push_back(authority.x509.get());
    return blocxx::SSLClientCtxRef(new blocxx::SSLClientCtx(options));
}

} // namespace zol_integration
