#include "OptionValues.hpp"

#include "Failure.hpp"
#include "Text.hpp"

#include <algorithm>
#include <string_view>

namespace zolget
{

namespace
{

bool isControl(char c)
{
    return static_cast<unsigned char>(c) < 0x20 || c == '\x7f';
}

} // namespace

void refuseUsage(const std::string& message)
{
    throw Failure(ExitStatus::USAGE, message + "; see zolget --help");
}

// field-line = field-name ":" OWS field-value OWS   (RFC 9112, section 5); field-name is a token
HeaderOption parseHeader(const std::string& text)
{
    const std::size_t colon = text.find(':');
    HeaderOption header{text.substr(0, colon), {}};
    if (colon == std::string::npos || !isToken(header.name))
    {
        refuseUsage("\"" + text + "\" is not a header: it must have the form 'NAME: VALUE'");
    }
    header.value = trimmed(std::string_view(text).substr(colon + 1));
    // A line end in a value would add headers, or a whole request, of its own.
    if (std::any_of(header.value.begin(), header.value.end(), [](char c) { return isControl(c) && c != '\t'; }))
    {
        refuseUsage("the header " + header.name + " contains control characters");
    }
    if (equalsIgnoringCase(header.name, "transfer-encoding"))
    {
        refuseUsage("Transfer-Encoding cannot be given: how a body is sent depends on what it is read from");
    }
    return header;
}

// user-pass = user-id ":" password   (RFC 7617, section 2)
CredentialsOption parseCredentials(const std::string& text)
{
    const std::size_t colon = text.find(':');
    if (colon == std::string::npos)
    {
        // What was given may be a password, so it is not shown.
        refuseUsage("the user must be given in the form USER:PASSWORD");
    }
    if (std::any_of(text.begin(), text.end(), isControl))
    {
        refuseUsage("the user name or the password contains control characters");
    }
    return {text.substr(0, colon), text.substr(colon + 1)};
}

// name "=" ( value / "@" path )
FormFieldOption parseFormField(const std::string& text)
{
    const std::size_t sign = text.find('=');
    if (sign == std::string::npos || sign == 0)
    {
        refuseUsage("\"" + text + "\" is not a field of a form: it must have the form NAME=VALUE or NAME=@PATH");
    }
    const bool isFile = text.compare(sign + 1, 1, "@") == 0;
    return {text.substr(0, sign), text.substr(sign + (isFile ? 2 : 1)), isFile};
}

// type "/" subtype ":" value, where type and subtype are tokens as in a media type   (RFC 9110, section 8.3.1)
PartOption parsePart(const std::string& text, bool isFile)
{
    const std::size_t colon = text.find(':');
    PartOption part{std::string(trimmed(text.substr(0, colon))), {}, isFile};
    const std::size_t slash = part.type.find('/');
    if (colon == std::string::npos || slash == std::string::npos || !isToken(part.type.substr(0, slash)) ||
        !isToken(part.type.substr(slash + 1)))
    {
        refuseUsage("\"" + text + "\" is not a part: it must have the form TYPE:" +
                    (isFile ? "FILE, as in text/plain:notes.txt" : "TEXT, as in text/plain:hello"));
    }
    part.value = text.substr(colon + 1);
    return part;
}

} // namespace zolget
