#include "Getting.hpp"

#include "support/TemporaryDirectory.hpp"

#include "blocxx/SSLCtxMgr.hpp"

#include <algorithm>
#include <chrono>
#include <thread>

namespace exchange_integration
{

std::string plainUrl(std::uint16_t port, const std::string& target, const std::string& host)
{
    return "http://" + host + ":" + std::to_string(port) + target;
}

std::string secureUrl(std::uint16_t port, const std::string& target, const std::string& host)
{
    return "https://" + host + ":" + std::to_string(port) + target;
}

RequestBuilder asking(const std::string& method, const std::string& url)
{
    return RequestBuilder(method.c_str(), Url(url.c_str()));
}

Request get(const std::string& url, const blocxx::SSLClientCtxRef& tls)
{
    return asking("GET", url).sslContext(tls).build();
}

Request getAndKeep(const std::string& url, const blocxx::SSLClientCtxRef& tls)
{
    return asking("GET", url).sslContext(tls).keepAlive(true).build();
}

ExchangeOptions following(unsigned mostRedirects)
{
    ExchangeOptions options;
    options.mostRedirects = mostRedirects;
    return options;
}

ExchangeOptions decompressing()
{
    ExchangeOptions options;
    options.decompress = true;
    return options;
}

std::string bodyOf(const ExchangeResponse& response)
{
    const blocxx::Array<char> bytes = response.readAll();
    EXPECT_EQ(response.bodyEnd(), ExchangeResponse::E_COMPLETE) << response.bodyEndText();
    return std::string(bytes.begin(), bytes.end());
}

std::string headerOf(const ExchangeResponse& response, const char* name)
{
    return textOf(response.getHeaders().getHeaderValue(name));
}

zol_test::CertificateFields loopbackFields()
{
    zol_test::CertificateFields fields;
    fields.dnsNames = {"localhost"};
    fields.ipAddresses = {"127.0.0.1"};
    return fields;
}

blocxx::SSLClientCtxRef showing(const zol_test::Certificate& own, const zol_test::Certificate& authority)
{
    const zol_test::TemporaryDirectory folder;
    blocxx::SSLOpts options;
    options.certfile = folder.write("own.crt", own.certificatePem()).c_str();
    options.keyfile = folder.write("own.key", own.keyPem()).c_str();
    options.inMemoryTrustStore.push_back(authority.x509.get());
    return blocxx::SSLClientCtxRef(new blocxx::SSLClientCtx(options));
}

std::size_t requestsSeenBy(const zol_test::NginxServer& server, std::size_t expected)
{
    const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    for (;;)
    {
        const std::string log = server.accessLog();
        const auto lines = static_cast<std::size_t>(std::count(log.begin(), log.end(), '\n'));
        if (lines >= expected || std::chrono::steady_clock::now() > limit)
        {
            return lines;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
}

} // namespace exchange_integration
