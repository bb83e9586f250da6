#pragma once

#include <array>
#include <string_view>

namespace ZOLNS2::HTTP
{

/// Sets of characters, as bits of one table: the texts of a request are looked at in each exchange.
enum ECharacters : unsigned char
{
    E_TOKEN = 1,                 ///< tchar (RFC 9110, section 5.6.2)
    E_FIELD_VALUE = 2,           ///< no control character but the tab
    E_REQUEST_TARGET = 4,        ///< visible ASCII without "#"
    E_UNRESERVED_SUB_DELIMS = 8, ///< RFC 3986, sections 2.2 and 2.3
    E_PATH_AND_QUERY = 16, ///< what stands in them as it is: pchar without "%", "/" and "?" (RFC 3986, section 3.4)
    E_PLAIN_HOST = 32      ///< lower-case letters, digits, dots and hyphens
};

constexpr std::array<unsigned char, 256> makeCharacterTable()
{
    std::array<unsigned char, 256> table{};
    for (unsigned i = 0; i < table.size(); ++i)
    {
        const char c = static_cast<char>(i);
        const bool isLower = i >= 'a' && i <= 'z';
        const bool isDigit = i >= '0' && i <= '9';
        const bool isAlphaOrDigit = isLower || isDigit || (i >= 'A' && i <= 'Z');
        const auto isOneOf = [c, i](std::string_view set) { return i != 0 && set.find(c) != std::string_view::npos; };
        const bool isUrlCharacter = isAlphaOrDigit || isOneOf("-._~!$&'()*+,;=");
        const auto bit = [](ECharacters set, bool isIn) { return isIn ? unsigned{set} : 0U; };
        unsigned sets = 0;
        sets |= bit(E_TOKEN, isAlphaOrDigit || isOneOf("!#$%&'*+-.^_`|~"));
        sets |= bit(E_FIELD_VALUE, (i >= ' ' && i != 0x7f) || i == '\t');
        sets |= bit(E_REQUEST_TARGET, i > ' ' && i <= '~' && i != '#');
        sets |= bit(E_UNRESERVED_SUB_DELIMS, isUrlCharacter);
        sets |= bit(E_PATH_AND_QUERY, isUrlCharacter || isOneOf(":@/?"));
        sets |= bit(E_PLAIN_HOST, isLower || isDigit || isOneOf(".-"));
        table[i] = static_cast<unsigned char>(sets);
    }
    return table;
}

inline constexpr std::array<unsigned char, 256> CHARACTER_TABLE = makeCharacterTable();

constexpr bool isOf(ECharacters set, char c)
{
    return (CHARACTER_TABLE[static_cast<unsigned char>(c)] & set) != 0;
}

/// The first position whose character is not of the set; the size of the text if there is none.
constexpr std::size_t spanOf(ECharacters set, std::string_view text)
{
    std::size_t at = 0;
    while (at < text.size() && isOf(set, text[at]))
    {
        ++at;
    }
    return at;
}

constexpr bool allOf(ECharacters set, std::string_view text)
{
    return spanOf(set, text) == text.size();
}

} // namespace ZOLNS2::HTTP
