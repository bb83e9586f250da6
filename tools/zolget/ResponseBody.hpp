#pragma once

#include "Destination.hpp"
#include "Exchange.hpp"
#include "Progress.hpp"

#include "zol/http.hpp"

namespace zolget
{

/// Copies the body of the response, if it has one: a multipart body part by part, any other as it arrives. Throws
/// Failure (INCOMPLETE_RESPONSE, INCOMPLETE_REQUEST, TLS, MALFORMED, LOCAL_FILE).
void copyBody(Exchange& exchange, ZOLNS2::HTTP::Response& response, Destination& destination, Progress& progress);

} // namespace zolget
