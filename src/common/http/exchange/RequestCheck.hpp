#pragma once

#include "zol/http/Request.hpp"

namespace ZOLNS2::HTTP
{

/// Refuses a request that must not be sent: nothing is written yet when this is asked.
///
/// - The method is a token and not CONNECT; a TRACE has no content.
/// - The target is a path, an http or https URL, or the "*" of OPTIONS, in characters that a URL may have.
/// - Names of headers are tokens, and their values hold no control characters. Host, Content-Type, Content-Length,
///   Transfer-Encoding and Authorization stand there once at most.
/// - Content-Length, Transfer-Encoding and the content say the same: where a body ends, and whether there is one.
/// - A Content-Type names the boundary of the content, if it has one, and no other charset than the content.
///
/// @throws ExchangeException (E_URL, E_MALFORMED); what the content throws when it is asked for its type and length
void checkRequest(const Request& request);

} // namespace ZOLNS2::HTTP
