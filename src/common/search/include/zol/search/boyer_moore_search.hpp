#pragma once

#include "blocxx/BaseStreamBuffer.hpp"
#include "zol/Export.hpp"
#include "zol/search/SearchReads.hpp"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <istream>
#include <limits>
#include <stdexcept>
#include <type_traits>
#include <utility>
#include <vector>

namespace ZOLNS2
{

/// Finds a fixed byte pattern in an input stream that cannot be rewound, and hands back everything in front of it.
///
/// The search is that of Boyer and Moore ("A fast string searching algorithm", Communications of the ACM 20, 1977),
/// with the bad-character rule and the strong good-suffix rule. The pattern may hold any bytes, NUL included.
///
/// A search does not change the object: several threads may search with one object at a time, each in a stream of its
/// own, as long as none assigns to it. `CharT` is the character type of std::istream, `SizeT` the type of lengths,
/// `IndexT` a signed type that can hold the length of the longest pattern.
template <class CharT, class SizeT, class IndexT>
class boyer_moore_search
{
    static_assert(std::is_same_v<CharT, char>, "a std::istream is made of char");
    static_assert(std::is_unsigned_v<SizeT> && std::is_signed_v<IndexT>);

public:
    /// Copies the `length` bytes at `pattern`, which may be null when `length` is 0, and prepares the tables.
    /// Throws std::length_error when `IndexT` cannot count the bytes.
    boyer_moore_search(const CharT* pattern, SizeT length);

    /// Computes the shifts of the good-suffix rule from the pattern. The constructor has already done so.
    void precompute_suffix_table();

    /// Reads `in` up to and including the first occurrence of the pattern.
    ///
    /// True: found. `out` holds every byte read in front of the occurrence, the occurrence itself is dropped, and the
    /// stream stands right behind it: nothing further has been read, and neither eofbit nor failbit is set. An empty
    /// pattern is found at once, with nothing read.
    ///
    /// False: the stream ended or failed first, and shows so as after a single-character read that failed. `out` holds
    /// every byte that was left. A stream that was already failed on entry is not touched, and `out` is then empty.
    ///
    /// What a stream with an exception mask throws passes through; `out` then holds the bytes that cannot be part of an
    /// occurrence. How many bytes the stream reports in gcount() is unspecified.
    bool searchStream(std::istream& in, std::vector<CharT>& out) const;

    /// The same, with the bytes in front of the occurrence given to `out.append(const CharT* bytes, std::size_t count)`
    /// in the order of the stream, a run at a time. A run is valid during the call only. What `append` throws passes
    /// through; which bytes of the stream have been read is unspecified then.
    template <class Sink>
    bool searchStreamInto(std::istream& in, Sink& out) const;

private:
    struct VectorSink
    {
        void append(const CharT* bytes, std::size_t count) { m_bytes.insert(m_bytes.end(), bytes, bytes + count); }
        std::vector<CharT>& m_bytes;
    };

    template <class Buffer, class = void>
    struct OffersWindows : std::false_type
    {
    };
    template <class Buffer>
    struct OffersWindows<Buffer, std::void_t<decltype(std::declval<const Buffer&>().window().data),
                                             decltype(std::declval<const Buffer&>().window().size),
                                             decltype(std::declval<Buffer&>().consume(std::size_t()))>> : std::true_type
    {
    };

    static std::size_t asIndex(CharT c) { return static_cast<unsigned char>(c); }
    static std::size_t pairIndex(const CharT* pair)
    {
        std::uint16_t both = 0;
        std::memcpy(&both, pair, sizeof(both));
        return both * 0x9E3779B1U >> 22U; // multiplicative hashing: the upper 10 bits depend on all of the pair
    }

    void precomputeCharacterTables();
    std::size_t shiftAfter(std::ptrdiff_t mismatch, std::size_t c) const;
    std::size_t shiftAt(const CharT* text) const;
    static std::ptrdiff_t lastMismatch(const CharT* left, const CharT* right, std::size_t size);
    std::size_t skipToLastByte(const CharT* text, std::size_t size, std::size_t end) const;
    bool scan(const CharT* text, std::size_t size, std::size_t& candidate) const;
    template <class Sink>
    bool scanInto(Sink& out, const CharT* text, std::size_t size, std::size_t& candidate) const;
    std::size_t shiftsThrough(const std::vector<CharT>& text) const;
    template <class Sink>
    bool search(std::istream& in, Sink& out, std::vector<CharT>& pending) const;
    template <class Buffer, class Sink>
    bool searchWindows(std::istream& in, Buffer& buffer, Sink& out, std::vector<CharT>& pending) const;
    template <class Sink>
    bool searchBlocks(std::istream& in, Sink& out, std::vector<CharT>& pending) const;
    template <class Sink>
    static void settle(std::vector<CharT>& pending, std::size_t count, Sink& out);

    std::vector<CharT> m_pattern;
    std::array<IndexT, 256> m_lastOccurrence{};
    /// By pairIndex(): whether the pattern may hold such a pair.
    std::array<bool, 1024> m_pairs{};
    /// Shift by the byte under the pattern's last one, both rules applied; 0 for the byte that matches there.
    std::array<std::size_t, 256> m_endShift{};
    /// Entry i is the good-suffix shift when everything from i on matched and the byte in front of it did not.
    std::vector<IndexT> m_suffixShift;
};

template <class CharT, class SizeT, class IndexT>
boyer_moore_search<CharT, SizeT, IndexT>::boyer_moore_search(const CharT* pattern, SizeT length)
{
    if (length >= static_cast<std::make_unsigned_t<IndexT>>(std::numeric_limits<IndexT>::max()))
    {
        throw std::length_error("boyer_moore_search: the pattern is too long");
    }
    m_pattern.assign(pattern, pattern + length);
    precompute_suffix_table();
    precomputeCharacterTables();
}

template <class CharT, class SizeT, class IndexT>
void boyer_moore_search<CharT, SizeT, IndexT>::precompute_suffix_table()
{
    const std::size_t length = m_pattern.size();
    // border[i] is where the widest border of the suffix that begins at i begins; behind the end where there is none.
    std::vector<std::size_t> border(length + 1, 0);
    m_suffixShift.assign(length + 1, 0);

    std::size_t j = length + 1;
    border[length] = j;
    for (std::size_t i = length; i > 0;)
    {
        while (j <= length && m_pattern[i - 1] != m_pattern[j - 1])
        {
            if (m_suffixShift[j] == 0)
            {
                m_suffixShift[j] = static_cast<IndexT>(j - i);
            }
            j = border[j];
        }
        --i;
        --j;
        border[i] = j;
    }

    // Where the suffix does not occur again, the pattern moves on to its widest border.
    j = border[0];
    for (std::size_t i = 0; i <= length; ++i)
    {
        if (m_suffixShift[i] == 0)
        {
            m_suffixShift[i] = static_cast<IndexT>(j);
        }
        if (i == j)
        {
            j = border[j];
        }
    }
}

template <class CharT, class SizeT, class IndexT>
void boyer_moore_search<CharT, SizeT, IndexT>::precomputeCharacterTables()
{
    m_lastOccurrence.fill(-1);
    for (std::size_t i = 0; i < m_pattern.size(); ++i)
    {
        m_lastOccurrence[asIndex(m_pattern[i])] = static_cast<IndexT>(i);
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

/// How far the pattern moves when all behind `mismatch` matched and the byte there, which is `c`, did not.
template <class CharT, class SizeT, class IndexT>
std::size_t boyer_moore_search<CharT, SizeT, IndexT>::shiftAfter(std::ptrdiff_t mismatch, std::size_t c) const
{
    return static_cast<std::size_t>(std::max<std::ptrdiff_t>(m_suffixShift[static_cast<std::size_t>(mismatch + 1)],
                                                             mismatch - m_lastOccurrence[c]));
}

/// How far the pattern moves from `text`, where as many bytes stand as it has; 0 where it is found.
template <class CharT, class SizeT, class IndexT>
std::size_t boyer_moore_search<CharT, SizeT, IndexT>::shiftAt(const CharT* text) const
{
    const std::ptrdiff_t mismatch = lastMismatch(text, m_pattern.data(), m_pattern.size());
    return mismatch < 0 ? 0 : shiftAfter(mismatch, asIndex(text[mismatch]));
}

/// The index of the last byte in which the two differ, -1 when they are equal.
template <class CharT, class SizeT, class IndexT>
std::ptrdiff_t boyer_moore_search<CharT, SizeT, IndexT>::lastMismatch(const CharT* left, const CharT* right,
                                                                      std::size_t size)
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

/// The first place at `end` or behind it that may be the last byte of an occurrence: the pattern's last byte stands
/// there. At the end of the text, or behind it, where there is none.
template <class CharT, class SizeT, class IndexT>
std::size_t boyer_moore_search<CharT, SizeT, IndexT>::skipToLastByte(const CharT* text, std::size_t size,
                                                                     std::size_t end) const
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

/// Looks for the pattern in `text`, at `candidate` and behind it. When it is there, `candidate` becomes its place; else
/// the first place where it could still begin, fewer bytes than the pattern has before the end of the text or behind
/// that end.
template <class CharT, class SizeT, class IndexT>
bool boyer_moore_search<CharT, SizeT, IndexT>::scan(const CharT* text, std::size_t size, std::size_t& candidate) const
{
    const std::size_t last = m_pattern.size() - 1;
    std::size_t end = skipToLastByte(text, size, candidate + last);
    while (end < size)
    {
        const CharT* const begin = text + (end - last);
        const std::ptrdiff_t mismatch = lastMismatch(begin, m_pattern.data(), last);
        if (mismatch < 0)
        {
            candidate = end - last;
            return true;
        }
        end = skipToLastByte(text, size, end + shiftAfter(mismatch, asIndex(begin[mismatch])));
    }
    candidate = end - last;
    return false;
}

template <class CharT, class SizeT, class IndexT>
bool boyer_moore_search<CharT, SizeT, IndexT>::searchStream(std::istream& in, std::vector<CharT>& out) const
{
    out.clear();
    VectorSink sink{out};
    std::vector<CharT> pending;
    try
    {
        return search(in, sink, pending);
    }
    catch (...)
    {
        sink.append(pending.data(), pending.size());
        out.resize(std::min(shiftsThrough(out), out.size()));
        throw;
    }
}

template <class CharT, class SizeT, class IndexT>
template <class Sink>
bool boyer_moore_search<CharT, SizeT, IndexT>::searchStreamInto(std::istream& in, Sink& out) const
{
    std::vector<CharT> pending;
    return search(in, out, pending);
}

/// `pending` holds, while a search runs, the bytes that have been read and may begin an occurrence.
template <class CharT, class SizeT, class IndexT>
template <class Sink>
bool boyer_moore_search<CharT, SizeT, IndexT>::search(std::istream& in, Sink& out, std::vector<CharT>& pending) const
{
    if (in.fail())
    {
        return false;
    }
    if (m_pattern.empty())
    {
        return true;
    }
    const std::istream::sentry ready(in, true);
    if (!ready)
    {
        return false;
    }
    if constexpr (OffersWindows<blocxx::BaseStreamBuffer>::value)
    {
        if (auto* const buffer = dynamic_cast<blocxx::BaseStreamBuffer*>(in.rdbuf()))
        {
            return searchWindows(in, *buffer, out, pending);
        }
    }
    return searchBlocks(in, out, pending);
}

/// Where the shifts of the two rules alone lead in a text, up to an occurrence or the end; skipToLastByte() may have
/// gone further.
template <class CharT, class SizeT, class IndexT>
std::size_t boyer_moore_search<CharT, SizeT, IndexT>::shiftsThrough(const std::vector<CharT>& text) const
{
    std::size_t candidate = 0;
    std::size_t shift = 1;
    while (shift > 0 && candidate + m_pattern.size() <= text.size())
    {
        shift = shiftAt(text.data() + candidate);
        candidate += shift;
    }
    return candidate;
}

/// As scan(), and gives `out` every byte in front of what `candidate` becomes.
template <class CharT, class SizeT, class IndexT>
template <class Sink>
bool boyer_moore_search<CharT, SizeT, IndexT>::scanInto(Sink& out, const CharT* text, std::size_t size,
                                                        std::size_t& candidate) const
{
    // A page at a time: its bytes are still in the first-level cache when they are copied.
    const std::size_t page = 4096;
    bool found = false;
    std::size_t given = 0;
    for (std::size_t end = 0; end < size && !found;)
    {
        end = std::min(size, end + page);
        found = scan(text, end, candidate);
        const std::size_t settled = std::min(candidate, end);
        out.append(text + given, settled - given);
        given = settled;
    }
    return found;
}

/// Scans what the stream's buffer holds in place. What may still begin an occurrence when a window ends is kept beside.
template <class CharT, class SizeT, class IndexT>
template <class Buffer, class Sink>
bool boyer_moore_search<CharT, SizeT, IndexT>::searchWindows(std::istream& in, Buffer& buffer, Sink& out,
                                                             std::vector<CharT>& pending) const
{
    while (true)
    {
        if (buffer.window().size == 0 && !SearchDetail::refill(in))
        {
            settle(pending, pending.size(), out);
            return false;
        }
        const auto window = buffer.window();
        if (window.size == 0)
        {
            return searchBlocks(in, out, pending); // a subclass that keeps nothing in the buffer
        }
        std::size_t candidate = 0;
        if (!pending.empty())
        {
            // Look at the seam, with as much of the window as that takes.
            const std::size_t held = pending.size();
            const std::size_t borrowed = std::min(window.size, m_pattern.size() - 1);
            pending.insert(pending.end(), window.data, window.data + borrowed);
            const bool found = scan(pending.data(), pending.size(), candidate);
            if (found || candidate < held)
            {
                settle(pending, candidate, out);
                buffer.consume(found ? candidate + m_pattern.size() - held : borrowed);
                if (found)
                {
                    return true;
                }
                continue;
            }
            out.append(pending.data(), held);
            pending.clear();
            candidate -= held;
        }
        if (scanInto(out, window.data, window.size, candidate))
        {
            buffer.consume(candidate + m_pattern.size());
            return true;
        }
        pending.assign(window.data + candidate, window.data + window.size);
        buffer.consume(window.size);
    }
}

/// Reads just what is missing for the next comparison, which makes it right for any stream.
template <class CharT, class SizeT, class IndexT>
template <class Sink>
bool boyer_moore_search<CharT, SizeT, IndexT>::searchBlocks(std::istream& in, Sink& out,
                                                            std::vector<CharT>& pending) const
{
    std::size_t filled = pending.size();
    pending.resize(m_pattern.size());
    try
    {
        while (SearchDetail::fill(in, pending.data(), pending.size(), filled))
        {
            const std::size_t shift = shiftAt(pending.data());
            if (shift == 0)
            {
                return true;
            }
            out.append(pending.data(), shift);
            filled -= shift;
            std::memmove(pending.data(), pending.data() + shift, filled);
        }
    }
    catch (...)
    {
        pending.resize(filled);
        throw;
    }
    pending.resize(filled);
    settle(pending, filled, out);
    return false;
}

/// Moves bytes that cannot be part of an occurrence from the front of `pending` to `out`.
template <class CharT, class SizeT, class IndexT>
template <class Sink>
void boyer_moore_search<CharT, SizeT, IndexT>::settle(std::vector<CharT>& pending, std::size_t count, Sink& out)
{
    out.append(pending.data(), count);
    pending.erase(pending.begin(), pending.begin() + static_cast<std::ptrdiff_t>(count));
}

extern template class ZOL_API boyer_moore_search<char, unsigned long, int>;

} // namespace ZOLNS2
