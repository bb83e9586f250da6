#include "RequestHead.hpp"

#include "Text.hpp"

#include <algorithm>

namespace zolget
{

namespace http = ZOLNS2::HTTP;

namespace
{

bool isGiven(const Options& options, const char* name)
{
    return std::any_of(options.headers.begin(), options.headers.end(),
                       [name](const HeaderOption& header) { return equalsIgnoringCase(header.name, name); });
}

/// RFC 9110, section 8.6: requests with these methods carry Content-Length even without a body.
bool expectsBody(const std::string& method)
{
    return method == "POST" || method == "PUT" || method == "PATCH";
}

} // namespace

http::Headers completeHeaders(const Options& options, const RequestBodyRef& body)
{
    http::Headers headers;
    const auto addMissing = [&options, &headers](const char* name, const blocxx::String& value)
    {
        if (!isGiven(options, name))
        {
            headers.addHeader(name, value);
        }
    };
    addMissing("Host", options.url.authority());
    addMissing("User-Agent", "zolget/" ZOLGET_VERSION);
    addMissing("Accept", "*/*");
    addMissing("Connection", "close");
    if (body)
    {
        addMissing("Content-Type", toString(body->getContentType()));
        addMissing("Content-Length", std::to_string(body->getContentLength()));
    }
    else if (options.hasBody() || expectsBody(options.method))
    {
        addMissing("Content-Length", "0");
    }
    for (const HeaderOption& header : options.headers)
    {
        headers.addHeader(header.name, header.value);
    }
    return headers;
}

http::Request makeRequest(const Options& options, const RequestBodyRef& body,
                          const blocxx::IntrusiveReference<blocxx::SSLClientCtx>& context)
{
    const http::RequestLine line(options.method, options.url.target, options.url.authority(),
                                 options.useHttp10 ? http::HTTP_1_0 : http::HTTP_1_1);
    return http::Request(line, completeHeaders(options, body), body, context);
}

} // namespace zolget
