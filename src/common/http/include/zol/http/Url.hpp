#pragma once

#include "blocxx/String.hpp"
#include "blocxx/Types.hpp"
#include "zol/Export.hpp"

#include <cstddef>

namespace ZOLNS2::HTTP
{

/// An http or https URL (RFC 3986; RFC 9110, section 4.2), checked and in the form in which a request uses it.
///
/// @code
/// const HTTP::Url page("https://www.example.com/manual/index.html?lang=en#top");
/// const HTTP::Url image = page.resolve("../images/logo.png"); // https://www.example.com/images/logo.png
/// @endcode
///
/// - Scheme and host are written in lower case, an IPv6 address in its shortest form; the fragment is dropped. A missing
///   port is that of the scheme, a missing path is "/".
/// - In path and query a percent-encoded byte stays as it is, a "%" of any other kind becomes "%25", and blanks, bytes
///   beyond ASCII and the other characters that a URL may not have are percent-encoded.
/// - Refused are other schemes, user information ("user:password@"), control characters, and hosts that are not an
///   address or a name in plain ASCII: an international name is given in its "xn--" form.
///
/// Dot segments of the text given to the constructor stay; resolve() removes them.
///
/// Never changed after construction; threads may share one.
class ZOL_API Url
{
public:
    /// @throws ExchangeException (E_URL, E_MALFORMED) for what is not such a URL; the message says why, and shows no
    ///         password
    explicit Url(const blocxx::String& text);

    /// The URL that `reference`, absolute or relative, means in a document that has this one (RFC 3986, section 5,
    /// without the exception for old relative references such as "http:page").
    /// @throws ExchangeException as the constructor
    Url resolve(const blocxx::String& reference) const;

    /// "http" or "https"
    blocxx::String scheme() const { return m_isSecure ? "https" : "http"; }
    /// Whether the scheme is "https".
    bool isSecure() const { return m_isSecure; }

    /// The name or address, without brackets around an IPv6 address.
    const blocxx::String& host() const { return m_host; }

    /// 1 to 65535
    blocxx::UInt16 port() const { return m_port; }

    /// Path and query, as they follow the method in a request: begins with "/".
    const blocxx::String& target() const { return m_target; }

    /// Host and port, always with the port, for the server of a RequestLine: "example.com:80", "[::1]:8080".
    blocxx::String hostAndPort() const;

    /// As hostAndPort(), without the port if it is the scheme's: the value of Host.
    blocxx::String authority() const;

    /// Scheme, host and port: "https://example.com:8443", without the port if it is the scheme's.
    blocxx::String origin() const;

    /// The whole URL.
    blocxx::String toString() const;

    /// Whether scheme, host and port are the same.
    bool sameOrigin(const Url& other) const;

private:
    friend class PlainUrl;

    Url(bool isSecure, const char* host, std::size_t hostLength, blocxx::UInt16 port, const char* target,
        std::size_t targetLength);

    bool m_isSecure;
    blocxx::String m_host;
    blocxx::UInt16 m_port;
    blocxx::String m_target;
};

} // namespace ZOLNS2::HTTP
