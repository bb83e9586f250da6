#include "exchange/PartHead.hpp"

#include "exchange/Refusal.hpp"
#include "exchange/Text.hpp"
#include "exchange/Token.hpp"

#include <string>
#include <string_view>
#include <utility>

namespace ZOLNS2::MIME
{

namespace
{

using HTTP::viewOf;

void appendLine(std::string& head, std::string_view name, std::string_view value)
{
    head.append(name).append(": ").append(value).append("\r\n");
}

/// With the escapes that the forms of browsers have, which servers undo: a quoted string without quoted pairs.
void appendEscaped(std::string& text, const blocxx::String& name)
{
    for (const char c : viewOf(name))
    {
        switch (c)
        {
        case '"':
            text += "%22";
            break;
        case '\r':
            text += "%0D";
            break;
        case '\n':
            text += "%0A";
            break;
        default:
            if (HTTP::isControl(c))
            {
                refuseContent(HTTP::quoted(name) + " cannot name a field or a file: it holds control characters");
            }
            text += c;
        }
    }
}

} // namespace

blocxx::String partHead(const HTTP::Headers& headers, const blocxx::String& type)
{
    std::string head;
    bool hasType = false;
    for (const HTTP::Header& header : headers)
    {
        if (!HTTP::isToken(viewOf(header.name)))
        {
            refuseContent(HTTP::quoted(header.name) + " is not the name of a header");
        }
        if (!HTTP::isFieldValue(viewOf(header.value)))
        {
            refuseContent("The value of the header " + header.name + " holds control characters");
        }
        const bool isType = HTTP::equalsIgnoringCase(viewOf(header.name), "Content-Type");
        if (isType && hasType)
        {
            refuseContent("A part cannot have two headers Content-Type");
        }
        hasType = hasType || isType;
        appendLine(head, viewOf(header.name), viewOf(header.value));
    }
    if (!hasType && !type.empty())
    {
        appendLine(head, "Content-Type", viewOf(type));
    }
    head += "\r\n";
    return {std::move(head)};
}

blocxx::String formDataDisposition(const blocxx::String& name, const blocxx::String* fileName)
{
    std::string value = "form-data; name=\"";
    appendEscaped(value, name);
    if (fileName != nullptr)
    {
        value += "\"; filename=\"";
        appendEscaped(value, *fileName);
    }
    value += '"';
    return {std::move(value)};
}

} // namespace ZOLNS2::MIME
