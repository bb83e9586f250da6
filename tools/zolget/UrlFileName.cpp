#include "UrlFileName.hpp"

#include "OptionValues.hpp"
#include "StringView.hpp"

#include <algorithm>
#include <string_view>

namespace zolget
{

namespace
{

int valueOfDigit(char c)
{
    static constexpr std::string_view DIGITS = "0123456789abcdefABCDEF";
    const std::size_t index = DIGITS.find(c);
    return static_cast<int>(index < 16 ? index : index - 6);
}

// pct-encoded = "%" HEXDIG HEXDIG   (RFC 3986, section 2.1); a Url holds no other percent sign
std::string decoded(std::string_view text)
{
    std::string result;
    for (std::size_t index = 0; index < text.size(); ++index)
    {
        if (text[index] == '%' && index + 2 < text.size())
        {
            result += static_cast<char>(16 * valueOfDigit(text[index + 1]) + valueOfDigit(text[index + 2]));
            index += 2;
        }
        else
        {
            result += text[index];
        }
    }
    return result;
}

bool isUnfit(char c)
{
    return c == '/' || static_cast<unsigned char>(c) < 0x20 || c == '\x7f';
}

} // namespace

std::string fileNameOf(const ZOLNS2::HTTP::Url& url)
{
    const std::string_view target = viewOf(url.target());
    const std::string_view path = target.substr(0, target.find('?'));
    std::string name = decoded(path.substr(path.rfind('/') + 1));
    if (name.empty())
    {
        refuseUsage("the path of " + toStdString(url.toString()) + " has no last name for a file; use -o");
    }
    if (name == "." || name == ".." || std::any_of(name.begin(), name.end(), isUnfit))
    {
        refuseUsage("the last name in the path of " + toStdString(url.toString()) +
                    " cannot be the name of a file; use -o");
    }
    return name;
}

} // namespace zolget
