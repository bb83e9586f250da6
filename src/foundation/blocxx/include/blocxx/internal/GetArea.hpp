#pragma once

#include <algorithm>
#include <cstddef>
#include <limits>
#include <streambuf>
#include <string_view>

namespace blocxx::Internal
{

/// Internal to the libraries of this project; not an interface for programs.
///
/// The get area of any stream buffer: the bytes that it has read from its device and not yet given to a reader.
/// Single-character reads take these without a virtual call, so reading them in place is the same to the buffer.
///
/// Nothing is of this type: the derivation is what allows it to name the protected members of std::streambuf.
class GetArea : private std::streambuf
{
public:
    GetArea() = delete;

    /// Valid until the buffer is read from again.
    static std::string_view of(const std::streambuf& buffer)
    {
        const char* const begin = (buffer.*&GetArea::gptr)();
        const char* const end = (buffer.*&GetArea::egptr)();
        return {begin, static_cast<std::size_t>(end - begin)};
    }

    /// Takes the first `count` bytes as read; there are at least as many.
    static void consume(std::streambuf& buffer, std::size_t count)
    {
        while (count > 0)
        {
            const auto step = static_cast<int>(std::min<std::size_t>(count, std::numeric_limits<int>::max()));
            (buffer.*&GetArea::gbump)(step);
            count -= static_cast<std::size_t>(step);
        }
    }
};

} // namespace blocxx::Internal
