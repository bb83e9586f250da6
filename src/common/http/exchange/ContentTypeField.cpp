#include "exchange/ContentTypeField.hpp"

#include "content/ContentTypeStore.hpp"
#include "exchange/Text.hpp"
#include "message/HeaderStore.hpp"

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
    std::size_t end = 0;
    while (end < rest.size() && rest[end] != ';' && rest[end] != '=')
    {
        ++end;
    }
    const std::string_view name = withoutOuterBlanks(rest.substr(0, end));
    const bool hasValue = end < rest.size() && rest[end] == '=';
    rest.remove_prefix(std::min(end + 1, rest.size()));
    if (!hasValue)
    {
        return;
    }
    rest = withoutOuterBlanks(rest);
    const bool isQuoted = !rest.empty() && rest.front() == '"';
    const std::string unquoted = isQuoted ? takeQuoted(rest) : std::string();
    const std::size_t next = rest.find(';');
    const std::string_view value = isQuoted ? std::string_view(unquoted) : withoutOuterBlanks(rest.substr(0, next));
    if (!name.empty())
    {
        MIME::ContentTypeStore::append(parameters, name, value).name.toLowerCase();
    }
    rest.remove_prefix(next == std::string_view::npos ? rest.size() : next + 1);
}

} // namespace

// Never destroyed, so that a response can be read at any time of a process's life.
const MIME::ContentTypeHeader& octetStreamType()
{
    static const auto* const type =
        new MIME::ContentTypeHeader("application", "octet-stream", blocxx::Array<Parameter>());
    return *type;
}

const MIME::ContentTypeHeader& plainTextType()
{
    static const auto* const type = new MIME::ContentTypeHeader("text", "plain", blocxx::Array<Parameter>());
    return *type;
}

MIME::ContentTypeHeader contentTypeOf(const Headers& fields, const MIME::ContentTypeHeader& absent)
{
    const blocxx::String* const value = HeaderStore::find(fields, "Content-Type");
    std::string_view rest = value == nullptr ? std::string_view() : viewOf(*value);
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
    MIME::ContentTypeHeader header;
    blocxx::Array<Parameter>& parameters = MIME::ContentTypeStore::setType(header, type, subtype);
    while (!rest.empty())
    {
        takeParameter(rest, parameters);
    }
    return header;
}

} // namespace ZOLNS2::HTTP
