#pragma once

#include "zol/Export.hpp"

#include <array>
#include <cstddef>
#include <iosfwd>
#include <vector>

/// Internal: the implementation of boyer_moore_search. Programs use zol/search/boyer_moore_search.hpp; the names here
/// may change with any version.
namespace ZOLNS2::SearchDetail
{

/// Takes what a search passes, a run of bytes at a time.
class ZOL_API ByteSink
{
public:
    virtual ~ByteSink() = default;
    /// Takes the next `count` bytes.
    virtual void append(const char* bytes, std::size_t count) = 0;
};

/// A pattern with the tables of the search by Boyer and Moore. Searching changes nothing in it.
class SearchEngine
{
public:
    /// Copies the pattern. `pattern` may be null when `length` is 0.
    ZOL_API SearchEngine(const char* pattern, std::size_t length);

    ZOL_API void computeSuffixShifts();

    /// Both behave as boyer_moore_search says of searchStream and searchStreamInto.
    ZOL_API bool search(std::istream& in, std::vector<char>& out) const;
    ZOL_API bool search(std::istream& in, ByteSink& out) const;

    /// As boyer_moore_search says of its find().
    ZOL_API std::size_t findIn(const char* block, std::size_t length) const;

    /// The bytes of the pattern.
    std::size_t length() const { return m_pattern.size(); }

    /// Looks for the pattern, which must not be empty, in `text` at `candidate` and after it. When it is there,
    /// `candidate` becomes its place; otherwise the first place where it could still begin, which is less than the
    /// length of the pattern before the end of the text, or that end.
    bool find(const char* text, std::size_t size, std::size_t& candidate) const;

    /// Where the shifts of the two rules alone lead in a text, up to an occurrence or the end; find() may have moved
    /// on further.
    std::size_t shiftsThrough(const char* text, std::size_t size) const;

private:
    std::vector<std::size_t> reuseSuffixes();
    void fallBackOnBorders(const std::vector<std::size_t>& border);
    void computeCharacterTables();
    std::size_t shiftAfter(std::ptrdiff_t mismatch, std::size_t c) const;
    std::size_t shiftAt(const char* text) const;
    std::size_t skipToLastByte(const char* text, std::size_t size, std::size_t end) const;

    std::vector<char> m_pattern;
    /// By byte value: the index of its last occurrence in the pattern, -1 if it does not occur.
    std::array<std::ptrdiff_t, 256> m_lastOccurrence{};
    /// By the hash of two adjacent bytes: whether the pattern may hold such a pair.
    std::array<bool, 1024> m_pairs{};
    /// Shift by the byte under the pattern's last one, both rules applied; 0 for the byte that matches there.
    std::array<std::size_t, 256> m_endShift{};
    /// Entry i is the good-suffix shift when everything from i on matched and the byte before it did not.
    std::vector<std::size_t> m_suffixShift;
};

} // namespace ZOLNS2::SearchDetail
