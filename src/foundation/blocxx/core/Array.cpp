#include "blocxx/Array.hpp"

#include <string>

namespace blocxx
{

BLOCXX_DEFINE_EXCEPTION_WITH_ID(OutOfBounds)

void ArrayDetail::throwOutOfBounds(std::size_t size, std::size_t index)
{
    const std::string text =
        "Array Index out of bounds. size = " + std::to_string(size) + ", index = " + std::to_string(index);
    throw OutOfBoundsException("Array", __LINE__, text.c_str());
}

} // namespace blocxx
