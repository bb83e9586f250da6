#pragma once

#include "blocxx/String.hpp"

#include <cstdint>
#include <cstring>
#include <string_view>

/// @file
/// Looking at texts of the wire, and showing them to people.

namespace ZOLNS2::HTTP
{

/// Valid until the string changes or goes.
inline std::string_view viewOf(const blocxx::String& text)
{
    return {text.c_str(), text.length()};
}

inline blocxx::String toString(std::string_view text)
{
    return blocxx::String(text.data(), text.size());
}

/// C0 and DEL.
constexpr bool isControl(char c)
{
    return static_cast<unsigned char>(c) < 0x20 || c == 0x7f;
}

/// Compares without regard to ASCII case.
bool equalsIgnoringCase(std::string_view left, std::string_view right);

/// As equalsIgnoringCase, for names, which usually are of one case as well.
inline bool isName(const blocxx::String& text, std::string_view name)
{
    return text.length() == name.size() &&
           (std::memcmp(text.c_str(), name.data(), name.size()) == 0 || equalsIgnoringCase(viewOf(text), name));
}

/// Without the blanks and tabs around it: OWS (RFC 9110, section 5.6.3).
inline std::string_view withoutOuterBlanks(std::string_view text)
{
    const auto isBlank = [](char c) { return c == ' ' || c == '\t'; };
    while (!text.empty() && isBlank(text.front()))
    {
        text.remove_prefix(1);
    }
    while (!text.empty() && isBlank(text.back()))
    {
        text.remove_suffix(1);
    }
    return text;
}

/// The text as a message can show it: UTF-8 stays, but control characters (C0, DEL and C1) and bytes that are not UTF-8
/// are written as "\xNN". A long text is cut.
blocxx::String printable(std::string_view text);

inline blocxx::String printable(const blocxx::String& text)
{
    return printable(viewOf(text));
}

/// The same in double quotes.
blocxx::String quoted(std::string_view text);

inline blocxx::String quoted(const blocxx::String& text)
{
    return quoted(viewOf(text));
}

/// Reads a decimal number without sign and blanks. @return false if `text` is anything else, or too large a number
bool parseLength(std::string_view text, std::uint64_t& length);

} // namespace ZOLNS2::HTTP
