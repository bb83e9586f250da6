#include "exchange/Redirect.hpp"

#include "exchange/DefaultSslContext.hpp"
#include "exchange/ExchangeUnit.hpp"
#include "exchange/PlainUrl.hpp"
#include "exchange/Text.hpp"

#include <algorithm>
#include <array>
#include <string>
#include <string_view>
#include <utility>

namespace ZOLNS2::HTTP
{

namespace
{

using FieldNames = std::initializer_list<const char*>;

bool isOneOf(const blocxx::String& name, FieldNames names)
{
    return std::any_of(names.begin(), names.end(), [&](const char* one) { return name.equalsIgnoreCase(one); });
}

bool isContentField(const blocxx::String& name)
{
    return name.substring(0, 8).equalsIgnoreCase("Content-") ||
           isOneOf(name, {"Transfer-Encoding", "Trailer", "Expect", "Digest", "Last-Modified"});
}

/// What another origin has no business to see.
bool isCredential(const blocxx::String& name)
{
    return isOneOf(name, {"Authorization", "Proxy-Authorization", "Cookie"});
}

bool isRedirect(unsigned short status)
{
    return status == 301 || status == 302 || status == 303 || status == 307 || status == 308;
}

/// RFC 9110, sections 15.4.2 to 15.4.4.
bool becomesGet(unsigned short status, const blocxx::String& method)
{
    return status == 303 ? method != "GET" && method != "HEAD" : (status == 301 || status == 302) && method == "POST";
}

Headers headersFor(const Request& request, const Url& target, bool toOtherOrigin, bool asGet)
{
    Headers headers;
    headers.addHeader("Host", target.authority());
    for (const Header& header : request.getHeaders())
    {
        if (!header.name.equalsIgnoreCase("Host") && !(toOtherOrigin && isCredential(header.name)) &&
            !(asGet && isContentField(header.name)))
        {
            headers.addHeader(header.name, header.value);
        }
    }
    return headers;
}

Request::SSLContextRef contextFor(const Request& request, const Url& target, const ExchangeOptions& options)
{
    if (!target.isSecure())
    {
        return Request::SSLContextRef();
    }
    if (request.getSSLContext())
    {
        return request.getSSLContext();
    }
    return options.redirectSslContext ? options.redirectSslContext : defaultSslContext();
}

Redirect notFollowed(const blocxx::String& note)
{
    Redirect redirect;
    redirect.note = note;
    return redirect;
}

Redirect follow(const Request& request, const Url& source, const Url& target, unsigned short status,
                const ExchangeOptions& options)
{
    if (source.isSecure() && !target.isSecure())
    {
        return notFollowed(blocxx::Format("It leads from https to http: %1", target.toString()));
    }
    const RequestLine& line = request.getRequestLine();
    const bool asGet = becomesGet(status, line.method);
    Redirect redirect;
    redirect.toOtherOrigin = !source.sameOrigin(target);
    redirect.needsContent = request.getContent() && !asGet;
    redirect.next.emplace(
        RequestLine(asGet ? blocxx::String("GET") : line.method, target.target(), target.hostAndPort(), line.version),
        headersFor(request, target, redirect.toOtherOrigin, asGet),
        redirect.needsContent ? request.getContent() : MIME::ContentRef(), contextFor(request, target, options));
    return redirect;
}

} // namespace

Url urlOf(const Request& request)
{
    const RequestLine& line = request.getRequestLine();
    const bool hasPath = !line.requestURI.empty() && line.requestURI.charAt(0) == '/';
    const std::string_view target = hasPath ? viewOf(line.requestURI) : std::string_view("/");
    if (const PlainUrl plain{static_cast<bool>(request.getSSLContext()), viewOf(line.url), target})
    {
        return plain.url();
    }
    std::string text(request.getSSLContext() ? "https://" : "http://");
    text += viewOf(line.url);
    text += target;
    return Url(blocxx::String(std::move(text)));
}

Redirect redirectOf(const Request& request, const Url& source, const ReceivedHead& head, const ExchangeOptions& options)
{
    if (!isRedirect(head.statusLine.statusCode))
    {
        return Redirect();
    }
    const blocxx::String location = head.fields.getHeaderValue("Location");
    if (location.empty())
    {
        return notFollowed("It names no location");
    }
    try
    {
        return follow(request, source, source.resolve(location), head.statusLine.statusCode, options);
    }
    catch (const ExchangeException& exception)
    {
        return notFollowed(exception.getMessage());
    }
}

} // namespace ZOLNS2::HTTP
