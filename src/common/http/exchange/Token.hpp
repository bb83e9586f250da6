#pragma once

#include <string_view>

namespace ZOLNS2::HTTP
{

/// token = 1*tchar (RFC 9110, section 5.6.2): what a method or the name of a field consists of.
bool isToken(std::string_view text);

/// Whether the text can stand behind the colon of a field (RFC 9110, section 5.5): no control characters but tabs.
bool isFieldValue(std::string_view text);

/// Removes the token at the front of `text` and returns it; empty if there is none.
std::string_view takeToken(std::string_view& text);

} // namespace ZOLNS2::HTTP
