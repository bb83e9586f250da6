#pragma once

#include "zol/search/SearchEngine.hpp"

#include <cstddef>
#include <iosfwd>
#include <string_view>
#include <vector>

namespace ZOLNS2::SearchDetail
{

/// One search of a stream.
///
/// Whatever reaches the device is a single-character read of the stream itself, and so is the read of an occurrence's
/// last byte. The stream is therefore left as a search by such reads alone leaves it: its state, its gcount() and what
/// it throws.
class StreamSearch
{
public:
    StreamSearch(const SearchEngine& engine, std::istream& in, ByteSink& out);

    bool run();

    /// Gives the sink what a search that an exception ended has read and kept back.
    void settlePending() { settle(m_pending.size()); }

private:
    bool readCharacter();
    bool searchSeam(std::string_view window);
    bool searchWindow(std::string_view window, std::size_t candidate);
    bool findInPages(std::string_view window, std::size_t& candidate);
    void settle(std::size_t count);
    void readOccurrence(std::size_t count);

    const SearchEngine& m_engine;
    std::istream& m_in;
    ByteSink& m_out;
    /// What has been read and may begin an occurrence. Holds less than two patterns.
    std::vector<char> m_pending;
};

} // namespace ZOLNS2::SearchDetail
