#pragma once

#include "exchange/HeadReceiver.hpp"

#include "blocxx/String.hpp"
#include "zol/http/Request.hpp"
#include "zol/http/Url.hpp"

#include <optional>

namespace ZOLNS2::HTTP
{

/// Where a response sends its reader (RFC 9110, section 15.4), as a request to be made next, or why it is not made.
struct Redirect
{
    std::optional<Request> next;
    bool toOtherOrigin = false;
    bool needsContent = false; ///< the next request carries the content again
    blocxx::String note;       ///< why there is no next request; empty if the response is no redirect
};

/// The URL that a request asks for.
/// @throws ExchangeException
Url urlOf(const Request& request);

/// What follows a response to `request`, which asked for `source`. Does not look at whether the content can be read again.
Redirect redirectOf(const Request& request, const Url& source, const ReceivedHead& head,
                    const ExchangeOptions& options);

} // namespace ZOLNS2::HTTP
