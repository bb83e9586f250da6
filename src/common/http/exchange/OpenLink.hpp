#pragma once

#include "exchange/ExchangeLink.hpp"

#include "blocxx/String.hpp"
#include "zol/http/Request.hpp"

namespace ZOLNS2::HTTP
{

/// The server that a request is for.
struct Server
{
    blocxx::String host; ///< without brackets
    unsigned short port = 0;

    /// "host:port", an IPv6 address in brackets, a name in lower case.
    blocxx::String text() const;
};

/// Reads "host", "host:port", "[address]" or "[address]:port". Without a port it is 443 with TLS, else 80.
/// @throws ExchangeException
Server serverOf(const Request& request);

/// Looks up the server and connects to it.
/// @throws ExchangeException
ExchangeLinkRef openLink(const Request& request, const Server& server, const ExchangeGuard& guard,
                         const ExchangeOptions& options, bool withOwnCertificate);

} // namespace ZOLNS2::HTTP
