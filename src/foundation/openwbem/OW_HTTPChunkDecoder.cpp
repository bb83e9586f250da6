#include "openwbem/OW_HTTPChunkDecoder.hpp"

#include <algorithm>
#include <array>
#include <cstring>

namespace OpenWBEM
{

namespace
{

constexpr char LINE_END[] = "\r\n";

constexpr unsigned NO_DIGIT = 16;

constexpr std::array<unsigned char, 256> hexadecimalDigits()
{
    std::array<unsigned char, 256> values{};
    for (unsigned char& value : values)
    {
        value = NO_DIGIT;
    }
    for (unsigned char i = 0; i < 10; ++i)
    {
        values['0' + std::size_t{i}] = i;
    }
    for (unsigned char i = 0; i < 6; ++i)
    {
        values['a' + std::size_t{i}] = static_cast<unsigned char>(10 + i);
        values['A' + std::size_t{i}] = static_cast<unsigned char>(10 + i);
    }
    return values;
}

constexpr std::array<unsigned char, 256> DIGIT_VALUES = hexadecimalDigits();

unsigned digitValue(char c)
{
    return DIGIT_VALUES[static_cast<unsigned char>(c)];
}

/// Reads what nearly all chunks begin with, if the block holds it whole: CR LF after the data before, a size and CR
/// LF.
/// @return after it; null for anything else, which is left to the slower path
const char* parseUsualStart(const char* from, const char* end, std::uint64_t& size)
{
    constexpr std::ptrdiff_t SHORTEST = 5;
    if (end - from < SHORTEST || std::memcmp(from, LINE_END, 2) != 0)
    {
        return nullptr;
    }
    const char* at = from + 2;
    const char* const digitsEnd = std::min(at + HTTPChunkDecoder::MAX_SIZE_DIGITS, end - 2);
    std::uint64_t read = 0;
    do
    {
        const unsigned value = digitValue(*at);
        if (value == NO_DIGIT)
        {
            break;
        }
        read = read << 4 | value;
    } while (++at != digitsEnd);
    // The last chunk is among the rest, too.
    if (read == 0 || std::memcmp(at, LINE_END, 2) != 0)
    {
        return nullptr;
    }
    size = read;
    return at + 2;
}

} // namespace

HTTPChunkDecoder::Progress HTTPChunkDecoder::decode(const char* from, const char* fromEnd, char* to, char* toEnd)
{
    const char* const start = to;
    while (from != fromEnd && to != toEnd)
    {
        if (m_dataLeft == 0)
        {
            from = parse(from, fromEnd);
            if (m_state != E_DATA)
            {
                if (isOver() || (isInTrailer() && (to != start || m_trailer == E_LEAVE_TRAILER)))
                {
                    break;
                }
                continue;
            }
        }
        const auto room = static_cast<std::size_t>(std::min(fromEnd - from, toEnd - to));
        const std::size_t run = std::min<std::uint64_t>(m_dataLeft, room);
        std::memcpy(to, from, run);
        from += run;
        to += run;
        takeData(run);
    }
    return {from, to};
}

/// Takes framing: up to data, to the front of the trailer, to its end, or to a byte that does not belong there.
const char* HTTPChunkDecoder::parse(const char* from, const char* end)
{
    if (m_state == E_DATA_END)
    {
        if (const char* const after = parseUsualStart(from, end, m_size))
        {
            m_dataLeft = m_size;
            m_state = E_DATA;
            return after;
        }
    }
    const bool wasInTrailer = isInTrailer();
    while (from != end && m_state != E_DATA && isInTrailer() == wasInTrailer && !isOver())
    {
        m_state = next(*from++);
    }
    return from;
}

/// Takes what stands between two chunks of one size, if these bytes are it. They are as many as that would be without
/// leading zeros.
bool HTTPChunkDecoder::takeEqualStart(const char* start, std::size_t length)
{
    const char* const end = start + length - 2;
    std::uint64_t size = m_size;
    for (const char* digit = end; digit != start + 2; size >>= 4)
    {
        if (digitValue(*--digit) != (size & 0xf))
        {
            return false;
        }
    }
    if (m_state != E_DATA_END || std::memcmp(start, LINE_END, 2) != 0 || std::memcmp(end, LINE_END, 2) != 0)
    {
        return false;
    }
    m_dataLeft = m_size;
    m_state = E_DATA;
    return true;
}

void HTTPChunkDecoder::endInput()
{
    m_state = isInTrailer() || isComplete() ? E_COMPLETE : E_BROKEN;
    m_dataLeft = 0;
}

HTTPChunkDecoder::EState HTTPChunkDecoder::next(char c)
{
    switch (m_state)
    {
    case E_SIZE:
        return afterDigit(c);
    case E_SIZE_BLANKS:
    case E_EXTENSION:
        return afterSize(c);
    case E_SIZE_LF:
        return c == '\n' ? sizeLineEnd() : E_BROKEN;
    case E_DATA_END:
        if (c == '\r')
        {
            return E_DATA_LF;
        }
        [[fallthrough]];
    case E_DATA_LF:
        m_digits = 0;
        return c == '\n' ? E_SIZE : E_BROKEN;
    case E_TRAILER:
    case E_TRAILER_LF:
        return ++m_trailerSize <= MAX_TRAILER_SIZE ? trailerByte(c) : E_BROKEN;
    default:
        return m_state;
    }
}

HTTPChunkDecoder::EState HTTPChunkDecoder::afterDigit(char c)
{
    const unsigned value = digitValue(c);
    if (value == NO_DIGIT)
    {
        m_lineLength = m_digits;
        return m_digits != 0 ? afterSize(c) : E_BROKEN;
    }
    m_size = (m_digits == 0 ? 0 : m_size << 4) | value;
    return ++m_digits <= MAX_SIZE_DIGITS ? E_SIZE : E_BROKEN;
}

HTTPChunkDecoder::EState HTTPChunkDecoder::afterSize(char c)
{
    if (c == '\n')
    {
        return sizeLineEnd();
    }
    if (c == '\r')
    {
        return E_SIZE_LF;
    }
    if (c == '\0' || ++m_lineLength > MAX_SIZE_LINE_LENGTH)
    {
        return E_BROKEN;
    }
    if (m_state == E_EXTENSION || c == ';')
    {
        return E_EXTENSION;
    }
    return c == ' ' || c == '\t' ? E_SIZE_BLANKS : E_BROKEN;
}

HTTPChunkDecoder::EState HTTPChunkDecoder::sizeLineEnd()
{
    m_dataLeft = m_size;
    m_lineLength = 0;
    return m_size != 0 ? E_DATA : E_TRAILER;
}

HTTPChunkDecoder::EState HTTPChunkDecoder::trailerByte(char c)
{
    if (c == '\n')
    {
        return trailerLineEnd();
    }
    if (c == '\0' || m_state == E_TRAILER_LF)
    {
        return E_BROKEN;
    }
    if (c == '\r')
    {
        return E_TRAILER_LF;
    }
    if (m_lineLength++ == 0)
    {
        ++m_trailerLines;
    }
    return m_trailerLines <= MAX_TRAILER_LINES ? E_TRAILER : E_BROKEN;
}

HTTPChunkDecoder::EState HTTPChunkDecoder::trailerLineEnd()
{
    if (m_lineLength == 0)
    {
        return E_COMPLETE;
    }
    m_lineLength = 0;
    return E_TRAILER;
}

} // namespace OpenWBEM
