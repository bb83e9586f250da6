#pragma once

#include "zol/search/SearchEngine.hpp"

#include <cstddef>
#include <istream>
#include <limits>
#include <stdexcept>
#include <type_traits>
#include <vector>

namespace ZOLNS2
{

/// Finds a fixed byte pattern in an input stream that cannot be rewound, and hands back everything before it; or finds it
/// in a block of memory.
///
/// @code
/// const std::string delimiter = "\r\n--boundary";
/// const ZOLNS2::boyer_moore_search<char, unsigned long, int> search(delimiter.data(), delimiter.size());
/// std::vector<char> part;
/// while (search.searchStream(stream, part))
/// {
///     use(part);
/// }
/// @endcode
///
/// The search is that of Boyer and Moore ("A fast string searching algorithm", Communications of the ACM 20, 1977),
/// with the bad-character rule and the strong good-suffix rule. The pattern may hold any bytes, NUL included.
///
/// The memory that a search needs depends on the length of the pattern, not on that of the stream. What the stream's
/// buffer holds is searched in place; a stream buffer that keeps nothing of its own is read by single characters, so
/// that no byte is lost if its device throws.
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
    /// What find() returns when the pattern does not occur.
    static constexpr std::size_t npos = static_cast<std::size_t>(-1);

    /// Copies the `length` bytes at `pattern`, which may be null when `length` is 0, and prepares the tables.
    /// Throws std::length_error when `IndexT` cannot count the bytes.
    boyer_moore_search(const CharT* pattern, SizeT length) : m_engine(pattern, checked(length)) {}

    /// Computes the shifts of the good-suffix rule from the pattern. The constructor has already done so.
    void precompute_suffix_table() { m_engine.computeSuffixShifts(); }

    /// Reads `in` up to and including the first occurrence of the pattern.
    ///
    /// True: found. `out` holds every byte read before the occurrence, the occurrence itself is dropped, and the
    /// stream is positioned right after it: nothing further has been read, neither eofbit nor failbit is set, and
    /// gcount() is 1, as after a single-character read. An empty pattern is found at once, with nothing read.
    ///
    /// False: the stream ended or failed first. Its state and its gcount(), which is 0, are those of a single-character
    /// read that failed. `out` holds every byte that was left. A stream that was already failed on entry is not
    /// touched, and `out` is then empty.
    ///
    /// What a stream with an exception mask throws passes through; `out` then holds the bytes that cannot be part of an
    /// occurrence.
    bool searchStream(std::istream& in, std::vector<CharT>& out) const { return m_engine.search(in, out); }

    /// The same, with the bytes before the occurrence given to `out.append(const CharT* bytes, std::size_t count)`
    /// in the order of the stream, a run at a time. A run is valid during the call only. What `append` throws passes
    /// through; which bytes of the stream have been read is unspecified then.
    template <class Sink>
    bool searchStreamInto(std::istream& in, Sink& out) const
    {
        SinkReference<Sink> sink(out);
        return m_engine.search(in, sink);
    }

    /// The offset of the first occurrence that lies in the `length` bytes at `block` as a whole, `npos` if there is none.
    /// An empty pattern is found at 0. `block` may be null when `length` is 0.
    std::size_t find(const CharT* block, std::size_t length) const { return m_engine.findIn(block, length); }

private:
    template <class Sink>
    class SinkReference final : public SearchDetail::ByteSink
    {
    public:
        explicit SinkReference(Sink& sink) : m_sink(sink) {}
        void append(const char* bytes, std::size_t count) override { m_sink.append(bytes, count); }

    private:
        Sink& m_sink;
    };

    static std::size_t checked(SizeT length)
    {
        if (length >= static_cast<std::make_unsigned_t<IndexT>>(std::numeric_limits<IndexT>::max()))
        {
            throw std::length_error("boyer_moore_search: the pattern is too long");
        }
        return length;
    }

    SearchDetail::SearchEngine m_engine;
};

} // namespace ZOLNS2
