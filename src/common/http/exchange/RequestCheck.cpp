#include "exchange/RequestCheck.hpp"

#include "exchange/Characters.hpp"
#include "exchange/MediaType.hpp"
#include "exchange/Refusal.hpp"
#include "exchange/Text.hpp"
#include "exchange/Token.hpp"

#include "zol/http/ChunkedContent.hpp"
#include "zol/mime/ContentException.hpp"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

namespace ZOLNS2::HTTP
{

namespace
{

void checkMethod(const RequestLine& line)
{
    if (!isToken(viewOf(line.method)))
    {
        refuseRequest("The method " + quoted(line.method) + " is not a token");
    }
    if (isName(line.method, "CONNECT"))
    {
        refuseRequest("CONNECT is not supported: what follows it is no response");
    }
}

bool beginsWith(std::string_view text, std::string_view prefix)
{
    return equalsIgnoringCase(text.substr(0, prefix.size()), prefix);
}

// request-target = origin-form / absolute-form / asterisk-form   (RFC 9112, section 3.2, without authority-form)
void checkTarget(const RequestLine& line)
{
    const std::string_view target = viewOf(line.requestURI);
    if (!allOf(E_REQUEST_TARGET, target))
    {
        refuseRequest("The target " + quoted(target) +
                      " holds blanks, control characters, bytes beyond ASCII or \"#\"");
    }
    const bool isForm = target.substr(0, 1) == "/" || beginsWith(target, "http://") || beginsWith(target, "https://") ||
                        (target == "*" && line.method == "OPTIONS");
    if (!isForm)
    {
        refuseRequest("The target " + quoted(target) + " does not begin with \"/\"");
    }
}

void checkHeader(const Header& header)
{
    if (!isToken(viewOf(header.name)))
    {
        refuseRequest(quoted(header.name) + " is not the name of a header");
    }
    if (!isFieldValue(viewOf(header.value)))
    {
        // The value is not shown: it may be a password.
        refuseRequest("The value of the header " + header.name + " holds control characters");
    }
}

/// The value of the only header of that name.
std::optional<std::string_view> single(const Headers& headers, std::string_view name)
{
    std::optional<std::string_view> value;
    for (const Header& header : headers)
    {
        if (isName(header.name, name))
        {
            if (value)
            {
                refuseRequest(blocxx::String("The header ") + toString(name) + " is given twice");
            }
            value = withoutOuterBlanks(viewOf(header.value));
        }
    }
    return value;
}

// Content-Length = 1*DIGIT   (RFC 9110, section 8.6)
std::uint64_t requireLength(std::string_view text)
{
    std::uint64_t length = 0;
    if (!parseLength(text, length))
    {
        refuseRequest("The Content-Length " + quoted(text) + " is not a number of bytes");
    }
    return length;
}

// RFC 9112, section 6
void checkFraming(const Request& request, std::optional<std::string_view> lengthText,
                  std::optional<std::string_view> coding)
{
    const MIME::ContentRef& content = request.getContent();
    if (coding && !equalsIgnoringCase(*coding, "chunked"))
    {
        refuseRequest("The Transfer-Encoding " + quoted(*coding) + " is not chunked");
    }
    if (coding && (lengthText || request.getRequestLine().version == HTTP_1_0 || !content))
    {
        refuseRequest(lengthText ? "There are both Content-Length and Transfer-Encoding"
                      : content  ? "HTTP/1.0 has no Transfer-Encoding: the content must know its length"
                                 : "There is a Transfer-Encoding, but no content");
    }
    if (!coding && content && content.cast_to<ChunkedContent>())
    {
        refuseRequest("The content writes chunked coding, but there is no Transfer-Encoding");
    }
    const std::optional<std::uint64_t> length =
        lengthText ? requireLength(*lengthText) : std::optional<std::uint64_t>();
    const std::optional<std::size_t> actual = !content ? 0
                                              : content->hasContentLength()
                                                  ? std::optional<std::size_t>(content->getContentLength())
                                                  : std::nullopt;
    if (length && actual && *length != *actual)
    {
        refuseRequest("The Content-Length is " + printable(*lengthText) + ", but the content has " +
                      blocxx::String(blocxx::UInt64{*actual}) + " bytes");
    }
    if (!coding && !length && actual != std::size_t{0})
    {
        refuseRequest("There is a content, but neither Content-Length nor Transfer-Encoding");
    }
}

blocxx::String parameterOf(const MIME::ContentTypeHeader& type, const char* name)
{
    const blocxx::Array<Parameter> parameters = type.getParameters();
    const auto found =
        std::find_if(parameters.begin(), parameters.end(),
                     [name](const Parameter& parameter) { return parameter.name.equalsIgnoreCase(name); });
    return found == parameters.end() ? blocxx::String() : found->value;
}

MIME::ContentTypeHeader parseGiven(std::string_view text)
{
    try
    {
        return MIME::parseMediaType(toString(text));
    }
    catch (const MIME::ContentException& error)
    {
        refuseRequest(blocxx::String("The Content-Type is malformed: ") + error.getMessage());
    }
}

void checkType(const MIME::ContentRef& content, std::string_view text)
{
    const MIME::ContentTypeHeader type = content->getContentType();
    const blocxx::String boundary = parameterOf(type, "boundary");
    const blocxx::String charset = parameterOf(type, "charset");
    if (boundary.empty() && charset.empty())
    {
        return;
    }
    const MIME::ContentTypeHeader given = parseGiven(text);
    if (!boundary.empty() && parameterOf(given, "boundary") != boundary)
    {
        refuseRequest("The Content-Type does not name the boundary of the content: leave it out, or take what the "
                      "content's getContentType() returns");
    }
    const blocxx::String givenCharset = parameterOf(given, "charset");
    if (!charset.empty() && !givenCharset.empty() && !givenCharset.equalsIgnoreCase(charset))
    {
        refuseRequest("The Content-Type names the charset " + printable(givenCharset) + ", but the content is in " +
                      printable(charset));
    }
}

} // namespace

void checkRequest(const Request& request)
{
    const RequestLine& line = request.getRequestLine();
    const Headers& headers = request.getHeaders();
    checkMethod(line);
    checkTarget(line);
    std::for_each(headers.begin(), headers.end(), checkHeader);
    // Most requests have few of these: what has no name of such a length is not looked for.
    constexpr std::size_t LONGEST = 31;
    std::uint32_t lengths = 0;
    for (const Header& header : headers)
    {
        lengths |= std::uint32_t{1} << std::min(header.name.length(), LONGEST);
    }
    const auto only = [&](std::string_view name)
    { return (lengths >> name.size() & 1U) != 0 ? single(headers, name) : std::nullopt; };
    only("Host");
    only("Authorization");
    if (request.getContent() && line.method == "TRACE")
    {
        refuseRequest("A TRACE request has no content"); // RFC 9110, section 9.3.8
    }
    checkFraming(request, only("Content-Length"), only("Transfer-Encoding"));
    const std::optional<std::string_view> type = only("Content-Type");
    if (type && request.getContent())
    {
        checkType(request.getContent(), *type);
    }
}

} // namespace ZOLNS2::HTTP
