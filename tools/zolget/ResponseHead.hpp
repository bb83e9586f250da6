#pragma once

#include "Exchange.hpp"
#include "Output.hpp"

#include "zol/http.hpp"

namespace zolget
{

/// Reads the head of the response. An error status is a failure; if the options ask for the head, the status line is
/// shown first, since the rest of the head is not available. Throws Failure (HTTP_STATUS, TLS,
/// INCOMPLETE_RESPONSE, INCOMPLETE_REQUEST, MALFORMED).
ZOLNS2::HTTP::Response readResponse(Exchange& exchange);

/// Writes the status line, the headers, the content type and an empty line.
void showHead(const ZOLNS2::HTTP::Response& response, Output& out);

} // namespace zolget
