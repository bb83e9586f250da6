#include "RequestHead.hpp"

#include "zol/http/ExchangeException.hpp"
#include "zol/http/RequestBuilder.hpp"

namespace zolget
{

namespace http = ZOLNS2::HTTP;

namespace
{

void addMissing(http::RequestBuilder& builder, const Options& options, const char* name, const char* value)
{
    if (!options.hasHeader(name))
    {
        builder.header(name, value);
    }
}

} // namespace

http::Request makeRequest(const Options& options, const http::Url& url, const RequestParts& parts)
{
    http::RequestBuilder builder(options.method, url);
    addMissing(builder, options, "User-Agent", "zolget/" ZOLGET_VERSION);
    addMissing(builder, options, "Accept", "*/*");
    for (const HeaderOption& header : options.headers)
    {
        builder.header(header.name, header.value);
    }
    if (options.credentials.has_value())
    {
        builder.basicAuthentication(options.credentials->user, options.credentials->password);
    }
    if (parts.destination != nullptr)
    {
        parts.destination->prepare(builder);
    }
    builder.content(parts.body).sslContext(parts.tlsContext);
    builder.version(options.useHttp10 ? http::HTTP_1_0 : http::HTTP_1_1).keepAlive(parts.keepsConnection);
    try
    {
        return builder.build();
    }
    catch (const http::ExchangeException& error)
    {
        refuseUsage(std::string("the request cannot be sent: ") + error.getMessage());
    }
}

} // namespace zolget
