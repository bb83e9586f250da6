#pragma once

#include "blocxx/Array.hpp"
#include "blocxx/String.hpp"
#include "blocxx/StringBuffer.hpp"
#include "openwbem/OW_HTTPUtils.hpp"
#include "zol/Export.hpp"
#include "zol/http/HTTPConnection.hpp"
#include "zol/http/Headers.hpp"
#include "zol/http/Parameter.hpp"
#include "zol/http/StatusLine.hpp"
#include "zol/mime/Content.hpp"
#include "zol/mime/ContentTypeHeader.hpp"

#include <cstdint>
#include <iosfwd>

namespace ZOLNS2::HTTP
{

/// A server's response: status line, headers, and the body as contents (one for a single-part body, one per part of a
/// multipart body).
///
/// @code
/// while (const MIME::ContentRef part = response.getNextPart())
/// {
///     HTTP::MIMEContentIStream body(part);
///     std::cout << body.rdbuf();
/// }
/// if (!response.bodyIsComplete())
/// {
///     std::cerr << "the body was cut\n";
/// }
/// @endcode
///
/// A response is filled once, by getResponse or operator>>, and then only read. Copies are cheap and share the content
/// objects. A single-part body that was received over a connection has not been read yet: its content holds the
/// connection open, can be read once, and reads from the connection as it is pulled.
///
/// Threads: copies may be used on different threads, one object on one thread at a time.
class ZOL_API Response
{
public:
    /// An empty response of type application/octet-stream.
    Response();

    /// The content at `currentPart`, which then advances; a null reference after the last one.
    MIME::ContentRef getNextPart();

    /// As many zero bytes as the buffer has characters and one more, followed by those characters.
    blocxx::Array<char> convertToByteArray(const blocxx::StringBuffer& buffer);

    /// Reads the head of a response from the input of `conn`; see the stream variant.
    void checkStatus(HTTPConnection& conn);

    /// Reads status line and headers (RFC 9112, sections 4 and 5) and leaves the stream at the first byte of the body.
    /// Returns for a status of 200 to 299.
    /// @throws HTTPException  the head could not be read or parsed, error code -1; any other status, with the status as
    ///                        error code and the whole head stored
    void checkStatus(std::istream& istr);

    /// Stores a head that has been split up: the words of its first line and the header lines. The content-type header
    /// goes to `contentType`, all others to `headers`, in the order of their names.
    /// @throws HTTPException  no words; a version other than HTTP/1.0 and HTTP/1.1; a code that is not a 16-bit number
    void convertToNewHeaderFormat(blocxx::Array<blocxx::String> statusLines, const OpenWBEM::HTTPHeaderMap& headerMap);

    /// Turns the body after a head read from `conn` into contents. A single-part body is left on the connection for
    /// its content to read; a multipart body is read to the end of the connection, without transfer decoding.
    /// @throws blocxx::StringConversionException  a content-length header that is not a decimal number
    /// @throws MIME::ContentException             a multipart type without a boundary
    void parseResponseData(HTTPConnection& conn);

    /// Reads the whole rest of `istr` into memory as the body and turns it into contents: text, octet streams, or the
    /// parts of a multipart body. A body of another type is logged as an error and dropped.
    /// @throws MIME::ContentException  a multipart type without a boundary
    void parseResponseData(std::istream& istr);

    /// Whether the whole body has arrived: the input came to an orderly end, neither a cut nor an error, and a
    /// multipart body had its closing boundary before that end. For a body that its content reads from a
    /// connection this is false until it has been read to the end, and then what the content's decoder says. Announced
    /// lengths are ignored, and parts that were dropped for their type do not count as missing.
    bool bodyIsComplete() const;

    /// Whether the request was sent whole. False where a write failed in the middle of it and the server sent a
    /// response all the same, as one may that refuses a large body early. True for a response that was not read from a
    /// connection.
    bool requestIsComplete() const { return m_requestIsComplete; }

    blocxx::String reserved1;            ///< not used by the library
    blocxx::String reserved2;            ///< not used by the library
    MIME::Contents contents;             ///< the body, in the order its parts arrived
    StatusLine statusLine;               ///< version and code are unset until a head has been read
    Headers headers;                     ///< all headers but content-type, in the order of their names
    blocxx::Array<Parameter> reserved3;  ///< not used by the library
    MIME::ContentTypeHeader contentType; ///< type of the body; application/octet-stream where the server named none
    std::uint64_t currentPart;           ///< index of the content that getNextPart returns next

private:
    friend Response getResponse(HTTPConnection& conn);

    struct WithoutType
    {
    };
    explicit Response(WithoutType) : currentPart(0), m_hasDefaultType(false) {}
    void setDefaultType();

    bool m_hasDefaultType = true; // unless it has still to be set
    bool m_readToItsEnd = false;  // of a body that was read into memory
    bool m_requestIsComplete = true;
};

/// Reads a response from the input of a connection on which a request has been sent. Every blocxx exception is logged
/// and passed on unchanged.
/// @throws what Response::checkStatus and Response::parseResponseData throw
ZOL_API Response getResponse(HTTPConnection& conn);

/// Reads a whole response, body included, from any stream. Every blocxx exception is logged and passed on unchanged;
/// `response` then holds what had been read. Meant for a fresh response: one that was filled before gets further
/// headers and contents after those it has.
/// @throws what Response::checkStatus and Response::parseResponseData throw
ZOL_API std::istream& operator>>(std::istream& istr, Response& response);

} // namespace ZOLNS2::HTTP
