#pragma once

#include "Body.hpp"
#include "Options.hpp"

#include "zol/http.hpp"

namespace zolget
{

/// The headers to send: what a server needs and the user did not give, then what the user gave. `body` may be null.
ZOLNS2::HTTP::Headers completeHeaders(const Options& options, const BodyRef& body);

/// The whole request. `context` is null for http.
ZOLNS2::HTTP::Request makeRequest(const Options& options, const BodyRef& body,
                                  const blocxx::IntrusiveReference<blocxx::SSLClientCtx>& context);

} // namespace zolget
