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

bool isSecret(std::string_view name)
{
    static constexpr std::initializer_list<const char*> SECRETS = {"Authorization", "Proxy-Authorization", "Cookie",
                                                                   "Set-Cookie", "Authentication-Info"};
    const blocxx::String text(name.data(), name.size());
    return std::any_of(SECRETS.begin(), SECRETS.end(),
                       [&text](const char* secret) { return text.equalsIgnoreCase(secret); });
}

} // namespace

void Trace::connected(const http::ExchangeConnection& connection)
{
    const blocxx::SocketAddress peer = connection.getPeerAddress();
    showLine(FACT, "connected to " + toStdString(peer.toString()));
    if (const std::optional<blocxx::TlsFacts> tls = connection.getTlsFacts())
    {
        showLine(FACT, toStdString(tls->version) + ", " + toStdString(tls->cipher));
        showLine(FACT, "certificate of " + toStdString(tls->subject) + ", issued by " + toStdString(tls->issuer) +
                           ", valid until " + toStdString(tls->notAfter));
    }
    m_out << std::flush;
}

void Trace::sending(const blocxx::String& head)
{
    constexpr std::string_view LINE_END = "\r\n";
    std::string_view rest = viewOf(head);
    bool isFirst = true;
    while (!rest.empty() && rest != LINE_END)
    {
        const std::string_view line = rest.substr(0, rest.find(LINE_END));
        rest.remove_prefix(std::min(line.size() + LINE_END.size(), rest.size()));
        const std::size_t colon = line.find(": ");
        if (isFirst || colon == std::string_view::npos)
        {
            showLine(SENT, line);
        }
        else
        {
            showField(SENT, line.substr(0, colon), line.substr(colon + 2));
        }
        isFirst = false;
    }
    m_out << std::flush;
}

void Trace::received(const http::StatusLine& statusLine, const http::Headers& headers)
{
    showLine(RECEIVED, viewOf(statusLine.toString()));
    for (const http::Header& header : headers)
    {
        showField(RECEIVED, viewOf(header.name), viewOf(header.value));
    }
    m_out << std::flush;
}

void Trace::showLine(const char* mark, std::string_view text)
{
    m_out << mark << printable(text) << '\n';
}

void Trace::showField(const char* mark, std::string_view name, std::string_view value)
{
    showLine(mark, std::string(name).append(": ").append(isSecret(name) ? "***" : value));
}

} // namespace zolget
