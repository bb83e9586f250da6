#pragma once

#include "zol/http/Request.hpp"

namespace ZOLNS2::HTTP
{

/// The process's context for TLS that verifies against the system's trust store. Made when first asked for, and shared
/// from then on, so that connections that were opened with it can be used again. Any thread.
/// @throws ExchangeException (E_TLS) if it cannot be made
Request::SSLContextRef defaultSslContext();

} // namespace ZOLNS2::HTTP
