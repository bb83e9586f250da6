#pragma once

#include "Options.hpp"

#include "blocxx/SSLCtxMgr.hpp"

namespace zolget
{

/// The TLS settings of the options, for all connections of a run; null where https cannot occur. Throws Failure (TLS,
/// LOCAL_FILE).
blocxx::SSLClientCtxRef makeTlsContext(const Options& options);

} // namespace zolget
