#include "Text.hpp"

#include <strings.h>

namespace zolget
{

bool isToken(std::string_view text)
{
    static constexpr std::string_view TOKEN_CHARACTERS = "!#$%&'*+-.^_`|~0123456789"
                                                         "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz";
    return !text.empty() && text.find_first_not_of(TOKEN_CHARACTERS) == std::string_view::npos;
}

bool equalsIgnoringCase(std::string_view left, std::string_view right)
{
    return left.size() == right.size() && ::strncasecmp(left.data(), right.data(), left.size()) == 0;
}

std::string_view trimmed(std::string_view text)
{
    const std::size_t first = text.find_first_not_of(" \t");
    return first == std::string_view::npos ? std::string_view()
                                           : text.substr(first, text.find_last_not_of(" \t") - first + 1);
}

} // namespace zolget
