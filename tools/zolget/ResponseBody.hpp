#pragma once

#include "Destination.hpp"
#include "Progress.hpp"

#include "zol/http/ExchangeResponse.hpp"

#include <cstdint>

namespace zolget
{

/// Copies the body as it arrives: a multipart one part by part, if the destination takes parts.
/// @return whether it is complete; if not, the response says why
/// @throws Failure            what the destination throws
/// @throws ExchangeException  for a multipart body that cannot be taken apart
bool copyBody(const ZOLNS2::HTTP::ExchangeResponse& response, Destination& destination, Progress& progress);

/// Reads the body and drops it, so that the connection can be used again.
/// @return whether it is complete; false also for a body of more than `mostBytes`, which is not read further
bool discardBody(const ZOLNS2::HTTP::ExchangeResponse& response, std::uint64_t mostBytes);

} // namespace zolget
