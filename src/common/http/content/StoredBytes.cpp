#include "content/StoredBytes.hpp"

#include <algorithm>
#include <cstring>
#include <utility>

namespace ZOLNS2::MIME
{

StoredBytes::StoredBytes(const char* bytes, std::size_t count)
{
    m_blocks.reserve((count + BLOCK_SIZE - 1) / BLOCK_SIZE);
    while (m_end < count)
    {
        appendBlock(bytes + m_end, std::min(count - m_end, BLOCK_SIZE));
    }
}

/// All blocks before it must be full.
void StoredBytes::appendBlock(const char* bytes, std::size_t count)
{
    std::unique_ptr<char[]> block(new char[count]);
    std::memcpy(block.get(), bytes, count);
    m_blocks.push_back(std::move(block));
    m_end += count;
}

void StoredBytes::copy(std::size_t index, std::size_t count, char* to) const
{
    for (std::size_t from = m_begin + index; count > 0;)
    {
        const std::size_t offset = from % BLOCK_SIZE;
        const std::size_t step = std::min(count, BLOCK_SIZE - offset);
        std::memcpy(to, m_blocks[from / BLOCK_SIZE].get() + offset, step);
        from += step;
        to += step;
        count -= step;
    }
}

} // namespace ZOLNS2::MIME
