// usage: fetch_exchange PORT TARGET COUNT [kept] [lines=N] [trust=FILE]
// COUNT exchanges, a connection each or all on one that is kept; the body is pulled with getData of 64 KiB.
#include "PeakMemory.hpp"
#include "ZolFetch.hpp"

using namespace ZOLNS2;

namespace
{

HTTP::Request requestFor(const FetchArguments& arguments, const blocxx::SSLClientCtxRef& context)
{
    const char* const scheme = arguments.trust.empty() ? "http" : "https";
    const std::string url = scheme + ("://127.0.0.1:" + arguments.port) + arguments.target;
    HTTP::RequestBuilder builder("GET", HTTP::Url(url.c_str()));
    builder.keepAlive(arguments.kept);
    if (arguments.lines)
    {
        for (const auto& [name, value] : *arguments.lines)
        {
            builder.header(name.c_str(), value.c_str());
        }
    }
    if (context)
    {
        builder.sslContext(context);
    }
    return builder.build();
}

} // namespace

int main(int argc, char** argv)
try
{
    const FetchArguments arguments(argc, argv, "[kept] [lines=N] [trust=FILE]");
    const blocxx::SSLClientCtxRef context = contextFor(arguments);
    const HTTP::Request request = requestFor(arguments, context);
    std::optional<HTTP::Request> own;
    std::optional<HTTP::ExchangeConnection> connection;
    std::vector<char> buffer(BLOCK);
    size_t total = 0;
    for (long count = arguments.count; count > 0; --count)
    {
        if (arguments.lines)
        {
            own.emplace(requestFor(arguments, context));
        }
        const HTTP::Request& sent = own ? *own : request;
        const HTTP::ExchangeResponse response = connection ? HTTP::exchange(*connection, sent) : HTTP::exchange(sent);
        total += pull(response.getContent(), buffer);
        if (response.bodyEnd() != HTTP::ExchangeResponse::E_COMPLETE)
        {
            std::fprintf(stderr, "fetch_exchange: %s\n", response.bodyEndText().c_str());
            return 1;
        }
        if (arguments.kept && !connection)
        {
            connection = response.getConnection();
        }
    }
    std::printf("%zu bytes, peak %ld KiB\n", total, peakMemory());
}
catch (const blocxx::Exception& e)
{
    std::fprintf(stderr, "fetch_exchange: %s\n", e.getMessage());
    return 1;
}
