#include "content/StoredBytes.hpp"

#include <algorithm>
#include <cstring>
#include <utility>

namespace ZOLNS2::MIME
{

StoredBytes::StoredBytes(const char* bytes, std::size_t count) : m_piece(new char[count]), m_end(count)
{
    std::copy_n(bytes, count, m_piece.get());
}

/// All blocks before it must be full.
void StoredBytes::appendBlock(const char* bytes, std::size_t count)
{
    std::unique_ptr<char[]> block(new char[count]);
    std::memcpy(block.get(), bytes, count);
    m_blocks.push_back(std::move(block));
    m_end += count;
}

std::string_view StoredBytes::runAt(std::size_t index) const
{
    const std::size_t from = m_begin + index;
    if (from >= m_end)
    {
        return {};
    }
    if (m_piece)
    {
        return {m_piece.get() + from, m_end - from};
    }
    const std::size_t offset = from % BLOCK_SIZE;
    return {m_blocks[from / BLOCK_SIZE].get() + offset, std::min(BLOCK_SIZE - offset, m_end - from)};
}

void StoredBytes::copy(std::size_t index, std::size_t count, char* to) const
{
    while (count > 0)
    {
        const std::string_view run = runAt(index).substr(0, count);
        std::memcpy(to, run.data(), run.size());
        index += run.size();
        to += run.size();
        count -= run.size();
    }
}

} // namespace ZOLNS2::MIME
