#pragma once

#include "exchange/ExchangeLink.hpp"

#include "zol/http/ExchangeOptions.hpp"
#include "zol/http/Request.hpp"
#include "zol/http/Url.hpp"

namespace ZOLNS2::HTTP
{

/// Looks up the host of `url` and connects to it, with the TLS context of `request`.
/// @throws ExchangeException
ExchangeLinkRef openLink(const Request& request, const Url& url, const ExchangeGuard& guard,
                         const ExchangeOptions& options, bool withOwnCertificate);

} // namespace ZOLNS2::HTTP
