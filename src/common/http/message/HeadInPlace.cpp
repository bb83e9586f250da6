#include "message/HeadInPlace.hpp"

#include <algorithm>
#include <cstring>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace ZOLNS2::HTTP
{

namespace
{

bool isControl(char c)
{
    return static_cast<unsigned char>(c) < ' ';
}

bool isInName(char c)
{
    return c > ' ' && c < '\x7f' && c != ':';
}

bool isDigit(char c)
{
    return c >= '0' && c <= '9';
}

#ifdef __SSE2__

constexpr std::ptrdiff_t BLOCK = sizeof(__m128i);

__m128i blockAt(const char* at)
{
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(at));
}

#endif

/// The first control character from `at` on; `end` if there is none.
inline const char* findControl(const char* at, const char* end)
{
#ifdef __SSE2__
    const __m128i largest = _mm_set1_epi8(' ' - 1);
    for (; end - at >= BLOCK; at += BLOCK)
    {
        const __m128i bytes = blockAt(at);
        const int found = _mm_movemask_epi8(_mm_cmpeq_epi8(_mm_min_epu8(bytes, largest), bytes));
        if (found != 0)
        {
            return at + __builtin_ctz(static_cast<unsigned>(found));
        }
    }
#endif
    return std::find_if(at, end, isControl);
}

/// The first byte from `at` on that is not in a name; `end` if there is none.
inline const char* findNameEnd(const char* at, const char* end)
{
#ifdef __SSE2__
    const __m128i colon = _mm_set1_epi8(':');
    const __m128i blank = _mm_set1_epi8(' ');
    const __m128i del = _mm_set1_epi8('\x7f');
    for (; end - at >= BLOCK; at += BLOCK)
    {
        // As signed numbers the bytes beyond ASCII are less than a blank as well.
        const __m128i bytes = blockAt(at);
        const __m128i inName = _mm_andnot_si128(_mm_or_si128(_mm_cmpeq_epi8(bytes, colon), _mm_cmpeq_epi8(bytes, del)),
                                                _mm_cmpgt_epi8(bytes, blank));
        const auto found = static_cast<unsigned>(_mm_movemask_epi8(inName)) ^ 0xffffU;
        if (found != 0)
        {
            return at + __builtin_ctz(found);
        }
    }
#endif
    return std::find_if_not(at, end, isInName);
}

/// @return what follows the line's end at `at`; null if there is no line end
inline const char* skipLineEnd(const char* at, const char* end)
{
    if (end - at >= 2 && at[0] == '\r' && at[1] == '\n')
    {
        return at + 2;
    }
    return at != end && *at == '\n' ? at + 1 : nullptr;
}

const char* skipBlanks(const char* at, const char* end)
{
    while (at != end && (*at == ' ' || *at == '\t'))
    {
        ++at;
    }
    return at;
}

/// Whether the words of a reason phrase are apart by exactly one blank each; it holds no control characters.
bool isWords(std::string_view reason)
{
    bool behindBlank = true;
    for (const char c : reason)
    {
        const bool isBlank = c == ' ';
        if (isBlank && behindBlank)
        {
            return false;
        }
        behindBlank = isBlank;
    }
    return !behindBlank;
}

/// @return what follows the line; null if it is none of this form
const char* scanField(const char* at, const char* end, HeadInPlace::Field& field)
{
    const char* const colon = findNameEnd(at, end);
    if (colon == at || colon == end || *colon != ':')
    {
        return nullptr;
    }
    const char* const value = skipBlanks(colon + 1, end);
    const char* lineEnd = findControl(value, end);
    while (lineEnd != end && *lineEnd == '\t')
    {
        lineEnd = findControl(lineEnd + 1, end);
    }
    const char* valueEnd = lineEnd;
    while (valueEnd != value && (valueEnd[-1] == ' ' || valueEnd[-1] == '\t'))
    {
        --valueEnd;
    }
    field = {at, value, static_cast<unsigned>(colon - at), static_cast<unsigned>(valueEnd - value)};
    return skipLineEnd(lineEnd, end);
}

} // namespace

bool HeadInPlace::scan(std::string_view bytes, EHead kind)
{
    m_fields.clear();
    const char* const begin = bytes.data();
    const char* const end = begin + std::min(bytes.size(), MAX_SIZE);
    const char* at = kind == E_PART ? begin : scanStatusLine(begin, end);
    while (at != nullptr && at != end)
    {
        if (const char* const behind = skipLineEnd(at, end))
        {
            m_length = static_cast<std::size_t>(behind - begin);
            return true;
        }
        if (m_fields.size() == MAX_FIELDS)
        {
            return false;
        }
        at = scanField(at, end, m_fields.add());
    }
    return false;
}

/// @return what follows the line; null if it is none of this form
const char* HeadInPlace::scanStatusLine(const char* at, const char* end)
{
    constexpr std::string_view NAME = "HTTP/1.";
    constexpr std::ptrdiff_t SIZE = 12; // HTTP/1.1 200
    if (end - at <= SIZE || std::memcmp(at, NAME.data(), NAME.size()) != 0 || (at[7] != '0' && at[7] != '1') ||
        at[8] != ' ' || at[9] < '1' || !isDigit(at[9]) || !isDigit(at[10]) || !isDigit(at[11]))
    {
        return nullptr;
    }
    m_version = at[7] == '0' ? HTTP_1_0 : HTTP_1_1;
    m_status = static_cast<unsigned short>((at[9] - '0') * 100 + (at[10] - '0') * 10 + (at[11] - '0'));
    at += SIZE;
    const char* lineEnd = at;
    if (*at == ' ')
    {
        lineEnd = findControl(at + 1, end);
        m_reason = {at + 1, static_cast<std::size_t>(lineEnd - at - 1)};
        if (!isWords(m_reason))
        {
            return nullptr;
        }
    }
    return skipLineEnd(lineEnd, end);
}

} // namespace ZOLNS2::HTTP
