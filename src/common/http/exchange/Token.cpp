#include "exchange/Token.hpp"

#include "exchange/Text.hpp"

#include <algorithm>

namespace ZOLNS2::HTTP
{

namespace
{

constexpr std::string_view TOKEN_CHARACTERS = "!#$%&'*+-.^_`|~0123456789"
                                              "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz";

} // namespace

bool isToken(std::string_view text)
{
    return !text.empty() && text.find_first_not_of(TOKEN_CHARACTERS) == std::string_view::npos;
}

bool isFieldValue(std::string_view text)
{
    return std::none_of(text.begin(), text.end(), [](char c) { return isControl(c) && c != '\t'; });
}

std::string_view takeToken(std::string_view& text)
{
    const std::string_view token = text.substr(0, text.find_first_not_of(TOKEN_CHARACTERS));
    text.remove_prefix(token.size());
    return token;
}

} // namespace ZOLNS2::HTTP
