#include "Trace.hpp"

#include "StringView.hpp"
#include "TerminalText.hpp"

#include "blocxx/TlsFacts.hpp"

#include <algorithm>
#include <initializer_list>
#include <optional>
#include <string>

namespace zolget
{

namespace http = ZOLNS2::HTTP;

namespace
{

constexpr const char* SENT = "> ";
constexpr const char* RECEIVED = "< ";
constexpr const char* FACT = "- ";

bool isSecret(const blocxx::String& name)
{
    static constexpr std::initializer_list<const char*> SECRETS = {"Authorization", "Proxy-Authorization", "Cookie",
                                                                   "Set-Cookie", "Authentication-Info"};
    return std::any_of(SECRETS.begin(), SECRETS.end(),
                       [&name](const char* secret) { return name.equalsIgnoreCase(secret); });
}

std::string requestLineOf(const http::Request& request)
{
    const http::RequestLine& line = request.getRequestLine();
    return toStdString(line.method) + ' ' + toStdString(line.requestURI) +
           (line.version == http::HTTP_1_0 ? " HTTP/1.0" : " HTTP/1.1");
}

} // namespace

void Trace::showRequest(const http::Url& url, const http::Request& request)
{
    if (m_isOn)
    {
        showLine(FACT, "request to " + toStdString(url.origin()));
        showLine(SENT, requestLineOf(request));
        showHeaders(SENT, request.getHeaders());
        m_out << std::flush;
    }
}

void Trace::showResponse(const http::Url& url, const http::ExchangeResponse& response)
{
    if (m_isOn)
    {
        if (response.getUrl() != url.toString())
        {
            showLine(FACT, "redirected to " + toStdString(response.getUrl()));
        }
        showConnection(response.getConnection());
        showLine(RECEIVED, viewOf(response.getStatusLine().toString()));
        showHeaders(RECEIVED, response.getHeaders());
        m_out << std::flush;
    }
}

void Trace::showLine(const char* mark, std::string_view text)
{
    m_out << mark << printable(text) << '\n';
}

void Trace::showHeaders(const char* mark, const http::Headers& headers)
{
    for (const http::Header& header : headers)
    {
        const std::string value = isSecret(header.name) ? "***" : toStdString(header.value);
        showLine(mark, toStdString(header.name) + ": " + value);
    }
}

void Trace::showConnection(const http::ExchangeConnection& connection)
{
    const blocxx::SocketAddress peer = connection.getPeerAddress();
    showLine(FACT, "connected to " + toStdString(peer.toString()));
    if (const std::optional<blocxx::TlsFacts> tls = connection.getTlsFacts())
    {
        showLine(FACT, toStdString(tls->version) + ", " + toStdString(tls->cipher));
        showLine(FACT, "certificate of " + toStdString(tls->subject) + ", issued by " + toStdString(tls->issuer) +
                           ", valid until " + toStdString(tls->notAfter));
    }
}

} // namespace zolget
