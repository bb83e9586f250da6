#include "exchange/MediaType.hpp"

#include "exchange/Refusal.hpp"
#include "exchange/Text.hpp"
#include "exchange/Token.hpp"

#include <algorithm>
#include <cstddef>
#include <string>
#include <string_view>
#include <utility>

namespace ZOLNS2::MIME
{

namespace
{

using HTTP::takeToken;
using HTTP::viewOf;

[[noreturn]] void refuse(const blocxx::String& text)
{
    refuseContent(HTTP::quoted(text) + " is not a media type such as text/html");
}

void removeBlanks(std::string_view& text)
{
    text.remove_prefix(std::min(text.find_first_not_of(" \t"), text.size()));
}

/// Removes `c` from the front of `text`; false if it does not stand there.
bool take(std::string_view& text, char c)
{
    const bool isThere = !text.empty() && text.front() == c;
    text.remove_prefix(isThere ? 1 : 0);
    return isThere;
}

// quoted-string = DQUOTE *( qdtext / quoted-pair ) DQUOTE   (RFC 9110, section 5.6.4)
/// The text of the quoted string whose opening quote has been taken. @return false if it has no end
bool takeQuoted(std::string_view& text, std::string& value)
{
    for (std::size_t i = 0; i < text.size(); ++i)
    {
        if (text[i] == '"')
        {
            text.remove_prefix(i + 1);
            return true;
        }
        if (text[i] == '\\' && i + 1 < text.size())
        {
            ++i;
        }
        value += text[i];
    }
    return false;
}

/// parameter = parameter-name "=" ( token / quoted-string )
bool takeParameter(std::string_view& text, HTTP::Parameter& parameter)
{
    const std::string_view name = takeToken(text);
    std::string value;
    if (!take(text, '='))
    {
        return false;
    }
    if (!take(text, '"'))
    {
        value = takeToken(text);
    }
    else if (!takeQuoted(text, value))
    {
        return false;
    }
    parameter = HTTP::Parameter(HTTP::toString(name), blocxx::String(std::move(value)));
    return true;
}

bool isValueOfParameter(const blocxx::String& value)
{
    // The writer of a content type leaves a backslash as it is.
    return !value.empty() && HTTP::isFieldValue(viewOf(value)) && value.indexOf('\\') == blocxx::String::npos;
}

} // namespace

// media-type = type "/" subtype parameters
// parameters = *( OWS ";" OWS [ parameter ] )
ContentTypeHeader parseMediaType(const blocxx::String& text)
{
    std::string_view rest = HTTP::withoutOuterBlanks(viewOf(text));
    const std::string_view type = takeToken(rest);
    if (!take(rest, '/'))
    {
        refuse(text);
    }
    const std::string_view subtype = takeToken(rest);
    blocxx::Array<HTTP::Parameter> parameters;
    while (!rest.empty())
    {
        removeBlanks(rest);
        if (!take(rest, ';'))
        {
            refuse(text);
        }
        removeBlanks(rest);
        if (rest.empty() || rest.front() == ';')
        {
            continue;
        }
        HTTP::Parameter parameter;
        if (!takeParameter(rest, parameter))
        {
            refuse(text);
        }
        parameters.push_back(parameter);
    }
    ContentTypeHeader header(HTTP::toString(type), HTTP::toString(subtype), parameters);
    mediaTypeText(header); // refuses what is empty
    return header;
}

blocxx::String mediaTypeText(const ContentTypeHeader& type)
{
    blocxx::String text = toString(type);
    bool isGood = HTTP::isToken(viewOf(type.getType())) && HTTP::isToken(viewOf(type.getSubType()));
    const blocxx::Array<HTTP::Parameter> parameters = type.getParameters();
    for (const HTTP::Parameter& parameter : parameters)
    {
        isGood = isGood && HTTP::isToken(viewOf(parameter.name)) && isValueOfParameter(parameter.value);
    }
    if (!isGood)
    {
        refuse(text);
    }
    return text;
}

} // namespace ZOLNS2::MIME
