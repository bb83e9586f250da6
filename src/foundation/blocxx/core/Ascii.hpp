#pragma once

/// Letters and white space of ASCII, whatever the locale.
namespace blocxx::Ascii
{

constexpr bool isSpace(char c) noexcept
{
    return c == ' ' || (c >= '\t' && c <= '\r');
}

constexpr char toLower(char c) noexcept
{
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c;
}

} // namespace blocxx::Ascii
