#pragma once

#include "Exchange.hpp"
#include "Output.hpp"

#include "zol/http.hpp"

namespace zolget
{

/// Reads the head of the answer. An error status is a failure; its status line is shown before if the options want the
/// head, since nothing more of it is known. Throws Failure (HTTP_STATUS, CUT, MALFORMED).
ZOLNS2::HTTP::Response readAnswer(Exchange& exchange);

/// Writes status line, headers, content type and an empty line.
void showHead(const ZOLNS2::HTTP::Response& response, Output& out);

} // namespace zolget
