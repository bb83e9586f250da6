#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <istream>
#include <string>
#include <vector>

namespace search_test
{

/// The search by single-character reads: slow and plain, it defines how a search has to leave a stream.
class ReferenceSearch
{
public:
    explicit ReferenceSearch(const std::string& pattern) : m_pattern(pattern)
    {
        m_lastOccurrence.fill(-1);
        for (std::size_t i = 0; i < pattern.size(); ++i)
        {
            m_lastOccurrence[static_cast<unsigned char>(pattern[i])] = static_cast<int>(i);
        }
    }

    bool searchStream(std::istream& in, std::vector<char>& out) const
    {
        out.clear();
        if (in.fail())
        {
            return false;
        }
        std::string candidate;
        while (true)
        {
            while (candidate.size() < m_pattern.size())
            {
                const std::istream::int_type c = in.get();
                if (in.fail())
                {
                    out.insert(out.end(), candidate.begin(), candidate.end());
                    return false;
                }
                candidate += std::istream::traits_type::to_char_type(c);
            }
            const std::size_t matched = matchedFromTheRight(candidate);
            if (matched == m_pattern.size())
            {
                return true;
            }
            const std::size_t at = m_pattern.size() - 1 - matched;
            const int byCharacter = static_cast<int>(at) - m_lastOccurrence[static_cast<unsigned char>(candidate[at])];
            const auto shift = static_cast<std::size_t>(std::max(suffixShift(at), byCharacter));
            out.insert(out.end(), candidate.begin(), candidate.begin() + static_cast<std::ptrdiff_t>(shift));
            candidate.erase(0, shift);
        }
    }

private:
    std::size_t matchedFromTheRight(const std::string& candidate) const
    {
        const auto end = std::mismatch(m_pattern.rbegin(), m_pattern.rend(), candidate.rbegin()).first;
        return static_cast<std::size_t>(end - m_pattern.rbegin());
    }

    /// The good-suffix rule by its definition: the smallest shift that puts the matched bytes over equal ones, and
    /// another byte than the one that did not match over the mismatch; what falls off the pattern's front counts as
    /// fitting.
    int suffixShift(std::size_t mismatch) const
    {
        for (std::size_t shift = 1;; ++shift)
        {
            bool fits = shift > mismatch || m_pattern[mismatch - shift] != m_pattern[mismatch];
            for (std::size_t i = mismatch + 1; fits && i < m_pattern.size(); ++i)
            {
                fits = i < shift || m_pattern[i - shift] == m_pattern[i];
            }
            if (fits)
            {
                return static_cast<int>(shift);
            }
        }
    }

    std::string m_pattern;
    std::array<int, 256> m_lastOccurrence{};
};

} // namespace search_test
