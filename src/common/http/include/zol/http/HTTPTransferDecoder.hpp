#pragma once

#include "blocxx/IntrusiveCountableBase.hpp"
#include "blocxx/IntrusiveReference.hpp"
#include "openwbem/OW_HTTPChunkedIStream.hpp"
#include "zol/Export.hpp"
#include "zol/http/HTTPConnection.hpp"
#include "zol/http/Headers.hpp"

#include <istream>

namespace ZOLNS2::MIME
{
class UnbufferedContent;
}

namespace ZOLNS2::HTTP
{

/// Turns the input of a connection, from the first byte after a response head, into the bytes of the body.
///
/// A decoder holds its own handle to the connection and so keeps it open for as long as the body may still be read. It
/// is read once, from front to back, by one reader at a time.
///
/// @code
/// HTTP::HTTPTransferDecoderRef body = HTTP::getTransferDecoder(connection, response.headers);
/// std::cout << body->istream().rdbuf();
/// if (!body->bodyIsComplete())
/// {
///     std::cerr << "the body was cut\n";
/// }
/// @endcode
class ZOL_API HTTPTransferDecoder : public blocxx::IntrusiveCountableBase
{
public:
    /// Reads nothing. @param connection shared by the decoder
    explicit HTTPTransferDecoder(HTTPConnection connection);
    ~HTTPTransferDecoder() override;

    /// The stream of body bytes; it belongs to the decoder.
    virtual std::istream& getInputStream() = 0;

    /// The connection that the body is read from.
    HTTPConnection& getConnection() { return m_connection; }

    /// The stream of body bytes, as getInputStream gives it.
    std::istream& istream() { return getInputStream(); }

    /// Whether the body has been read to an orderly end: the end of the connection, or the last chunk. False while
    /// there may be more to come, after a read error or a cut, and where the connection's stream had failed before the
    /// body began. Announced lengths are ignored.
    bool bodyIsComplete();

protected:
    /// For a body that may have been begun already.
    HTTPTransferDecoder(const HTTPConnection& connection, bool failedBeforeBody);

private:
    HTTPConnection m_connection;
    bool m_failedBeforeBody;
};

using HTTPTransferDecoderRef = blocxx::IntrusiveReference<HTTPTransferDecoder>;

/// Removes the framing of a body in chunked transfer coding (RFC 9112, section 7.1).
class ZOL_API ChunkedTransferDecoder : public HTTPTransferDecoder
{
public:
    /// Reads nothing. @param connection shared by the decoder
    explicit ChunkedTransferDecoder(HTTPConnection connection);
    ~ChunkedTransferDecoder() override;

    std::istream& getInputStream() override;

private:
    OpenWBEM::HTTPChunkedIStream m_chunkedStream;
};

/// Hands out the rest of the connection as it is, up to the end of the connection; a content length is ignored.
class ZOL_API DefaultTransferDecoder : public HTTPTransferDecoder
{
public:
    /// Reads nothing. @param connection shared by the decoder
    explicit DefaultTransferDecoder(HTTPConnection connection);
    ~DefaultTransferDecoder() override;

    std::istream& getInputStream() override;

private:
    friend class MIME::UnbufferedContent;

    DefaultTransferDecoder(const HTTPConnection& connection, bool failedBeforeBody);
};

/// Makes the decoder that the "transfer-encoding" header among `headers` asks for: the chunked one where the whole
/// value is "chunked" in any case, the identity decoder for every other value and where the header is missing.
ZOL_API HTTPTransferDecoderRef getTransferDecoder(HTTPConnection& connection, const Headers& headers);

} // namespace ZOLNS2::HTTP
