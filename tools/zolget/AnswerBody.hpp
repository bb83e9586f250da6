#pragma once

#include "Exchange.hpp"
#include "Output.hpp"
#include "Progress.hpp"

#include "zol/http.hpp"

namespace zolget
{

/// Copies the body of the answer, if it has one, as it arrives. The parts of a multipart body follow one another.
/// Throws Failure (CUT, MALFORMED, LOCAL_FILE).
void copyBody(Exchange& exchange, ZOLNS2::HTTP::Response& response, Output& out, Progress& progress);

} // namespace zolget
