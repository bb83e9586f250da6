#include "TerminalText.hpp"

#include <cstddef>

namespace zolget
{

namespace
{

constexpr std::size_t NOT_PRINTABLE = 0;

bool isContinuation(unsigned char byte)
{
    return (byte & 0xc0U) == 0x80;
}

/// The length of the printable character that the text begins with.
///
///     UTF8-2 = %xC2-DF UTF8-tail                                                              RFC 3629, section 4
///     UTF8-3 = %xE0 %xA0-BF UTF8-tail / %xE1-EC 2( UTF8-tail ) / %xED %x80-9F UTF8-tail / %xEE-EF 2( UTF8-tail )
///     UTF8-4 = %xF0 %x90-BF 2( UTF8-tail ) / %xF1-F3 3( UTF8-tail ) / %xF4 %x80-8F 2( UTF8-tail )
std::size_t printableLength(std::string_view text)
{
    const auto at = [text](std::size_t index)
    { return index < text.size() ? static_cast<unsigned char>(text[index]) : static_cast<unsigned char>(0); };
    const unsigned char first = at(0);
    const unsigned char second = at(1);
    if (first < 0x80)
    {
        return first >= 0x20 && first != 0x7f ? 1 : NOT_PRINTABLE;
    }
    if (!isContinuation(second) || first < 0xc2 || first > 0xf4)
    {
        return NOT_PRINTABLE;
    }
    if (first < 0xe0)
    {
        const bool isC1 = first == 0xc2 && second < 0xa0;
        return isC1 ? NOT_PRINTABLE : 2;
    }
    if (first < 0xf0)
    {
        const bool isOther = (first == 0xe0 && second < 0xa0) || (first == 0xed && second > 0x9f);
        return isOther || !isContinuation(at(2)) ? NOT_PRINTABLE : 3;
    }
    const bool isOther = (first == 0xf0 && second < 0x90) || (first == 0xf4 && second > 0x8f);
    return isOther || !isContinuation(at(2)) || !isContinuation(at(3)) ? NOT_PRINTABLE : 4;
}

} // namespace

std::string printable(std::string_view text)
{
    static constexpr char DIGITS[] = "0123456789abcdef";
    std::string result;
    result.reserve(text.size());
    while (!text.empty())
    {
        const std::size_t length = printableLength(text);
        if (length == NOT_PRINTABLE)
        {
            const auto byte = static_cast<unsigned char>(text.front());
            result += {'\\', 'x', DIGITS[byte >> 4U], DIGITS[byte & 0xfU]};
            text.remove_prefix(1);
            continue;
        }
        result += text.substr(0, length);
        text.remove_prefix(length);
    }
    return result;
}

} // namespace zolget
