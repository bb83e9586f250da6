#pragma once

#include <string_view>

namespace zolget
{

/// True for a method or a header name: a token of RFC 9110, section 5.6.2.
bool isToken(std::string_view text);

/// True when both are equal apart from the case of ASCII letters.
bool equalsIgnoringCase(std::string_view left, std::string_view right);

/// The text without spaces and tabs at either end.
std::string_view trimmed(std::string_view text);

} // namespace zolget
