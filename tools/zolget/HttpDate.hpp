#pragma once

#include <ctime>
#include <optional>
#include <string>

namespace zolget
{

/// The moment that an HTTP-date names (RFC 9110, section 5.6.7); none for anything else.
std::optional<std::time_t> parseHttpDate(const std::string& text);

} // namespace zolget
