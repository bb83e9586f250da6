#pragma once

#include "blocxx/IntrusiveReference.hpp"
#include "blocxx/Reference.hpp"
#include "blocxx/SSLCtxMgr.hpp"
#include "blocxx/String.hpp"
#include "zol/Export.hpp"
#include "zol/http/Headers.hpp"
#include "zol/http/PayloadIStream.hpp"
#include "zol/http/RequestLine.hpp"
#include "zol/mime/Content.hpp"

#include <iosfwd>

namespace ZOLNS2::HTTP
{

/// A counted handle to a stream over a request's body; null if there is no body.
using EntityBodyRef = blocxx::Reference<PayloadIStream>;

/// One HTTP request, never changed after construction. Copies share the body and the TLS context.
///
/// The headers are sent exactly as given and none is added: no Host, Content-Length or Content-Type. The body is sent
/// raw and is not compared with any header.
///
/// @code
/// const MIME::ContentRef body(new MIME::TextPlainContent("hello"));
/// HTTP::Headers headers;
/// headers.addHeader("Host", "example.com");
/// headers.addHeader("Content-Type", toString(body->getContentType()));
/// headers.addHeader("Content-Length", blocxx::String(body->getContentLength()));
/// const HTTP::Request request(HTTP::RequestLine("POST", "/", "example.com", HTTP::HTTP_1_1), headers, body,
///                             blocxx::SSLClientCtxRef());
/// @endcode
class ZOL_API Request
{
public:
    /// The TLS client context of a request; null for plain TCP.
    using SSLContextRef = blocxx::IntrusiveReference<blocxx::SSLClientCtx>;

    /// @param content the body, or null
    /// @param sslContext the TLS client context of the connection, or null for plain TCP
    Request(const RequestLine& line, const Headers& headers, const MIME::ContentRef& content,
            const SSLContextRef& sslContext);
    /// A request without body.
    Request(const RequestLine& line, const Headers& headers, const SSLContextRef& sslContext);

    /// Method, target, version, and the server that it is sent to.
    const RequestLine& getRequestLine() const { return m_requestLine; }
    /// The headers as they are sent.
    const Headers& getHeaders() const { return m_headers; }
    /// The body; null for none.
    const MIME::ContentRef& getContent() const { return m_content; }
    /// The TLS context; null for plain TCP.
    const SSLContextRef& getSSLContext() const { return m_sslContext; }

    /// A new stream over the body from its first byte; null if there is no body.
    /// @throws what the content throws when it is asked for another reading
    EntityBodyRef getEntityBody() const;

private:
    blocxx::String m_reserved1; // Neither is read or written; they hold the object's layout.
    blocxx::String m_reserved2;
    RequestLine m_requestLine;
    Headers m_headers;
    MIME::ContentRef m_content;
    SSLContextRef m_sslContext;
};

/// Writes the request as it goes onto the wire: request line, headers, blank line, and the body, after which `out` is
/// flushed. The body is read until its content reports the end of its data; a read of no bytes in between does not end
/// it. `out` gets failbit for a body that yields no byte at all, and for one that does not come to its end: a content
/// that throws, that ends badly (MIME::ContentEnd), or that has nothing for 64 reads in a row. Where `out` stops taking
/// bytes in the middle of the body, it shows nothing; Response::requestIsComplete() tells.
/// @throws HTTPException if the body's stream is failed from the start; the head has been written then
ZOL_API std::ostream& operator<<(std::ostream& out, const Request& request);

} // namespace ZOLNS2::HTTP
