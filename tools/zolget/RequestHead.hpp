#pragma once

#include "Options.hpp"
#include "RequestBody.hpp"

#include "zol/http.hpp"

namespace zolget
{

/// The headers to send: those that a server needs and the user did not give, then those that the user gave. `body` may
/// be null.
ZOLNS2::HTTP::Headers completeHeaders(const Options& options, const RequestBodyRef& body);

/// The request. `context` is null for http.
ZOLNS2::HTTP::Request makeRequest(const Options& options, const RequestBodyRef& body,
                                  const blocxx::IntrusiveReference<blocxx::SSLClientCtx>& context);

} // namespace zolget
