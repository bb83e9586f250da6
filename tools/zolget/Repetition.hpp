#pragma once

#include "Options.hpp"

#include <chrono>
#include <optional>

namespace zolget
{

/// Whether the request may be made again after it has failed: its method is idempotent (RFC 9110, section 9.2.2), and
/// its body is still there.
bool isRepeatable(const Options& options);

/// The pause before a repetition, longer each time, and as long as the server wants at least.
/// @param repetition 0 for the first
/// @return none if the server wants to be left alone for too long
std::optional<std::chrono::seconds> pauseBefore(unsigned repetition, std::optional<std::chrono::seconds> retryAfter);

} // namespace zolget
