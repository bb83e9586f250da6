#pragma once

#include "blocxx/LogLevel.hpp"
#include "blocxx/String.hpp"

#include <optional>

namespace blocxx
{

/// The category of a level; null for a number that is not a level.
const char* nameOfLevel(ELogLevel level) noexcept;

/// The level of a category, whose name may be in any case.
std::optional<ELogLevel> levelNamed(const String& category) noexcept;

} // namespace blocxx
