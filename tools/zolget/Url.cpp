#include "Url.hpp"

#include "ExitStatus.hpp"
#include "Text.hpp"

#include <arpa/inet.h>

#include <algorithm>
#include <charconv>
#include <string_view>

namespace zolget
{

namespace
{

constexpr std::uint16_t HTTP_PORT = 80;
constexpr std::uint16_t HTTPS_PORT = 443;

[[noreturn]] void refuse(std::string_view url, const std::string& reason)
{
    throw Failure(ExitStatus::USAGE, "cannot use the URL " + printable(url) + ": " + reason);
}

bool startsWith(std::string_view text, std::string_view prefix)
{
    return equalsIgnoringCase(text.substr(0, prefix.size()), prefix);
}

bool isIPv6Address(const std::string& text)
{
    in6_addr address{};
    return ::inet_pton(AF_INET6, text.c_str(), &address) == 1;
}

/// Removes the scheme from `rest`. @return whether it is https
bool takeScheme(std::string_view& rest, std::string_view url)
{
    for (const auto& [prefix, isSecure] : {std::pair<std::string_view, bool>("http://", false), {"https://", true}})
    {
        if (startsWith(rest, prefix))
        {
            rest.remove_prefix(prefix.size());
            return isSecure;
        }
    }
    refuse(url, "it must begin with http:// or https://");
}

/// Removes and returns the host; what is left of `authority` is empty or begins with the colon before the port.
std::string takeHost(std::string_view& authority, std::string_view url)
{
    if (startsWith(authority, "["))
    {
        const std::size_t end = authority.find(']');
        std::string host(authority.substr(1, end == std::string_view::npos ? end : end - 1));
        if (end == std::string_view::npos || !isIPv6Address(host))
        {
            refuse(url, "there is no IPv6 address between the brackets");
        }
        authority.remove_prefix(end + 1);
        return host;
    }
    std::string host(authority.substr(0, authority.find(':')));
    authority.remove_prefix(host.size());
    if (host.empty())
    {
        refuse(url, "it names no host");
    }
    return host;
}

std::uint16_t parsePort(std::string_view afterHost, std::uint16_t byDefault, std::string_view url)
{
    // A colon without a number means the default (RFC 3986, section 3.2.3).
    if (afterHost.empty() || afterHost == ":")
    {
        return byDefault;
    }
    std::uint16_t port = 0;
    const char* const end = afterHost.data() + afterHost.size();
    const auto [stop, error] = std::from_chars(afterHost.data() + 1, end, port);
    if (afterHost.front() != ':' || error != std::errc() || stop != end || port == 0)
    {
        refuse(url,
               "the host must be followed by a port from 1 to 65535 or by nothing; an IPv6 address needs brackets");
    }
    return port;
}

} // namespace

std::string Url::authority() const
{
    const std::string name = host.find(':') == std::string::npos ? host : "[" + host + "]";
    return port == (isSecure ? HTTPS_PORT : HTTP_PORT) ? name : name + ":" + std::to_string(port);
}

// http-URI  = "http"  "://" authority path-abempty [ "?" query ]   (RFC 9110, section 4.2.1)
// https-URI = "https" "://" authority path-abempty [ "?" query ]   (RFC 9110, section 4.2.2)
// authority = [ userinfo "@" ] host [ ":" port ]                   (RFC 3986, section 3.2)
// host      = "[" IPv6address "]" / IPv4address / reg-name
Url parseUrl(const std::string& text)
{
    if (std::any_of(text.begin(), text.end(), [](char c) { return c == ' ' || isControl(c); }))
    {
        refuse(text, "it contains white space or control characters; write them in percent-encoding, such as %20");
    }
    Url url;
    std::string_view rest = std::string_view(text).substr(0, text.find('#'));
    url.isSecure = takeScheme(rest, text);
    std::string_view authority = rest.substr(0, rest.find_first_of("/?"));
    rest.remove_prefix(authority.size());
    if (authority.find('@') != std::string_view::npos)
    {
        refuse("that was given", "user names and passwords in URLs are not supported; "
                                 "send credentials with -H 'Authorization: ...'");
    }
    url.host = takeHost(authority, text);
    url.port = parsePort(authority, url.isSecure ? HTTPS_PORT : HTTP_PORT, text);
    url.target = startsWith(rest, "/") ? std::string(rest) : "/" + std::string(rest);
    return url;
}

} // namespace zolget
