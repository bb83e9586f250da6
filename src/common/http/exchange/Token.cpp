#include "exchange/Token.hpp"

#include "exchange/Characters.hpp"

namespace ZOLNS2::HTTP
{

bool isToken(std::string_view text)
{
    return !text.empty() && allOf(E_TOKEN, text);
}

bool isFieldValue(std::string_view text)
{
    return allOf(E_FIELD_VALUE, text);
}

std::string_view takeToken(std::string_view& text)
{
    const std::string_view token = text.substr(0, spanOf(E_TOKEN, text));
    text.remove_prefix(token.size());
    return token;
}

} // namespace ZOLNS2::HTTP
