#include "openwbem/OW_HTTPChunkFraming.hpp"

#include <algorithm>
#include <array>

namespace OpenWBEM
{

namespace
{

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

} // namespace

const char* HTTPChunkFraming::parse(const char* block, const char* end)
{
    if (isInTrailer())
    {
        while (block != end && isInTrailer())
        {
            m_state = next(*block++);
        }
        return block;
    }
    block = parseUsual(block, end);
    while (block != end && m_state != E_DATA && m_state < E_TRAILER)
    {
        m_state = next(*block++);
    }
    return block;
}

/// Takes what nearly all chunks begin with, whole: the line end behind the data before, a size and CR LF. Anything
/// else, and what the block holds only a part of, is left to the slower way.
const char* HTTPChunkFraming::parseUsual(const char* block, const char* end)
{
    const char* at = block;
    if (m_state == E_DATA_END && end - at > 2 && at[0] == '\r' && at[1] == '\n')
    {
        at += 2;
    }
    else if (m_state != E_SIZE || m_digits != 0)
    {
        return block;
    }
    const char* const digits = at;
    const char* const last = at + std::min<std::ptrdiff_t>(end - at, MAX_SIZE_DIGITS);
    std::uint64_t size = 0;
    for (unsigned value = 0; at != last && (value = digitValue(*at)) != NO_DIGIT; ++at)
    {
        size = size << 4 | value;
    }
    if (at == digits || size == 0 || end - at < 2 || at[0] != '\r' || at[1] != '\n')
    {
        return block;
    }
    m_dataLeft = size;
    m_state = E_DATA;
    return at + 2;
}

void HTTPChunkFraming::endInput()
{
    m_state = isInTrailer() || isComplete() ? E_COMPLETE : E_BROKEN;
    m_dataLeft = 0;
}

HTTPChunkFraming::EState HTTPChunkFraming::next(char c)
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
        return trailerByte(c);
    case E_TRAILER_LF:
        return ++m_trailerSize <= MAX_TRAILER_SIZE && c == '\n' ? trailerLineEnd() : E_BROKEN;
    default:
        return m_state;
    }
}

HTTPChunkFraming::EState HTTPChunkFraming::afterDigit(char c)
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

HTTPChunkFraming::EState HTTPChunkFraming::afterSize(char c)
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

HTTPChunkFraming::EState HTTPChunkFraming::sizeLineEnd()
{
    m_dataLeft = m_size;
    m_lineLength = 0;
    return m_size != 0 ? E_DATA : E_TRAILER;
}

HTTPChunkFraming::EState HTTPChunkFraming::trailerByte(char c)
{
    if (++m_trailerSize > MAX_TRAILER_SIZE || c == '\0')
    {
        return E_BROKEN;
    }
    if (c == '\r')
    {
        return E_TRAILER_LF;
    }
    if (c == '\n')
    {
        return trailerLineEnd();
    }
    if (m_lineLength++ == 0)
    {
        ++m_trailerLines;
    }
    return m_trailerLines <= MAX_TRAILER_LINES ? E_TRAILER : E_BROKEN;
}

HTTPChunkFraming::EState HTTPChunkFraming::trailerLineEnd()
{
    if (m_lineLength == 0)
    {
        return E_COMPLETE;
    }
    m_lineLength = 0;
    return E_TRAILER;
}

} // namespace OpenWBEM
