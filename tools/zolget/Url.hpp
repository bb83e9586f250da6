#pragma once

#include <cstdint>
#include <string>

namespace zolget
{

/// The parts of an http or https URL that a request needs.
struct Url
{
    bool isSecure = false;
    std::string host; ///< name or address; an IPv6 address without its brackets
    std::uint16_t port = 0;
    std::string target; ///< path and query as they stand in the URL; "/" when there is no path

    /// Host and port for people and for the Host header: brackets around an IPv6 address, the port only when it is not
    /// the default of the scheme.
    std::string authority() const;
};

/// Parses a URL (RFC 3986). The fragment is dropped; everything else stays as written. Throws Failure (USAGE) for
/// anything but an http or https URL, for user information, and for white space and control characters, which would end
/// the request line early.
Url parseUrl(const std::string& text);

} // namespace zolget
