#pragma once

#include "zol/http/ExchangeResponse.hpp"

#include <string>

namespace zolget
{

/// The head of a response as it was received, with an empty line behind it, safe for a terminal.
std::string headText(const ZOLNS2::HTTP::ExchangeResponse& response);

} // namespace zolget
