#include "exchange/Text.hpp"

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <string>
#include <system_error>
#include <utility>

namespace ZOLNS2::HTTP
{

namespace
{

// No line of a message should fill the reader's screen.
constexpr std::size_t MOST_SHOWN = 512;

constexpr bool isContinuation(char c)
{
    return (static_cast<unsigned char>(c) & 0xc0U) == 0x80U;
}

/// The bytes of the UTF-8 character at the front (RFC 3629, section 4), by its first byte.
std::size_t lengthByFirstByte(unsigned char first)
{
    if (first < 0x80)
    {
        return 1;
    }
    if (first < 0xc2 || first > 0xf4)
    {
        return 0;
    }
    return first < 0xe0 ? 2 : first < 0xf0 ? 3 : 4;
}

/// @return the bytes of the character at the front; 0 if it is a control character or not UTF-8
std::size_t shownLength(std::string_view text)
{
    const auto byteAt = [text](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    const std::size_t length = lengthByFirstByte(byteAt(0));
    if (length > text.size() || (length == 1 && isControl(text.front())) ||
        (byteAt(0) == 0xc2 && byteAt(1) < 0xa0)) // C1
    {
        return 0;
    }
    for (std::size_t i = 1; i < length; ++i)
    {
        if (!isContinuation(text[i]))
        {
            return 0;
        }
    }
    return length;
}

} // namespace

bool equalsIgnoringCase(std::string_view left, std::string_view right)
{
    constexpr auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c; };
    return std::equal(left.begin(), left.end(), right.begin(), right.end(),
                      [&](char l, char r) { return lower(l) == lower(r); });
}

blocxx::String printable(std::string_view text)
{
    const char* const digits = "0123456789abcdef";
    std::string shown;
    while (!text.empty())
    {
        if (shown.size() >= MOST_SHOWN)
        {
            shown += "...";
            break;
        }
        const std::size_t length = shownLength(text);
        if (length == 0)
        {
            const auto byte = static_cast<unsigned char>(text.front());
            shown += {'\\', 'x', digits[byte / 16], digits[byte % 16]};
        }
        else
        {
            shown.append(text, 0, length);
        }
        text.remove_prefix(length == 0 ? 1 : length);
    }
    return {std::move(shown)};
}

blocxx::String quoted(std::string_view text)
{
    return "\"" + printable(text) + "\"";
}

bool parseLength(std::string_view text, std::uint64_t& length)
{
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, length);
    return error == std::errc() && stop == end;
}

} // namespace ZOLNS2::HTTP
