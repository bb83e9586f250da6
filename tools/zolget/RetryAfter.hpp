#pragma once

#include "zol/http/Headers.hpp"

#include <chrono>
#include <optional>

namespace zolget
{

/// How long the server wants to be left alone, from now on (RFC 9110, section 10.2.3).
std::optional<std::chrono::seconds> retryAfterOf(const ZOLNS2::HTTP::Headers& headers);

} // namespace zolget
