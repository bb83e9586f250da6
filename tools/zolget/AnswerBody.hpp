#pragma once

#include "Destination.hpp"
#include "Exchange.hpp"
#include "Progress.hpp"

#include "zol/http.hpp"

namespace zolget
{

/// Copies the body of the answer, if it has one, part by part; one that is not multipart as it arrives. Throws Failure
/// (CUT, MALFORMED, LOCAL_FILE).
void copyBody(Exchange& exchange, ZOLNS2::HTTP::Response& response, Destination& destination, Progress& progress);

} // namespace zolget
