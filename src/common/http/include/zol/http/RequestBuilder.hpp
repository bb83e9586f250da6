#pragma once

#include "blocxx/String.hpp"
#include "zol/Export.hpp"
#include "zol/http/Headers.hpp"
#include "zol/http/Request.hpp"
#include "zol/http/Url.hpp"
#include "zol/http/Version.hpp"
#include "zol/mime/Content.hpp"

#include <optional>
#include <utility>

namespace ZOLNS2::HTTP
{

/// Makes a complete Request, or says why what it was given makes none.
///
/// @code
/// const MIME::ContentRef body(new MIME::TypedContent("{\"answer\": 42}", "application/json"));
/// const HTTP::Request request = HTTP::RequestBuilder("POST", HTTP::Url("https://www.example.com/answers"))
///                                   .header("Accept", "application/json")
///                                   .content(body)
///                                   .build();
/// @endcode
///
/// These headers are added, unless one of that name is given:
///
/// - Host, from the URL
/// - Connection: "close", or "keep-alive" if that was asked for
/// - Content-Type, from the content
/// - Content-Length: the content's, "0" for an empty one, and "0" for POST, PUT and PATCH without content
/// - Transfer-Encoding: "chunked" for a content that does not know its length, which is then sent as a ChunkedContent
/// - Authorization, if basicAuthentication() was called
///
/// What is given wins, as long as it does not contradict the content: a Content-Length must be right (it makes a content
/// without length one with this length), "Transfer-Encoding: chunked" sends any content in chunks, and a Content-Type
/// must name the content's boundary and no other charset. A header that is given twice is sent twice, but Host,
/// Authorization and the three of the content may be given once only.
///
/// An object is used by one thread at a time; it may be copied, and build() may be called more than once.
class ZOL_API RequestBuilder
{
public:
    /// @param method as it goes onto the wire: "GET"; checked by build()
    /// @param url    where the request goes, and its target
    RequestBuilder(const blocxx::String& method, const Url& url);

    /// Adds a header, behind those that were given before.
    RequestBuilder& header(const blocxx::String& name, const blocxx::String& value);

    /// @param body shared with the request; null for none
    RequestBuilder& content(const MIME::ContentRef& body);

    /// For https; an http URL leaves it aside. Without one, build() takes one that verifies the server by the system's
    /// certificates; all requests of the process share it.
    RequestBuilder& sslContext(const Request::SSLContextRef& context);

    /// Adds Authorization (RFC 7617). The password can be read by everybody on the way unless the URL is https.
    /// @param user without a colon
    RequestBuilder& basicAuthentication(const blocxx::String& user, const blocxx::String& password);

    /// HTTP/1.1 unless set.
    RequestBuilder& version(Version version);

    /// Whether the server is asked to keep the connection open for a next request. False unless set; getPage() needs
    /// false to see where a body without length ends.
    RequestBuilder& keepAlive(bool wanted);

    /// An empty content is left out of the request: its headers say all.
    /// @throws ExchangeException (E_URL, E_MALFORMED) if the method is not a token or is CONNECT; if it is TRACE and
    ///         there is a content; if the name of a header is not a token or a value holds CR, LF, NUL or another control
    ///         character but tab; if headers contradict one another or the content; if a content without length is to be
    ///         sent with HTTP/1.0; if a user name holds a colon, or a user name or password control characters
    /// @throws ExchangeException (E_TLS) if the TLS context cannot be made
    /// @throws what the content throws when it is asked for its type or length
    Request build() const;

private:
    struct Framing;

    Headers headersFor(const Framing& framing) const;
    blocxx::String authorization() const;
    Framing framing() const;
    bool isGiven(const char* name) const;

    blocxx::String m_method;
    Url m_url;
    Headers m_headers;
    MIME::ContentRef m_content;
    Request::SSLContextRef m_sslContext;
    Version m_version = HTTP_1_1;
    bool m_keepAlive = false;
    std::optional<std::pair<blocxx::String, blocxx::String>> m_credentials; ///< user and password
};

} // namespace ZOLNS2::HTTP
