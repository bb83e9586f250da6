#pragma once

#include "Options.hpp"

#include "zol/http.hpp"

namespace zolget
{

/// The TLS settings for the options' URL; null for http. Throws Failure (TLS, LOCAL_FILE).
blocxx::IntrusiveReference<blocxx::SSLClientCtx> makeTlsContext(const Options& options);

/// Finds the host and opens a connection to it. Throws Failure (RESOLVE, CONNECT, TLS).
ZOLNS2::HTTP::HTTPConnection connect(const Options& options,
                                     const blocxx::IntrusiveReference<blocxx::SSLClientCtx>& context);

} // namespace zolget
