#include "zol/search/SearchEngine.hpp"

#include "search/StreamSearch.hpp"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <istream>
#include <new>

namespace ZOLNS2::SearchDetail
{

namespace
{

class VectorSink final : public ByteSink
{
public:
    explicit VectorSink(std::vector<char>& bytes) : m_bytes(bytes) {}
    void append(const char* bytes, std::size_t count) override { m_bytes.insert(m_bytes.end(), bytes, bytes + count); }

private:
    std::vector<char>& m_bytes;
};

std::size_t asIndex(char c)
{
    return static_cast<unsigned char>(c);
}

std::size_t pairIndex(const char* pair)
{
    std::uint16_t both = 0;
    std::memcpy(&both, pair, sizeof(both));
    return both * 0x9E3779B1U >> 22U; // multiplicative hashing: the upper 10 bits depend on all of the pair
}

/// The index of the last byte in which the two differ, -1 when they are equal.
std::ptrdiff_t lastMismatch(const char* left, const char* right, std::size_t size)
{
#if defined(__BYTE_ORDER__) && __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__
    // Eight bytes at a time: text that nearly matches would otherwise cost a step for each byte of the pattern.
    const std::size_t word = sizeof(std::uint64_t);
    if (size >= word)
    {
        for (; size > 0; size -= std::min(size, word))
        {
            // The last word, at the front, reaches over bytes that are known to be equal.
            const std::size_t at = std::max(size, word) - word;
            std::uint64_t x = 0;
            std::uint64_t y = 0;
            std::memcpy(&x, left + at, word);
            std::memcpy(&y, right + at, word);
            if (x != y)
            {
                return static_cast<std::ptrdiff_t>(at + word) - 1 - __builtin_clzll(x ^ y) / 8;
            }
        }
        return -1;
    }
#endif
    while (size > 0 && left[size - 1] == right[size - 1])
    {
        --size;
    }
    return static_cast<std::ptrdiff_t>(size) - 1;
}

} // namespace

SearchEngine::SearchEngine(const char* pattern, std::size_t length) : m_pattern(pattern, pattern + length)
{
    computeSuffixShifts();
    computeCharacterTables();
}

void SearchEngine::computeSuffixShifts()
{
    m_suffixShift.assign(m_pattern.size() + 1, 0);
    fallBackOnBorders(reuseSuffixes());
}

/// The shifts for suffixes that occur again in the pattern, preceded by another byte. Entry i of the result is where
/// the widest border of the suffix that begins at i begins; after the end for a suffix without a border.
std::vector<std::size_t> SearchEngine::reuseSuffixes()
{
    const std::size_t length = m_pattern.size();
    std::vector<std::size_t> border(length + 1, 0);
    std::size_t j = length + 1;
    border[length] = j;
    for (std::size_t i = length; i > 0;)
    {
        while (j <= length && m_pattern[i - 1] != m_pattern[j - 1])
        {
            if (m_suffixShift[j] == 0)
            {
                m_suffixShift[j] = j - i;
            }
            j = border[j];
        }
        --i;
        --j;
        border[i] = j;
    }
    return border;
}

/// The shifts for all other suffixes: to the widest border of the pattern that fits into the suffix.
void SearchEngine::fallBackOnBorders(const std::vector<std::size_t>& border)
{
    std::size_t j = border[0];
    for (std::size_t i = 0; i < m_suffixShift.size(); ++i)
    {
        if (m_suffixShift[i] == 0)
        {
            m_suffixShift[i] = j;
        }
        if (i == j)
        {
            j = border[j];
        }
    }
}

void SearchEngine::computeCharacterTables()
{
    m_lastOccurrence.fill(-1);
    for (std::size_t i = 0; i < m_pattern.size(); ++i)
    {
        m_lastOccurrence[asIndex(m_pattern[i])] = static_cast<std::ptrdiff_t>(i);
    }
    for (std::size_t i = 1; i < m_pattern.size(); ++i)
    {
        m_pairs[pairIndex(&m_pattern[i - 1])] = true;
    }
    const std::ptrdiff_t last = static_cast<std::ptrdiff_t>(m_pattern.size()) - 1;
    for (std::size_t c = 0; c < m_endShift.size(); ++c)
    {
        m_endShift[c] = m_lastOccurrence[c] == last ? 0 : shiftAfter(last, c);
    }
}

/// How far the pattern moves when all after `mismatch` matched and the byte there, which is `c`, did not.
std::size_t SearchEngine::shiftAfter(std::ptrdiff_t mismatch, std::size_t c) const
{
    const auto bySuffix = static_cast<std::ptrdiff_t>(m_suffixShift[static_cast<std::size_t>(mismatch + 1)]);
    return static_cast<std::size_t>(std::max(bySuffix, mismatch - m_lastOccurrence[c]));
}

/// How far the pattern moves from `text`, which holds as many bytes as it; 0 where it is found.
std::size_t SearchEngine::shiftAt(const char* text) const
{
    const std::ptrdiff_t mismatch = lastMismatch(text, m_pattern.data(), m_pattern.size());
    return mismatch < 0 ? 0 : shiftAfter(mismatch, asIndex(text[mismatch]));
}

/// The first place at `end` or after it that may be the last byte of an occurrence: the pattern's last byte is
/// there. Without one, a place at the end of the text or after it.
std::size_t SearchEngine::skipToLastByte(const char* text, std::size_t size, std::size_t end) const
{
    if (end < size && m_endShift[asIndex(text[end])] == 0)
    {
        return end;
    }
    const std::size_t last = m_pattern.size() - 1;
    while (end < size)
    {
        // Two bytes that the pattern does not hold side by side are in no occurrence. Few of a text's pairs are in a
        // pattern, so the processor guesses right and looks at the next places before it knows; the shift that a byte
        // tells has to be waited for.
        if (last > 0 && !m_pairs[pairIndex(text + end - 1)])
        {
            end += last;
            continue;
        }
        const std::size_t shift = m_endShift[asIndex(text[end])];
        if (shift == 0)
        {
            return end;
        }
        end += shift;
    }
    return end;
}

bool SearchEngine::find(const char* text, std::size_t size, std::size_t& candidate) const
{
    const std::size_t last = m_pattern.size() - 1;
    std::size_t end = candidate + last;
    while ((end = skipToLastByte(text, size, end)) < size)
    {
        const char* const begin = text + (end - last);
        const std::ptrdiff_t mismatch = lastMismatch(begin, m_pattern.data(), last);
        if (mismatch < 0)
        {
            candidate = end - last;
            return true;
        }
        end += shiftAfter(mismatch, asIndex(begin[mismatch]));
    }
    candidate = end - last;
    return false;
}

std::size_t SearchEngine::findIn(const char* block, std::size_t length) const
{
    std::size_t candidate = 0;
    if (m_pattern.empty() || (length >= m_pattern.size() && find(block, length, candidate)))
    {
        return candidate;
    }
    return static_cast<std::size_t>(-1);
}

std::size_t SearchEngine::shiftsThrough(const char* text, std::size_t size) const
{
    std::size_t candidate = 0;
    std::size_t shift = 1;
    while (shift > 0 && candidate + m_pattern.size() <= size)
    {
        shift = shiftAt(text + candidate);
        candidate += shift;
    }
    return candidate;
}

bool SearchEngine::search(std::istream& in, std::vector<char>& out) const
{
    out.clear();
    VectorSink sink(out);
    StreamSearch search(*this, in, sink);
    try
    {
        return search.run();
    }
    catch (...)
    {
        try
        {
            search.settlePending();
        }
        catch (const std::bad_alloc&) // NOLINT(bugprone-empty-catch)
        {
            // What the stream threw matters more than the bytes that no memory was left for.
        }
        out.resize(std::min(shiftsThrough(out.data(), out.size()), out.size()));
        throw;
    }
}

bool SearchEngine::search(std::istream& in, ByteSink& out) const
{
    return StreamSearch(*this, in, out).run();
}

} // namespace ZOLNS2::SearchDetail
