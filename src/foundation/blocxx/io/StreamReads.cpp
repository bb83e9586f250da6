#include "blocxx/internal/StreamReads.hpp"

#include <algorithm>

namespace blocxx::Internal
{

namespace
{

/// Makes the get area of any stream buffer visible. `in_avail` does not tell it apart from bytes that have yet to be
/// fetched.
struct GetArea : std::streambuf
{
    static std::size_t size(const std::streambuf& buffer)
    {
        return static_cast<std::size_t>((buffer.*&GetArea::egptr)() - (buffer.*&GetArea::gptr)());
    }
};

} // namespace

std::size_t readRun(std::streambuf& buffer, char* to, std::size_t count)
{
    using Traits = std::streambuf::traits_type;

    std::size_t held = GetArea::size(buffer);
    if (held == 0)
    {
        if (Traits::eq_int_type(buffer.sgetc(), Traits::eof()))
        {
            return 0;
        }
        held = GetArea::size(buffer);
    }
    if (held > 0)
    {
        return static_cast<std::size_t>(buffer.sgetn(to, static_cast<std::streamsize>(std::min(held, count))));
    }
    const Traits::int_type read = buffer.sbumpc();
    if (Traits::eq_int_type(read, Traits::eof()))
    {
        return 0;
    }
    *to = Traits::to_char_type(read);
    return 1;
}

} // namespace blocxx::Internal
