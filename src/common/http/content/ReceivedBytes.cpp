#include "content/ReceivedBytes.hpp"

#include <algorithm>
#include <cstring>
#include <iterator>

namespace ZOLNS2::MIME
{

namespace
{

constexpr std::size_t BLOCK_SIZE = StoredBytes::BLOCK_SIZE;

} // namespace

ReceivedBytes::Run ReceivedBytes::runAt(std::size_t index) const
{
    const std::size_t begin = m_begin + index;
    if (begin == m_end)
    {
        return {nullptr, 0};
    }
    return {place(begin), std::min(m_end - begin, BLOCK_SIZE - begin % BLOCK_SIZE)};
}

void ReceivedBytes::append(const char* bytes, std::size_t count)
{
    while (count > 0)
    {
        if (m_end == m_blocks.size() * BLOCK_SIZE)
        {
            m_blocks.push_back(std::unique_ptr<char[]>(new char[BLOCK_SIZE]));
        }
        const std::size_t step = std::min(count, BLOCK_SIZE - m_end % BLOCK_SIZE);
        std::memcpy(place(m_end), bytes, step);
        m_end += step;
        bytes += step;
        count -= step;
    }
}

void ReceivedBytes::clear()
{
    m_blocks.resize(std::min<std::size_t>(m_blocks.size(), 1));
    m_begin = 0;
    m_end = 0;
}

StoredBytes ReceivedBytes::take()
{
    const bool takesBlocks = m_begin / BLOCK_SIZE != m_end / BLOCK_SIZE;
    if (!takesBlocks)
    {
        StoredBytes piece = size() > 0 ? StoredBytes(place(m_begin), size()) : StoredBytes();
        clear();
        return piece;
    }
    if (m_begin % BLOCK_SIZE > size() / 64)
    {
        // Too much of the first one was dropped.
        ReceivedBytes packed;
        for (std::size_t index = 0; index < size();)
        {
            const Run run = runAt(index);
            packed.append(run.data, run.size);
            index += run.size;
        }
        clear();
        return packed.take();
    }
    StoredBytes taken;
    const auto first = m_blocks.begin() + static_cast<std::ptrdiff_t>(m_begin / BLOCK_SIZE);
    const auto partial = m_blocks.begin() + static_cast<std::ptrdiff_t>(m_end / BLOCK_SIZE);
    taken.m_blocks.reserve(static_cast<std::size_t>(partial - first) + 1);
    taken.m_blocks.assign(std::make_move_iterator(first), std::make_move_iterator(partial));
    taken.m_begin = m_begin % BLOCK_SIZE;
    taken.m_end = taken.m_blocks.size() * BLOCK_SIZE;
    m_begin = m_end - m_end % BLOCK_SIZE;
    if (const std::size_t rest = size(); rest > 0)
    {
        taken.appendBlock(place(m_begin), rest);
    }
    m_blocks.erase(m_blocks.begin(), partial);
    clear();
    return taken;
}

char* ReceivedBytes::place(std::size_t index) const
{
    return m_blocks[index / BLOCK_SIZE].get() + index % BLOCK_SIZE;
}

} // namespace ZOLNS2::MIME
