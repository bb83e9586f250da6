#include "zol/http/Url.hpp"

#include "exchange/Characters.hpp"
#include "exchange/PlainUrl.hpp"
#include "exchange/Refusal.hpp"
#include "exchange/Text.hpp"

#include <arpa/inet.h>

#include <algorithm>
#include <charconv>
#include <cstring>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace ZOLNS2::HTTP
{

namespace
{

constexpr blocxx::UInt16 HTTP_PORT = 80;
constexpr blocxx::UInt16 HTTPS_PORT = 443;
constexpr auto npos = std::string_view::npos;

constexpr bool isAlpha(char c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

constexpr bool isDigit(char c)
{
    return c >= '0' && c <= '9';
}

constexpr bool isHexDigit(char c)
{
    return isDigit(c) || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
}

// unreserved = ALPHA / DIGIT / "-" / "." / "_" / "~"   (RFC 3986, section 2.3)
// sub-delims = "!" / "$" / "&" / "'" / "(" / ")" / "*" / "+" / "," / ";" / "="   (section 2.2)
bool isUnreservedOrSubDelim(char c)
{
    return isOf(E_UNRESERVED_SUB_DELIMS, c);
}

/// What a message shows: nothing that may be a password.
blocxx::String shown(std::string_view url)
{
    const std::size_t at = url.rfind('@');
    if (at == npos)
    {
        return printable(url);
    }
    const std::size_t slashes = url.find("//");
    const std::size_t begin = slashes == npos || slashes > at ? 0 : slashes + 2;
    return printable(url.substr(0, begin)) + "***" + printable(url.substr(at));
}

[[noreturn]] void refuse(std::string_view url, const char* reason)
{
    refuseRequest("Cannot use the URL \"" + shown(url) + "\": " + reason);
}

void refuseControls(std::string_view url)
{
    if (std::any_of(url.begin(), url.end(), isControl))
    {
        refuse(url, "it contains control characters");
    }
}

/// The components of a URI reference without its fragment (RFC 3986, section 5.2.1). What is not there differs from what
/// is empty.
struct Reference
{
    std::optional<std::string_view> scheme;
    std::optional<std::string_view> authority;
    std::string_view path;
    std::optional<std::string_view> query;
};

// scheme = ALPHA *( ALPHA / DIGIT / "+" / "-" / "." )   (RFC 3986, section 3.1)
bool isScheme(std::string_view text)
{
    return !text.empty() && isAlpha(text.front()) &&
           std::all_of(text.begin(), text.end(),
                       [](char c) { return isAlpha(c) || isDigit(c) || c == '+' || c == '-' || c == '.'; });
}

// URI-reference = [ scheme ":" ] [ "//" authority ] path [ "?" query ] [ "#" fragment ]   (RFC 3986, section 4.1)
Reference split(std::string_view text)
{
    Reference reference;
    text = text.substr(0, text.find('#'));
    const std::size_t colon = text.find_first_of(":/?");
    if (colon != npos && text[colon] == ':' && isScheme(text.substr(0, colon)))
    {
        reference.scheme = text.substr(0, colon);
        text.remove_prefix(colon + 1);
    }
    if (text.substr(0, 2) == "//")
    {
        text.remove_prefix(2);
        reference.authority = text.substr(0, text.find_first_of("/?"));
        text.remove_prefix(reference.authority->size());
    }
    const std::size_t mark = text.find('?');
    reference.path = text.substr(0, mark);
    if (mark != npos)
    {
        reference.query = text.substr(mark + 1);
    }
    return reference;
}

bool isHttps(const Reference& reference, std::string_view url)
{
    if (!reference.scheme)
    {
        refuse(url, "it does not begin with http:// or https://");
    }
    const bool isHttps = equalsIgnoringCase(*reference.scheme, "https");
    if (!isHttps && !equalsIgnoringCase(*reference.scheme, "http"))
    {
        refuse(url, "its scheme is neither http nor https");
    }
    return isHttps;
}

/// IP-literal = "[" IPv6address "]" (RFC 3986, section 3.2.2), without a zone; what follows it is left in `authority`.
blocxx::String takeIPv6Address(std::string_view& authority, std::string_view url)
{
    const std::size_t end = authority.find(']');
    const std::string text(authority.substr(1, end == npos ? npos : end - 1));
    in6_addr address{};
    char shortest[INET6_ADDRSTRLEN] = "";
    if (end == npos || ::inet_pton(AF_INET6, text.c_str(), &address) != 1 ||
        ::inet_ntop(AF_INET6, &address, shortest, sizeof(shortest)) == nullptr)
    {
        refuse(url, "there is no IPv6 address between brackets");
    }
    authority.remove_prefix(end + 1);
    return {shortest};
}

/// host = IP-literal / IPv4address / reg-name (RFC 3986, section 3.2.2), a name without percent-encoding; what follows it
/// is left in `authority`.
blocxx::String takeHost(std::string_view& authority, std::string_view url)
{
    if (authority.substr(0, 1) == "[")
    {
        return takeIPv6Address(authority, url);
    }
    const std::string_view host = authority.substr(0, authority.find(':'));
    if (host.empty())
    {
        refuse(url, "it names no host (an IPv6 address needs brackets)");
    }
    if (!std::all_of(host.begin(), host.end(), isUnreservedOrSubDelim))
    {
        refuse(url, "its host is not a name of plain ASCII letters, digits, dots and hyphens (an international name is "
                    "written as \"xn--...\")");
    }
    authority.remove_prefix(host.size());
    return toString(host).toLowerCase();
}

/// port = *DIGIT (RFC 3986, section 3.2.3); an empty one is that of the scheme.
blocxx::UInt16 parsePort(std::string_view afterHost, blocxx::UInt16 byDefault, std::string_view url)
{
    if (afterHost.empty() || afterHost == ":")
    {
        return byDefault;
    }
    blocxx::UInt16 port = 0;
    const char* const end = afterHost.data() + afterHost.size();
    const auto [stop, error] = std::from_chars(afterHost.data() + 1, end, port);
    if (afterHost.front() != ':' || error != std::errc() || stop != end || port == 0)
    {
        refuse(url,
               "behind its host stands neither a port from 1 to 65535 nor the path (an IPv6 address needs brackets)");
    }
    return port;
}

/// Appends a path or a query, its bytes percent-encoded where they have to be (RFC 3986, section 2.1):
///
///     path  = *( "/" / pchar )   query = *( pchar / "/" / "?" )
///     pchar = unreserved / pct-encoded / sub-delims / ":" / "@"
void appendEncoded(std::string& target, std::string_view text)
{
    const char* const digits = "0123456789ABCDEF";
    for (std::size_t i = 0; i < text.size(); ++i)
    {
        const char c = text[i];
        const bool isEncoded = c == '%' && i + 2 < text.size() && isHexDigit(text[i + 1]) && isHexDigit(text[i + 2]);
        if (isEncoded || isUnreservedOrSubDelim(c) || c == '/' || c == '?' || c == ':' || c == '@')
        {
            target += c;
        }
        else
        {
            const auto byte = static_cast<unsigned char>(c);
            target += {'%', digits[byte / 16], digits[byte % 16]};
        }
    }
}

/// remove_dot_segments (RFC 3986, section 5.2.4) of a path that is empty or begins with "/".
std::string withoutDotSegments(std::string_view path)
{
    std::string result;
    while (!path.empty())
    {
        const std::string_view segment = path.substr(0, path.find('/', 1));
        path.remove_prefix(segment.size());
        if (segment == "/..")
        {
            result.resize(result.empty() ? 0 : result.rfind('/'));
        }
        else if (segment != "/.")
        {
            result += segment;
            continue;
        }
        if (path.empty())
        {
            result += '/';
        }
    }
    return result;
}

void appendQuery(std::string& url, const std::optional<std::string_view>& query)
{
    if (query)
    {
        url.append("?").append(*query);
    }
}

} // namespace

Url::Url(const blocxx::String& text) : m_isSecure(false), m_port(0)
{
    const std::string_view url = viewOf(text);
    refuseControls(url);
    const Reference parts = split(url);
    m_isSecure = isHttps(parts, url);
    std::string_view authority = parts.authority.value_or(std::string_view());
    if (authority.find('@') != npos)
    {
        refuse(url, "user names and passwords in URLs are not supported (a request has fields for them)");
    }
    m_host = takeHost(authority, url);
    m_port = parsePort(authority, m_isSecure ? HTTPS_PORT : HTTP_PORT, url);
    std::string target;
    appendEncoded(target, parts.path.empty() ? "/" : parts.path);
    if (parts.query)
    {
        target += '?';
        appendEncoded(target, *parts.query);
    }
    m_target = blocxx::String(std::move(target));
}

// RFC 3986, section 5.2.2
Url Url::resolve(const blocxx::String& reference) const
{
    refuseControls(viewOf(reference));
    const Reference given = split(viewOf(reference));
    // Not split(): a target may begin with two slashes, behind which no authority stands.
    const std::string_view basePath = viewOf(m_target).substr(0, viewOf(m_target).find('?'));
    if (given.scheme && !given.authority)
    {
        return Url(reference);
    }
    const blocxx::String ownScheme = scheme();
    const blocxx::String ownAuthority = authority();
    std::string url(given.scheme.value_or(viewOf(ownScheme)));
    url.append("://").append(given.authority.value_or(viewOf(ownAuthority)));
    if (!given.authority && given.path.empty())
    {
        url += given.query ? basePath : viewOf(m_target);
        appendQuery(url, given.query);
        return Url(url);
    }
    const bool isWhole = given.authority || given.path.front() == '/';
    const std::string_view folder = isWhole ? std::string_view() : basePath.substr(0, basePath.rfind('/') + 1);
    url += withoutDotSegments(std::string(folder).append(given.path));
    appendQuery(url, given.query);
    return Url(url);
}

Url::Url(bool isSecure, const char* host, std::size_t hostLength, blocxx::UInt16 port, const char* target,
         std::size_t targetLength)
    : m_isSecure(isSecure), m_host(host, hostLength), m_port(port), m_target(target, targetLength)
{
}

PlainUrl::PlainUrl(bool isSecure, std::string_view server, std::string_view target)
    : m_isSecure(isSecure), m_host(server.substr(0, spanOf(E_PLAIN_HOST, server))),
      m_port(isSecure ? HTTPS_PORT : HTTP_PORT), m_target(target)
{
    if (m_host.size() < server.size())
    {
        const char* const end = server.data() + server.size();
        const auto [stop, error] = std::from_chars(server.data() + m_host.size() + 1, end, m_port);
        if (server[m_host.size()] != ':' || error != std::errc() || stop != end || m_port == 0)
        {
            return;
        }
    }
    m_isPlain = !m_host.empty() && target.substr(0, 1) == "/" && allOf(E_PATH_AND_QUERY, target);
}

Url PlainUrl::url() const
{
    return Url(m_isSecure, m_host.data(), m_host.size(), m_port, m_target.data(), m_target.size());
}

namespace
{

/// Gathers the text of a URL; usual ones need no memory beside that of the result.
class UrlText
{
public:
    /// @param size at least that of the text
    explicit UrlText(std::size_t size) : m_large(size > sizeof m_usual ? new char[size] : nullptr)
    {
        m_begin = m_end = m_large ? m_large.get() : m_usual;
    }

    void append(std::string_view text)
    {
        std::memcpy(m_end, text.data(), text.size());
        m_end += text.size();
    }

    void appendHost(const blocxx::String& host)
    {
        const bool isIPv6 = host.indexOf(':') != blocxx::String::npos;
        append(isIPv6 ? "[" : "");
        append(viewOf(host));
        append(isIPv6 ? "]" : "");
    }

    void appendPort(blocxx::UInt16 port)
    {
        *m_end++ = ':';
        m_end = std::to_chars(m_end, m_end + 5, port).ptr;
    }

    blocxx::String string() const { return blocxx::String(m_begin, static_cast<std::size_t>(m_end - m_begin)); }

private:
    char m_usual[256];
    std::unique_ptr<char[]> m_large;
    char* m_begin;
    char* m_end;
};

// What the longest text needs beside its host and its target.
constexpr std::size_t PUNCTUATION_SIZE = 24;

/// @param withScheme, withTarget whether they are part of the text
/// @param withPort   whether the scheme's own port is written as well
blocxx::String textOf(const Url& url, bool withScheme, bool withPort, bool withTarget)
{
    UrlText text(url.host().length() + url.target().length() + PUNCTUATION_SIZE);
    if (withScheme)
    {
        text.append(url.isSecure() ? "https://" : "http://");
    }
    text.appendHost(url.host());
    if (withPort || url.port() != (url.isSecure() ? HTTPS_PORT : HTTP_PORT))
    {
        text.appendPort(url.port());
    }
    if (withTarget)
    {
        text.append(viewOf(url.target()));
    }
    return text.string();
}

} // namespace

blocxx::String Url::hostAndPort() const
{
    return textOf(*this, false, true, false);
}

blocxx::String Url::authority() const
{
    return textOf(*this, false, false, false);
}

blocxx::String Url::origin() const
{
    return textOf(*this, true, false, false);
}

blocxx::String Url::toString() const
{
    return textOf(*this, true, false, true);
}

bool Url::sameOrigin(const Url& other) const
{
    return m_isSecure == other.m_isSecure && m_port == other.m_port && m_host == other.m_host;
}

} // namespace ZOLNS2::HTTP
