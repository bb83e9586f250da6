#include "zol/mime/ContentTypeHeader.hpp"

#include "content/ContentTypeStore.hpp"
#include "content/HTTPContentUnit.hpp"

#include "blocxx/StringStream.hpp"
#include "zol/mime/ContentException.hpp"

#include <algorithm>
#include <ostream>
#include <string_view>
#include <utility>

namespace ZOLNS2::MIME
{

namespace
{

using blocxx::Format;
using blocxx::String;

constexpr auto npos = String::npos;

// Views of the header line: a text that is only trimmed or compared needs no memory of its own.
std::string_view viewOf(const String& text)
{
    return {text.c_str(), text.length()};
}

String toString(std::string_view text)
{
    return String(text.data(), text.size());
}

std::string_view trimmed(std::string_view text)
{
    const auto isSpace = [](char c) { return c == ' ' || (c >= '\t' && c <= '\r'); };
    while (!text.empty() && isSpace(text.front()))
    {
        text.remove_prefix(1);
    }
    while (!text.empty() && isSpace(text.back()))
    {
        text.remove_suffix(1);
    }
    return text;
}

/// The position of the next "=" from `pos` on; `pos` follows the search.
size_t findEquals(std::string_view headerLine, size_t& pos, const OperationLog& log)
{
    size_t equals = headerLine.find('=', pos);
    // Deliberate: nothing but an "=" or the end of all numbers ends this.
    while (equals == npos && pos != npos)
    {
        ZOL_LOG(log, ERROR, "Huh?  No equals sign after the semi-colon in Content-type parse");
        ++pos;
        equals = headerLine.find('=', pos);
    }
    return equals;
}

/// Deliberate: the last character goes with the opening quote, whatever it is.
std::string_view unquoted(std::string_view value)
{
    return !value.empty() && value.front() == '"' ? value.substr(1, value.size() - 2) : value;
}

/// What is parsed here is looser than the grammar (RFC 9110, sections 5.6.6 and 8.3.1):
///
///     media-type = type "/" subtype parameters
///     parameters = *( OWS ";" OWS [ parameter ] )
///     parameter  = parameter-name "=" ( token / quoted-string )
///
/// The next "=" ends a name, the next ";" after it ends a value, also inside quotes.
void parseParameters(std::string_view headerLine, size_t semicolon, blocxx::Array<HTTP::Parameter>& parameters,
                     const OperationLog& log)
{
    const int index = 0; // Deliberate: every record says param[0].
    while (semicolon != npos)
    {
        size_t pos = semicolon + 1;
        const size_t equals = findEquals(headerLine, pos, log);
        if (equals == npos)
        {
            return;
        }
        const std::string_view name = trimmed(headerLine.substr(pos, equals - pos));
        semicolon = headerLine.find(';', equals);
        const std::string_view value = headerLine.substr(equals + 1, semicolon == npos ? npos : semicolon - equals - 1);
        ZOL_LOG(log, DEBUG3,
                Format("content-type param[%1]: name = %2, value = %3", index, toString(name), toString(value)));
        ContentTypeStore::append(parameters, name, unquoted(value));
    }
}

bool forcesQuotes(char c)
{
    constexpr std::string_view SPECIALS = "()<>@,;:\\\"/[]?={}\x7f";
    return static_cast<unsigned char>(c) <= ' ' || SPECIALS.find(c) != std::string_view::npos;
}

void writeValue(std::ostream& out, const String& value)
{
    const char* const begin = value.c_str();
    const char* const end = begin + value.length();
    if (std::none_of(begin, end, forcesQuotes))
    {
        out << value;
        return;
    }
    String quoted('"');
    for (const char* c = begin; c != end; ++c)
    {
        if (*c == '"')
        {
            quoted += '\\';
        }
        quoted += *c;
    }
    quoted += '"';
    out << quoted;
}

} // namespace

ContentTypeHeader::ContentTypeHeader() = default;

ContentTypeHeader::ContentTypeHeader(const String& type, const String& subtype,
                                     const blocxx::Array<HTTP::Parameter>& parameters)
    : m_type(type), m_subtype(subtype), m_parameters(parameters)
{
}

void ContentTypeHeader::setContentTypeString(const String& headerLine)
{
    parse(String(headerLine), __PRETTY_FUNCTION__);
}

void ContentTypeHeader::parse(String&& headerLine, const char* signature)
{
    m_headerText.swap(headerLine);
    const std::string_view line = viewOf(m_headerText);
    const size_t colon = line.find(':');
    if (colon == npos)
    {
        throw ContentException(SOURCE_UNIT, __LINE__, Format("Malformed content-type header: %1", m_headerText).c_str(),
                               -1, nullptr, -1);
    }
    const OperationLog log(LOG_UNIT, signature);
    const size_t start = colon + 1;
    const size_t semicolon = line.find(';', start);
    // Deliberate: a "/" after the ";" counts as well. The subtype then runs to the end of the line.
    const size_t slash = line.find('/', start);
    std::string_view type;
    std::string_view subtype;
    if (slash != npos)
    {
        type = trimmed(line.substr(start, slash - start));
        subtype = trimmed(line.substr(slash + 1, semicolon == npos ? npos : semicolon - slash - 1));
    }
    else
    {
        // Deliberate: the length is the index of the ";", and nothing is trimmed.
        type = line.substr(start, semicolon);
        ZOL_LOG(log, DEBUG3, Format("No '/' found in content type: %1", m_headerText));
    }
    ZOL_LOG(log, DEBUG3, Format("content type: %1, sub type: %2", toString(type), toString(subtype)));
    m_type = toString(type);
    m_subtype = toString(subtype);
    // Deliberate: the parameters held so far stay.
    parseParameters(line, semicolon, m_parameters, log);
}

String ContentTypeHeader::getParameterValue(const String& name) const
{
    const auto found = std::find_if(m_parameters.begin(), m_parameters.end(),
                                    [&name](const HTTP::Parameter& parameter) { return parameter.name == name; });
    return found == m_parameters.end() ? String() : found->value;
}

std::ostream& operator<<(std::ostream& out, const ContentTypeHeader& header)
{
    out << header.getType();
    out.put('/');
    out << header.getSubType();
    const blocxx::Array<HTTP::Parameter> parameters = header.getParameters();
    for (const HTTP::Parameter& parameter : parameters)
    {
        out.write("; ", 2);
        out << parameter.name;
        out.put('=');
        writeValue(out, parameter.value);
    }
    return out;
}

String toString(const ContentTypeHeader& header)
{
    blocxx::OStringStream out;
    out << header;
    return out.releaseString();
}

} // namespace ZOLNS2::MIME
