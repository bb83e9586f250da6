#pragma once

#include <string>
#include <string_view>

namespace zolget
{

/// True for the bytes that a terminal may take for commands: C0 control characters and DEL.
inline bool isControl(char c)
{
    const auto byte = static_cast<unsigned char>(c);
    return byte < 0x20 || byte == 0x7f;
}

/// True for a method or a header name: a token of RFC 9110, section 5.6.2.
bool isToken(std::string_view text);

/// True when both are the same but for the case of ASCII letters.
bool equalsIgnoringCase(std::string_view left, std::string_view right);

/// Without blanks and tabs at both ends.
std::string_view trimmed(std::string_view text);

/// Text that came from a server, fit for a terminal: control characters other than the tab become "?".
std::string printable(std::string_view text);

} // namespace zolget
