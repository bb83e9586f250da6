#pragma once

#include "blocxx/Array.hpp"
#include "blocxx/IntrusiveReference.hpp"
#include "blocxx/String.hpp"
#include "zol/Export.hpp"
#include "zol/http/ExchangeConnection.hpp"
#include "zol/http/Headers.hpp"
#include "zol/http/StatusLine.hpp"
#include "zol/mime/Content.hpp"
#include "zol/mime/ContentTypeHeader.hpp"

#include <cstddef>
#include <cstdint>
#include <iosfwd>

namespace ZOLNS2::HTTP
{

class ReceivedBody;

/// The final response of an exchange, whatever its status, with a body that is read as it arrives.
///
/// @code
/// const HTTP::ExchangeResponse response = HTTP::exchange(request);
/// HTTP::MIMEContentIStream body(response.getContent());
/// for (std::string line; std::getline(body, line);)
/// {
///     std::cout << line << '\n';
/// }
/// if (response.bodyEnd() != HTTP::ExchangeResponse::E_COMPLETE)
/// {
///     std::cerr << response.bodyEndText() << '\n';
/// }
/// @endcode
///
/// Copies share the body. Threads: copies may be used on different threads, the body on one at a time.
class ZOL_API ExchangeResponse
{
public:
    /// How the body ended, as far as it has been read.
    enum EBodyEnd
    {
        E_OPEN,      ///< its end has not been reported to a reader
        E_COMPLETE,  ///< all of it arrived
        E_CUT,       ///< the connection or the compressed data ended before it
        E_TIMED_OUT, ///< nothing arrived for as long as was allowed
        E_DEADLINE,  ///< the time for the whole exchange was up
        E_CANCELLED, ///< the exchange was cancelled
        E_RESET,     ///< the peer reset the connection
        E_MALFORMED, ///< framing or compressed data that cannot be right
        E_TOO_LARGE, ///< more than the limit
        E_FAILED     ///< another error of the connection
    };

    /// What readAll() takes unless told otherwise: 64 MiB.
    static constexpr std::size_t READ_ALL_LIMIT = std::size_t{64} * 1024 * 1024;

    /// What an exchange knows of a response before its body. For the library itself; the members below give its parts.
    struct Head
    {
        /// As getStatusLine().
        StatusLine statusLine;
        /// As getHeaders().
        Headers headers;
        /// As getContentType().
        MIME::ContentTypeHeader contentType;
        /// As getUrl().
        blocxx::String url;
        /// As redirectNote().
        blocxx::String redirectNote;
    };

    /// Made by exchange(). @param body not null
    ExchangeResponse(const Head& head, const blocxx::IntrusiveReference<ReceivedBody>& body,
                     const ExchangeConnection& connection);
    /// Made by exchange(). @param body not null
    ExchangeResponse(StatusLine statusLine, const Headers& headers, const MIME::ContentTypeHeader& contentType,
                     blocxx::String url, const blocxx::String& redirectNote,
                     const blocxx::IntrusiveReference<ReceivedBody>& body, const ExchangeConnection& connection);
    ExchangeResponse(const ExchangeResponse&);
    ExchangeResponse& operator=(const ExchangeResponse&);
    ~ExchangeResponse();

    /// Version, status code and reason phrase.
    const StatusLine& getStatusLine() const { return m_head.statusLine; }

    /// The status code.
    unsigned short getStatus() const { return m_head.statusLine.statusCode; }

    /// Whether the status is one of 200 to 299.
    bool isSuccess() const { return getStatus() / 100 == 2; }

    /// All fields as they were received: in their order and case, repeated ones apart, Content-Type among them. A value
    /// that was folded over several lines is joined with a blank each.
    const Headers& getHeaders() const { return m_head.headers; }

    /// The type of the body, the names of its parameters in lower case; application/octet-stream where the server named
    /// none or one that cannot be read (RFC 9110, section 8.3).
    const MIME::ContentTypeHeader& getContentType() const { return m_head.contentType; }

    /// Whether the body is for a MIME::MultipartReader.
    bool isMultipart() const { return m_head.contentType.getType().equalsIgnoreCase("multipart"); }

    /// The URL that was asked last, which is the last redirect's target.
    const blocxx::String& getUrl() const { return m_head.url; }

    /// Why this redirect was not followed; empty if following was not asked for, or the response is not a redirect.
    const blocxx::String& redirectNote() const { return m_head.redirectNote; }

    /// The body, to be read once. It is framed exactly: its reader cannot run into a later response. Never null.
    MIME::ContentRef getContent() const;

    /// How the body ended; E_OPEN until its end has been reported to a reader.
    EBodyEnd bodyEnd() const;

    /// How the body ended in words, with the system's, OpenSSL's or zlib's reason, the address or the limit. Empty while
    /// it is open and when it is complete.
    blocxx::String bodyEndText() const;

    /// Reads the whole body.
    /// @throws ExchangeException  phase E_BODY: it is not complete, or larger than `limit` bytes
    /// @throws MIME::ContentException  its reading has been begun already
    blocxx::Array<char> readAll(std::size_t limit = READ_ALL_LIMIT) const;

    /// Writes the whole body to `out` as it arrives. Stops where `out` fails, which its state says.
    /// @throws ExchangeException  phase E_BODY: the body is not complete; what arrived has been written
    /// @throws MIME::ContentException  its reading has been begun already
    void writeTo(std::ostream& out) const;

    /// The connection that the response came over.
    const ExchangeConnection& getConnection() const { return m_connection; }

    /// As ExchangeConnection::reusable().
    bool reusable() const { return m_connection.reusable(); }

private:
    Head m_head;
    blocxx::IntrusiveReference<ReceivedBody> m_body;
    ExchangeConnection m_connection;
};

} // namespace ZOLNS2::HTTP
