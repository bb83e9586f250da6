#pragma once

#include <string>
#include <string_view>

namespace zolget
{

/// True for the bytes that can be commands to a terminal: C0 control characters and DEL.
inline bool isControl(char c)
{
    const auto byte = static_cast<unsigned char>(c);
    return byte < 0x20 || byte == 0x7f;
}

/// True for a method or a header name: a token of RFC 9110, section 5.6.2.
bool isToken(std::string_view text);

/// True when both are equal apart from the case of ASCII letters.
bool equalsIgnoringCase(std::string_view left, std::string_view right);

/// The text without spaces and tabs at either end.
std::string_view trimmed(std::string_view text);

/// Makes text from a server safe to print: control characters other than the tab become "?".
std::string printable(std::string_view text);

} // namespace zolget
