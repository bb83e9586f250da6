#pragma once

#include "Options.hpp"

#include "zol/http/ExchangeResponse.hpp"
#include "zol/http/Url.hpp"

namespace zolget
{

/// Throws the Failure (HTTP_STATUS) for a response outside 200 to 299, with advice; for a redirect it names the target.
/// A TransientFailure if the status says that a later request may succeed.
[[noreturn]] void failForStatus(const Options& options, const ZOLNS2::HTTP::Url& url,
                                const ZOLNS2::HTTP::ExchangeResponse& response);

/// Whether the status is one that may pass.
bool isTransient(unsigned short status);

} // namespace zolget
