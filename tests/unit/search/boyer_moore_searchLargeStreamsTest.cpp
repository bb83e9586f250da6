#include "support/Allocations.hpp"

#include "zol/search/boyer_moore_search.hpp"

#include <gtest/gtest.h>

#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>
#include <cstring>
#include <istream>
#include <streambuf>
#include <string>
#include <vector>

namespace
{

using Search = ZOLNS2::boyer_moore_search<char, unsigned long, int>;

const std::string PATTERN = "\r\n--a_boundary_of_some_length";

/// Counts what precedes a pattern and keeps none of it.
struct Counter
{
    void append(const char*, std::size_t count) { bytes += count; }

    std::uint64_t bytes = 0;
};

/// The same block, served in place again and again, and then a tail.
class RepeatedBlock : public std::streambuf
{
public:
    RepeatedBlock(std::string block, std::uint64_t times, std::string tail)
        : m_block(std::move(block)), m_left(times), m_tail(std::move(tail))
    {
    }

protected:
    int_type underflow() override
    {
        if (m_left > 0)
        {
            --m_left;
            serve(m_block);
        }
        else if (!m_tailServed)
        {
            m_tailServed = true;
            serve(m_tail);
        }
        return gptr() == egptr() ? traits_type::eof() : traits_type::to_int_type(*gptr());
    }

private:
    void serve(std::string& bytes) { setg(bytes.data(), bytes.data(), bytes.data() + bytes.size()); }

    std::string m_block;
    std::uint64_t m_left;
    std::string m_tail;
    bool m_tailServed = false;
};

/// Lines that begin like the pattern; the block ends, and begins, inside one.
std::string blockOfNearMisses(std::size_t size)
{
    std::string block = PATTERN.substr(PATTERN.size() / 2);
    for (std::size_t i = 0; block.size() < size; ++i)
    {
        block += "some text of no interest" + PATTERN.substr(0, i % PATTERN.size());
    }
    block.resize(size - PATTERN.size() / 2 + 1);
    return block + PATTERN.substr(0, PATTERN.size() / 2 - 1);
}

/// Read-only zeros, as many as wanted, with a text at their end.
class ZerosBefore
{
public:
    ZerosBefore(std::size_t zeros, const std::string& text) : m_size(zeros + text.size())
    {
        void* const memory = ::mmap(nullptr, m_size, PROT_READ, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
        if (memory == MAP_FAILED)
        {
            return;
        }
        m_bytes = static_cast<char*>(memory);
        const auto page = static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
        const std::size_t writable = zeros / page * page;
        if (::mprotect(m_bytes + writable, m_size - writable, PROT_READ | PROT_WRITE) == 0)
        {
            std::memcpy(m_bytes + zeros, text.data(), text.size());
        }
    }
    ZerosBefore(const ZerosBefore&) = delete;
    ZerosBefore& operator=(const ZerosBefore&) = delete;
    ~ZerosBefore()
    {
        if (m_bytes != nullptr)
        {
            ::munmap(m_bytes, m_size);
        }
    }

    char* begin() const { return m_bytes; }
    char* end() const { return m_bytes + m_size; }

private:
    std::size_t m_size;
    char* m_bytes = nullptr;
};

class MemoryBuffer : public std::streambuf
{
public:
    explicit MemoryBuffer(const ZerosBefore& memory) { setg(memory.begin(), memory.begin(), memory.end()); }
};

TEST(BoyerMooreSearchInLargeStreams, CountsHundredsOfMebibytesInTheMemoryOfThePattern)
{
    const std::uint64_t blocks = 6000;
    const std::string block = blockOfNearMisses(65536);
    RepeatedBlock buffer(block, blocks, PATTERN + "behind");
    std::istream in(&buffer);
    const Search search(PATTERN.data(), PATTERN.size());
    Counter before;
    bool found = false;
    const zol_test::Allocations taken = zol_test::allocationsOf([&] { found = search.searchStreamInto(in, before); });
    EXPECT_TRUE(found);
    EXPECT_EQ(before.bytes, blocks * block.size());
    EXPECT_LE(taken.bytes, 4 * PATTERN.size());

    Counter behind;
    EXPECT_FALSE(search.searchStreamInto(in, behind));
    EXPECT_EQ(behind.bytes, 6U);
}

TEST(BoyerMooreSearchInLargeStreams, CountsAnEpilogueWithoutAnyPatternInTheMemoryOfThePattern)
{
    const std::uint64_t blocks = 2000;
    const std::string block = blockOfNearMisses(65536);
    RepeatedBlock buffer(block, blocks, PATTERN.substr(0, 5));
    std::istream in(&buffer);
    const Search search(PATTERN.data(), PATTERN.size());
    Counter all;
    const zol_test::Allocations taken =
        zol_test::allocationsOf([&] { EXPECT_FALSE(search.searchStreamInto(in, all)); });
    EXPECT_EQ(all.bytes, blocks * block.size() + 5);
    EXPECT_LE(taken.bytes, 4 * PATTERN.size());
}

TEST(BoyerMooreSearchInLargeStreams, SearchesABufferThatHoldsMoreThanAnIntCanCount)
{
    const std::size_t zeros = 2304UL << 20U;
    const ZerosBefore memory(zeros, PATTERN + "behind");
    ASSERT_NE(memory.begin(), nullptr);
    MemoryBuffer buffer(memory);
    std::istream in(&buffer);
    Counter before;
    EXPECT_TRUE(Search(PATTERN.data(), PATTERN.size()).searchStreamInto(in, before));
    EXPECT_EQ(before.bytes, zeros);
    std::string rest;
    in >> rest;
    EXPECT_EQ(rest, "behind");
}

} // namespace
