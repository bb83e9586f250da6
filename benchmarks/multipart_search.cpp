// usage: multipart_search text|random|near SIZE
// Searches a boundary of 30 bytes in SIZE bytes of English text, of random bytes, or of boundaries that are wrong in
// one byte, through a stream buffer of 64 KiB. Counting instructions at two sizes gives the cost of a byte.
#include "blocxx/BaseStreamBuffer.hpp"
#include "zol/search/boyer_moore_search.hpp"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <random>
#include <string>
#include <vector>

namespace
{

const std::string BOUNDARY = "--=_boundary_0123456789abcdef_";

/// Delivers one block over and over, `size` bytes in all.
class RepeatingBuffer : public blocxx::BaseStreamBuffer
{
public:
    RepeatingBuffer(std::string block, std::size_t size) : BaseStreamBuffer(E_IN, 65536), m_block(block), m_left(size)
    {
    }

protected:
    int buffer_from_device(char* to, int room) override
    {
        const std::size_t count = std::min({static_cast<std::size_t>(room), m_left, m_block.size() - m_at});
        std::memcpy(to, m_block.data() + m_at, count);
        m_at = (m_at + count) % m_block.size();
        m_left -= count;
        return static_cast<int>(count);
    }

private:
    const std::string m_block;
    std::size_t m_at = 0;
    std::size_t m_left;
};

std::string blockOf(const std::string& kind)
{
    const std::size_t size = 1 << 18;
    const std::string sentence = "The quick brown fox jumps over the lazy dog, and nobody is any the wiser for it; "
                                 "a body of text is made of words like these.\r\n";
    std::mt19937 random(1);
    std::string block;
    while (block.size() < size)
    {
        if (kind == "text")
        {
            block += sentence;
        }
        else if (kind == "random")
        {
            block += static_cast<char>(random());
        }
        else
        {
            block += BOUNDARY;
            block[block.size() - 1 - random() % BOUNDARY.size()] = '~';
        }
    }
    return block;
}

} // namespace

int main(int argc, char** argv)
{
    const std::string kind = argc > 1 ? argv[1] : "";
    if (argc != 3 || (kind != "text" && kind != "random" && kind != "near"))
    {
        std::cerr << "usage: " << argv[0] << " text|random|near SIZE\n";
        return 2;
    }
    const std::size_t size = std::strtoull(argv[2], nullptr, 10);
    RepeatingBuffer buffer(blockOf(kind), size);
    std::istream in(&buffer);
    std::vector<char> out;
    const ZOLNS2::boyer_moore_search<char, unsigned long, int> search(BOUNDARY.data(), BOUNDARY.size());
    const bool found = search.searchStream(in, out);
    std::cout << (found ? "found after " : "not found in ") << out.size() << " bytes\n";
    return !found && out.size() == size ? 0 : 1;
}
