#include "Session.hpp"

#include "TlsContext.hpp"

#include <algorithm>
#include <iostream>
#include <utility>

namespace zolget
{

namespace http = ZOLNS2::HTTP;

namespace
{

constexpr unsigned MOST_REDIRECTS = 20;
constexpr float SHORTEST_HEAD_TIMEOUT = 120; // seconds

} // namespace

Session::Session(const Options& options, const Deadline& deadline)
    : m_options(options), m_deadline(deadline), m_tlsContext(makeTlsContext(options)), m_trace(std::cerr)
{
}

http::ExchangeOptions Session::exchangeOptions()
{
    http::ExchangeOptions result;
    result.connectTimeout = blocxx::Timeout::relative(m_options.connectTimeout);
    // A server may be silent for as long as the user allows, also before its first byte.
    result.headTimeout = blocxx::Timeout::relative(std::max(m_options.readTimeout, SHORTEST_HEAD_TIMEOUT));
    result.progressTimeout = blocxx::Timeout::relative(m_options.readTimeout);
    result.deadline = m_deadline.remaining();
    result.mostRedirects = m_options.followRedirects ? MOST_REDIRECTS : 0;
    result.redirectSslContext = m_tlsContext;
    result.decompress = m_options.decompress;
    result.observer = m_options.verbosity > 0 ? &m_trace : nullptr;
    if (m_options.onlyIPv4 || m_options.onlyIPv6)
    {
        result.family = m_options.onlyIPv4 ? blocxx::LookUp::E_IPV4_ONLY : blocxx::LookUp::E_IPV6_ONLY;
    }
    return result;
}

http::ExchangeResponse Session::exchange(const http::Url& url, const http::Request& request)
{
    const std::optional<Kept> kept = std::exchange(m_kept, std::nullopt);
    if (kept.has_value() && kept->url.sameOrigin(url) && kept->connection.reusable())
    {
        try
        {
            return http::exchange(kept->connection, request, exchangeOptions());
        }
        catch (const http::ExchangeException& error)
        {
            // The server has closed the connection in the meantime.
            if (!error.isSafeToRepeat())
            {
                throw;
            }
        }
    }
    return http::exchange(request, exchangeOptions());
}

void Session::keepConnectionOf(const http::ExchangeResponse& response)
{
    if (response.reusable())
    {
        m_kept.emplace(Kept{http::Url(response.getUrl()), response.getConnection()});
    }
}

} // namespace zolget
