#pragma once

#include "openwbem/OW_config.h"

#include <cstddef>
#include <cstdint>

namespace OpenWBEM
{

namespace Internal
{
class EqualChunks;
} // namespace Internal

/// Decodes the chunked transfer coding, fed with bytes as they arrive. The grammar is that of RFC 9112 section 7.1:
///
///     chunked-body    = *chunk last-chunk trailer-section CRLF
///     chunk           = chunk-size [ chunk-ext ] CRLF chunk-data CRLF
///     chunk-size      = 1*HEXDIG
///     last-chunk      = 1*("0") [ chunk-ext ] CRLF
///     chunk-ext       = *( BWS ";" BWS chunk-ext-name [ BWS "=" BWS chunk-ext-val ] )
///     trailer-section = *( field-line CRLF )
///
/// The digits are limited in number, and blanks and tabs may follow them. An extension and a line of the trailer may
/// hold anything but NUL and CR, as their content is dropped. LF alone ends a line too (section 2.2).
///
/// Threads: one at a time.
class OW_HTTP_API HTTPChunkDecoder
{
public:
    /// @name Limits; what is exactly as large is accepted
    /// @{
    /// The most hexadecimal digits of a chunk's size.
    static constexpr unsigned MAX_SIZE_DIGITS = 16;
    /// Bytes of the line with a chunk's size, without its end.
    static constexpr std::size_t MAX_SIZE_LINE_LENGTH = std::size_t{4} * 1024;
    /// Lines of the trailer, without the empty one.
    static constexpr std::size_t MAX_TRAILER_LINES = 64;
    /// Bytes of the trailer, with all line ends.
    static constexpr std::size_t MAX_TRAILER_SIZE = std::size_t{16} * 1024;
    /// @}

    /// What to do with the trailer section.
    enum ETrailer
    {
        E_TAKE_TRAILER, ///< read it and drop it, under the limits above
        E_LEAVE_TRAILER ///< stop in front of it for good: the caller reads it
    };

    /// At the first byte of a body.
    explicit HTTPChunkDecoder(ETrailer trailer = E_TAKE_TRAILER) : m_trailer(trailer) {}

    /// Where decoding stopped, in what was to be decoded and in the room for data.
    struct Progress
    {
        /// Behind the last byte that was taken.
        const char* from;
        /// Behind the last byte that was written.
        char* to;
    };

    /// Decodes a block into some room, until one of them is used up or the message is over. Stops before the
    /// trailer if there is data to hand over first, or if the trailer is the caller's.
    Progress decode(const char* from, const char* fromEnd, char* to, char* toEnd);

    /// The bytes of data that come next; 0 while framing is parsed.
    std::uint64_t dataLeft() const { return m_dataLeft; }

    /// The size of the chunk that was begun last; of no meaning while a size is being read.
    std::uint64_t chunkSize() const { return m_size; }

    /// Counts bytes of data, at most dataLeft(), that were read elsewhere.
    void takeData(std::uint64_t count)
    {
        m_dataLeft -= count;
        if (m_dataLeft == 0)
        {
            m_state = E_DATA_END;
        }
    }

    /// Whether the line of the zero-size chunk has been read, and the message's end has not.
    bool isInTrailer() const { return m_state == E_TRAILER || m_state == E_TRAILER_LF; }

    /// No byte will follow. That completes the message if only the trailer was missing, and breaks it elsewhere.
    void endInput();
    /// Gives the message up: its input cannot be trusted from here on.
    void fail()
    {
        m_state = E_BROKEN;
        m_dataLeft = 0;
    }

    /// Whether the message has come to its end.
    bool isComplete() const { return m_state == E_COMPLETE; }
    /// Whether the input is not chunked coding; it stays so.
    bool isBroken() const { return m_state == E_BROKEN; }
    /// Whether it is complete or broken: no more input is taken.
    bool isOver() const { return m_state >= E_COMPLETE; }

private:
    friend class Internal::EqualChunks;

    enum EState
    {
        E_SIZE,        ///< the digits
        E_SIZE_BLANKS, ///< after them
        E_EXTENSION,
        E_SIZE_LF, ///< a CR ended the size line
        E_DATA,
        E_DATA_END, ///< the line end after the data
        E_DATA_LF,
        E_TRAILER,
        E_TRAILER_LF,
        E_COMPLETE,
        E_BROKEN
    };

    bool takeEqualStart(const char* start, std::size_t length);
    const char* parse(const char* from, const char* end);
    EState next(char c);
    EState afterDigit(char c);
    EState afterSize(char c);
    EState sizeLineEnd();
    EState trailerByte(char c);
    EState trailerLineEnd();

    ETrailer m_trailer;
    EState m_state = E_SIZE;
    unsigned m_digits = 0;
    std::uint64_t m_size = 0;
    std::uint64_t m_dataLeft = 0;
    std::size_t m_lineLength = 0;
    std::size_t m_trailerLines = 0;
    std::size_t m_trailerSize = 0;
};

} // namespace OpenWBEM
