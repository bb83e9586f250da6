#pragma once

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <functional>
#include <istream>
#include <new>
#include <random>
#include <streambuf>
#include <string>
#include <string_view>
#include <utility>

namespace parsing_test
{

/// Memory that ends at a page without read permission: whoever reads beyond it ends the process.
class GuardedMemory
{
public:
    explicit GuardedMemory(std::size_t size)
    {
        const auto page = static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
        m_readable = (std::max<std::size_t>(size, 1) + page - 1) / page * page;
        m_size = m_readable + page;
        void* const mapped = ::mmap(nullptr, m_size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (mapped == MAP_FAILED || ::mprotect(static_cast<char*>(mapped) + m_readable, page, PROT_NONE) != 0)
        {
            throw std::bad_alloc();
        }
        m_bytes = static_cast<char*>(mapped);
    }
    ~GuardedMemory() { ::munmap(m_bytes, m_size); }
    GuardedMemory(const GuardedMemory&) = delete;
    GuardedMemory& operator=(const GuardedMemory&) = delete;

    /// Where `size` bytes begin that end at the guarding page.
    char* last(std::size_t size) const { return m_bytes + m_readable - size; }

    /// A copy of a text that ends at the guarding page.
    std::string_view place(std::string_view text) const
    {
        char* const begin = last(text.size());
        std::copy(text.begin(), text.end(), begin);
        return {begin, text.size()};
    }

private:
    char* m_bytes;
    std::size_t m_readable;
    std::size_t m_size;
};

/// How long the next piece is. It is cut to what is left.
using PieceLength = std::function<std::size_t()>;

inline PieceLength piecesOf(std::size_t length)
{
    return [length] { return length; };
}

/// Pieces of 1 to 9 bytes, the same ones for the same seed.
inline PieceLength randomPieces(unsigned seed)
{
    return [random = std::minstd_rand(seed)]() mutable { return 1 + random() % 9; };
}

/// A stream buffer that shows a text in pieces, each of which ends at a page without read permission.
class GuardedInput : public std::streambuf
{
public:
    GuardedInput(std::string text, PieceLength length)
        : m_text(std::move(text)), m_length(std::move(length)), m_memory(m_text.size())
    {
    }

    std::string left() const
    {
        return std::string(gptr(), static_cast<std::size_t>(egptr() - gptr())) + m_text.substr(m_shown);
    }

protected:
    int_type underflow() override
    {
        if (m_shown == m_text.size())
        {
            return traits_type::eof();
        }
        const std::string_view piece = std::string_view(m_text).substr(m_shown, m_length());
        m_shown += piece.size();
        char* const begin = m_memory.last(piece.size());
        std::copy(piece.begin(), piece.end(), begin);
        setg(begin, begin, begin + piece.size());
        return traits_type::to_int_type(*begin);
    }

private:
    const std::string m_text;
    const PieceLength m_length;
    const GuardedMemory m_memory;
    std::size_t m_shown = 0;
};

} // namespace parsing_test
