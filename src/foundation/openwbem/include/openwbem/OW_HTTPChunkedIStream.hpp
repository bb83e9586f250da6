#pragma once

#include "blocxx/BaseStreamBuffer.hpp"
#include "blocxx/internal/DirectInput.hpp"
#include "openwbem/OW_HTTPChunkDecoder.hpp"
#include "openwbem/OW_config.h"

#include <cstddef>
#include <cstdint>
#include <istream>

namespace OpenWBEM
{

/// Decodes a body in chunked transfer coding (HTTPChunkDecoder says what is accepted) that it reads from the buffer of
/// another stream.
///
/// Bytes are handed over as they arrive. The trailer is read, and dropped, only when the reader asks for more than the
/// body's last byte; the body is complete without it, so input that ends inside the trailer does no harm.
///
/// inputState() tells how the body ended: E_INPUT_ENDED for a complete one; E_INPUT_FAILED for one that was cut short
/// or is malformed, and for a stream that had failed before the body began. inputError() and inputErrorText() are then
/// those of the wrapped buffer, or what the exception that it threw says; without either, EBADMSG for the body, and EIO
/// for a stream that had failed before. What was decoded before is delivered first. The wrapped stream gets failbit for
/// a malformed body, eofbit and failbit for a cut one, badbit if its buffer throws.
///
/// A wrapped buffer of a class derived from BaseStreamBuffer is read through its `underflow`; only that of a
/// connection, an IOIFCStreamBuffer, is read past.
///
/// Not copyable; one thread at a time.
class OW_HTTP_API HTTPChunkedIStreamBuffer : public blocxx::BaseStreamBuffer
{
public:
    /// Reads nothing yet. `istr` outlives this object.
    explicit HTTPChunkedIStreamBuffer(std::istream& istr);
    ~HTTPChunkedIStreamBuffer() override;

    /// The wrapped stream.
    std::istream& getInputStreamOrig() { return m_istr; }

    /// Gets ready for another body, which begins at the position of the wrapped stream: after the former body, if that
    /// was read up to its end of file. The states of both streams are not cleared.
    void resetInput();

protected:
    std::streamsize xsgetn(char* to, std::streamsize count) override;

private:
    enum EWait
    {
        E_FOR_SOME, ///< until at least one byte is decoded
        E_FOR_ALL   ///< until the room is filled
    };

    int buffer_from_device(char* c, int n) override;
    blocxx::String deviceErrorText() const override;

    /// Where data goes.
    struct Room
    {
        std::size_t size() const { return static_cast<std::size_t>(end - next); }

        char* next;
        char* const end;
    };

    std::size_t decode(char* to, std::size_t size, EWait wait);
    void begin();
    void decodeStep(Room& room, bool straight);
    bool fetch(Room& room, bool straight);
    void decodeByte(Room& room);
    void fetchData(Room& room, const blocxx::Internal::DirectInput& direct);
    void noteEndOfInput();
    void endInput(std::ios_base::iostate bits, int error, blocxx::String text);

    std::istream& m_istr;
    std::streambuf* m_source;                 // the wrapped stream's; null before the body begins
    blocxx::BaseStreamBuffer* m_deviceBuffer; // the same, if it knows how its input ends
    HTTPChunkDecoder m_decoder;
    int m_error;
    blocxx::String m_errorText;
};

/// Makes the buffer before the stream that uses it.
class OW_HTTP_API HTTPChunkedIStreamBase
{
protected:
    /// @param istr outlives this object
    explicit HTTPChunkedIStreamBase(std::istream& istr) : m_buffer(istr) {}

    /// The buffer of the stream.
    HTTPChunkedIStreamBuffer m_buffer;
};

/// The body of an HTTP message in chunked transfer coding, as a stream of its data (RFC 9112 section 7.1).
///
/// @code
/// OpenWBEM::HTTPChunkedIStream body(connection); // positioned after the head
/// file << body.rdbuf();
/// if (body.bad())
/// {
///     // cut short or malformed; the file has what came before
/// }
/// @endcode
///
/// The end of a complete body is the end of the stream: eofbit, and failbit after a read that came short, but never
/// badbit. A body that is malformed or cut short sets badbit, after the last byte that was decoded.
class OW_HTTP_API HTTPChunkedIStream : private HTTPChunkedIStreamBase, public std::istream
{
public:
    /// Reads nothing yet. `istr` outlives this object, which leaves it alone when it goes.
    explicit HTTPChunkedIStream(std::istream& istr);
    HTTPChunkedIStream(const HTTPChunkedIStream&) = delete;
    HTTPChunkedIStream& operator=(const HTTPChunkedIStream&) = delete;
    ~HTTPChunkedIStream() override;

    /// The wrapped stream.
    std::istream& getInputStreamOrig() { return m_buffer.getInputStreamOrig(); }
};

} // namespace OpenWBEM
