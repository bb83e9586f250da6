#pragma once

#include <cstddef>
#include <streambuf>

namespace blocxx::Internal
{

/// Internal to the libraries of this project; not an interface for programs.
///
/// The put area of any stream buffer: the bytes that a writer has given to it and that it has not yet handed on.
///
/// Nothing is of this type; see GetArea.
class PutArea : private std::streambuf
{
public:
    PutArea() = delete;

    static std::size_t size(const std::streambuf& buffer)
    {
        return static_cast<std::size_t>((buffer.*&PutArea::pptr)() - (buffer.*&PutArea::pbase)());
    }
};

} // namespace blocxx::Internal
