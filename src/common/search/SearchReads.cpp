#include "zol/search/SearchReads.hpp"

#include <cxxabi.h>

#include <algorithm>
#include <istream>

namespace ZOLNS2::SearchDetail
{

namespace
{

/// Sets badbit and throws nothing, whatever the stream's exception mask.
void setBad(std::istream& in)
{
    try
    {
        in.setstate(std::ios_base::badbit);
    }
    catch (const std::ios_base::failure&) // NOLINT(bugprone-empty-catch)
    {
        // The bit is set all the same; the caller passes on what really happened.
    }
}

/// Whether `read` got what it wanted of the stream's buffer. If not, the stream has the state, and throws what, a
/// single-character read would leave and throw.
template <class Read>
bool attempt(std::istream& in, const Read& read)
{
    try
    {
        if (read(*in.rdbuf()))
        {
            return true;
        }
    }
    catch (const abi::__forced_unwind&)
    {
        throw; // a thread that is being cancelled may not be stopped here
    }
    catch (...)
    {
        setBad(in);
        if ((in.exceptions() & std::ios_base::badbit) != 0)
        {
            throw;
        }
        in.setstate(std::ios_base::failbit);
        return false;
    }
    in.setstate(std::ios_base::eofbit | std::ios_base::failbit);
    return false;
}

} // namespace

bool refill(std::istream& in)
{
    return attempt(in, [](std::streambuf& buffer) { return buffer.sgetc() != std::istream::traits_type::eof(); });
}

bool fill(std::istream& in, char* bytes, std::size_t size, std::size_t& filled)
{
    while (filled < size)
    {
        std::streamsize ready = in.rdbuf()->in_avail();
        if (ready <= 0)
        {
            if (!refill(in))
            {
                return false;
            }
            ready = in.rdbuf()->in_avail();
        }
        const auto missing = static_cast<std::streamsize>(size - filled);
        const std::streamsize wanted = ready > 0 ? std::min(ready, missing) : missing;
        const auto readWanted = [&](std::streambuf& buffer)
        {
            const std::streamsize got = buffer.sgetn(bytes + filled, wanted);
            filled += static_cast<std::size_t>(got);
            return got == wanted;
        };
        if (!attempt(in, readWanted))
        {
            return false;
        }
    }
    return true;
}

} // namespace ZOLNS2::SearchDetail
