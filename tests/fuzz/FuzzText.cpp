#include "FuzzTarget.hpp"

#include "blocxx/Array.hpp"
#include "blocxx/Format.hpp"
#include "blocxx/String.hpp"

#include <algorithm>
#include <charconv>
#include <string>
#include <string_view>

using blocxx::Format;
using blocxx::String;

namespace
{

constexpr std::string_view WHITE_SPACE = " \t\n\v\f\r";

std::string plain(const String& text)
{
    return std::string(text.c_str(), text.length());
}

std::string lowered(std::string text)
{
    std::transform(text.begin(), text.end(), text.begin(),
                   [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
    return text;
}

std::string trimmed(const std::string& text)
{
    const std::size_t begin = text.find_first_not_of(WHITE_SPACE);
    return begin == std::string::npos ? "" : text.substr(begin, text.find_last_not_of(WHITE_SPACE) + 1 - begin);
}

void checkPieces(const std::string& text, std::size_t begin, std::size_t length)
{
    const String string(text.data(), text.size());
    const std::string piece = begin < text.size() ? text.substr(begin, length) : "";
    zol_fuzz::check(plain(string.substring(begin, length)) == piece, "a piece is that of the plain text");
    zol_fuzz::check(plain(String(string).trim()) == trimmed(text), "white space is removed from both ends");
    zol_fuzz::check(plain(String(string).toLowerCase()) == lowered(text), "ASCII letters are lowered");
    zol_fuzz::check(string.indexOf(' ', begin) == text.find(' ', begin), "a byte is found where it is");
    zol_fuzz::check(string.charAt(begin) == (begin < text.size() ? text[begin] : '\0'), "a NUL stands at the end");
    zol_fuzz::check(string.equalsIgnoreCase(String(lowered(text))), "case is ignored");
    if (!piece.empty())
    {
        zol_fuzz::check(string.indexOf(String(piece)) == text.find(piece) || piece.find('\0') != std::string::npos,
                        "a piece is found where it first is");
    }
}

void checkTokens(const std::string& text)
{
    const blocxx::Array<String> tokens = String(text).tokenize(" ,");
    std::string joined;
    for (const String& token : tokens)
    {
        zol_fuzz::check(!token.empty() && plain(token).find_first_of(" ,") == std::string::npos,
                        "a token is not empty and holds no delimiter");
        joined += plain(token);
    }
    std::string rest = text;
    rest.erase(std::remove_if(rest.begin(), rest.end(), [](char c) { return c == ' ' || c == ','; }), rest.end());
    zol_fuzz::check(joined == rest, "the tokens are all that is not a delimiter");
}

void checkNumbers(const std::string& text, int base)
{
    blocxx::UInt64 expected = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), expected, base);
    const bool isNumber = error == std::errc() && end == text.data() + text.size();
    bool isAccepted = true;
    try
    {
        zol_fuzz::check(String(text).toUInt64(base) == expected, "a number is that of its digits");
    }
    catch (const blocxx::StringConversionException&)
    {
        isAccepted = false;
    }
    zol_fuzz::check(isAccepted == isNumber, "digits that fit are a number, and nothing else is");
}

void checkFormat(const std::string& text)
{
    zol_fuzz::check(plain(Format("%1", String(text))) == text, "a text goes through whole");
    const std::string format = text.substr(0, text.find('\0'));
    const std::string result = plain(Format(format.c_str(), "one", 2, 'c', String("four"), -5.5, true, 7UL, &text));
    zol_fuzz::check(format.find('%') != std::string::npos || result == format, "a text without placeholders stays");
    zol_fuzz::check(result.size() <= (format.size() / 10 + 1) * 65536 + 1000,
                    "a width has a bound, which takes ten bytes to ask for");
}

} // namespace

// Strings and format texts: the first two bytes are a place and a length (or a base), the rest is the text.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size < 2)
    {
        return 0;
    }
    const std::string text = zol_fuzz::textOf(data + 2, size - 2);
    checkPieces(text, data[0], data[1]);
    checkTokens(text);
    checkNumbers(text, 2 + data[1] % 35);
    checkFormat(text);
    return 0;
}
