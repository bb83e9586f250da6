#include "exchange/ContentTypeField.hpp"

#include "exchange/Text.hpp"

#include "zol/http/Parameter.hpp"

#include <algorithm>
#include <string>
#include <string_view>

namespace ZOLNS2::HTTP
{

namespace
{

/// Takes a quoted string off the front of `rest`, which begins with its quote; one without end ends with the field.
std::string takeQuoted(std::string_view& rest)
{
    std::string value;
    std::size_t at = 1;
    for (; at < rest.size() && rest[at] != '"'; ++at)
    {
        if (rest[at] == '\\' && at + 1 < rest.size())
        {
            ++at;
        }
        value += rest[at];
    }
    rest.remove_prefix(std::min(at + 1, rest.size()));
    return value;
}

/// Takes one parameter, and the semicolon behind it, off the front of `rest`.
void takeParameter(std::string_view& rest, blocxx::Array<Parameter>& parameters)
{
    const std::size_t end = rest.find_first_of(";=");
    const std::string_view name = withoutOuterBlanks(rest.substr(0, end));
    const bool hasValue = end != std::string_view::npos && rest[end] == '=';
    rest.remove_prefix(end == std::string_view::npos ? rest.size() : end + 1);
    if (!hasValue)
    {
        return;
    }
    rest = withoutOuterBlanks(rest);
    const bool isQuoted = !rest.empty() && rest.front() == '"';
    const std::string unquoted = isQuoted ? takeQuoted(rest) : std::string();
    const std::size_t next = rest.find(';');
    const blocxx::String value = toString(isQuoted ? unquoted : withoutOuterBlanks(rest.substr(0, next)));
    rest.remove_prefix(next == std::string_view::npos ? rest.size() : next + 1);
    if (!name.empty())
    {
        parameters.push_back(Parameter(toString(name).toLowerCase(), value));
    }
}

} // namespace

MIME::ContentTypeHeader octetStreamType()
{
    return MIME::ContentTypeHeader("application", "octet-stream", blocxx::Array<Parameter>());
}

MIME::ContentTypeHeader plainTextType()
{
    return MIME::ContentTypeHeader("text", "plain", blocxx::Array<Parameter>());
}

MIME::ContentTypeHeader contentTypeOf(const Headers& fields, const MIME::ContentTypeHeader& absent)
{
    const blocxx::String value = fields.getHeaderValue("Content-Type");
    std::string_view rest = viewOf(value);
    const std::size_t semicolon = rest.find(';');
    const std::string_view mediaType = withoutOuterBlanks(rest.substr(0, semicolon));
    rest = semicolon == std::string_view::npos ? std::string_view() : rest.substr(semicolon + 1);
    const std::size_t slash = mediaType.find('/');
    const std::string_view type = withoutOuterBlanks(mediaType.substr(0, slash));
    const std::string_view subtype =
        slash == std::string_view::npos ? std::string_view() : withoutOuterBlanks(mediaType.substr(slash + 1));
    if (type.empty() || subtype.empty())
    {
        return absent;
    }
    blocxx::Array<Parameter> parameters;
    while (!rest.empty())
    {
        takeParameter(rest, parameters);
    }
    return MIME::ContentTypeHeader(toString(type), toString(subtype), parameters);
}

} // namespace ZOLNS2::HTTP
