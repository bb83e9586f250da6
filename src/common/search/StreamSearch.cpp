#include "search/StreamSearch.hpp"

#include "blocxx/internal/GetArea.hpp"

#include <algorithm>
#include <istream>

namespace ZOLNS2::SearchDetail
{

using blocxx::Internal::GetArea;

StreamSearch::StreamSearch(const SearchEngine& engine, std::istream& in, ByteSink& out)
    : m_engine(engine), m_in(in), m_out(out)
{
}

bool StreamSearch::run()
{
    if (m_in.fail())
    {
        return false;
    }
    if (m_engine.length() == 0)
    {
        return true;
    }
    while (m_in.good())
    {
        std::string_view window = GetArea::of(*m_in.rdbuf());
        if (window.empty())
        {
            if (!readCharacter())
            {
                break;
            }
            window = GetArea::of(*m_in.rdbuf());
        }
        if (m_pending.empty() ? searchWindow(window, 0) : searchSeam(window))
        {
            return true;
        }
    }
    if (!m_in.fail())
    {
        m_in.get(); // The end was seen before the search: this sets failbit without asking the device again.
    }
    settlePending();
    return false;
}

/// Has the stream's buffer fetch more and takes the first byte of it.
bool StreamSearch::readCharacter()
{
    // No byte that was read may be lost when memory runs out.
    m_pending.reserve(2 * m_engine.length());
    const std::istream::int_type c = m_in.get();
    if (m_in.fail())
    {
        return false;
    }
    m_pending.push_back(std::istream::traits_type::to_char_type(c));
    return true;
}

/// Searches where the pending bytes meet the window, with as much of the window as that takes, then the window.
bool StreamSearch::searchSeam(std::string_view window)
{
    const std::size_t held = m_pending.size();
    const std::size_t borrowed = std::min(window.size(), m_engine.length() - 1);
    m_pending.insert(m_pending.end(), window.begin(), window.begin() + borrowed);
    std::size_t candidate = 0;
    if (m_engine.find(m_pending.data(), m_pending.size(), candidate))
    {
        settle(candidate);
        readOccurrence(candidate + m_engine.length() - held);
        return true;
    }
    if (candidate < held)
    {
        // Too short to tell; all of the window has been borrowed.
        settle(candidate);
        GetArea::consume(*m_in.rdbuf(), borrowed);
        return false;
    }
    m_out.append(m_pending.data(), held);
    m_pending.clear();
    return searchWindow(window, candidate - held);
}

/// Searches the window from `candidate` on, and keeps what may begin an occurrence.
bool StreamSearch::searchWindow(std::string_view window, std::size_t candidate)
{
    if (findInPages(window, candidate))
    {
        readOccurrence(candidate + m_engine.length());
        return true;
    }
    m_pending.assign(window.begin() + candidate, window.end());
    GetArea::consume(*m_in.rdbuf(), window.size());
    return false;
}

/// As SearchEngine::find(), and gives the sink every byte before what `candidate` becomes.
bool StreamSearch::findInPages(std::string_view window, std::size_t& candidate)
{
    // A page at a time: its bytes are still in the first-level cache when they are copied.
    const std::size_t page = 4096;
    bool found = false;
    std::size_t given = 0;
    for (std::size_t end = 0; end < window.size() && !found;)
    {
        end = std::min(window.size(), end + page);
        found = m_engine.find(window.data(), end, candidate);
        const std::size_t settled = std::min(candidate, end);
        m_out.append(window.data() + given, settled - given);
        given = settled;
    }
    return found;
}

/// Gives the sink bytes from the front of the pending ones, which cannot be part of an occurrence.
void StreamSearch::settle(std::size_t count)
{
    if (count > 0)
    {
        m_out.append(m_pending.data(), count);
        m_pending.erase(m_pending.begin(), m_pending.begin() + static_cast<std::ptrdiff_t>(count));
    }
}

/// Reads the `count` bytes of the window up to the end of an occurrence; none when a single-character read has already
/// taken its last byte.
void StreamSearch::readOccurrence(std::size_t count)
{
    if (count > 0)
    {
        GetArea::consume(*m_in.rdbuf(), count - 1);
        m_in.get();
    }
}

} // namespace ZOLNS2::SearchDetail
