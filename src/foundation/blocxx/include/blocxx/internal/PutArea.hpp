#pragma once

#include <cstddef>
#include <streambuf>

namespace blocxx::Internal
{

/// Internal to the libraries of this project; not an interface for programs.
///
/// The put area of any stream buffer.
class PutArea : private std::streambuf
{
public:
    /// How many bytes it holds that have not been handed on.
    static std::size_t held(const std::streambuf& buffer)
    {
        // A member of the base named through this class gives access to it on any buffer.
        char* (std::streambuf::*const next)() const = &PutArea::pptr;
        char* (std::streambuf::*const begin)() const = &PutArea::pbase;
        return static_cast<std::size_t>((buffer.*next)() - (buffer.*begin)());
    }
};

} // namespace blocxx::Internal
