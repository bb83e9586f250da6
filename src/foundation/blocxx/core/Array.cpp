#include "blocxx/Array.hpp"

#include "blocxx/Format.hpp"

namespace blocxx
{

BLOCXX_DEFINE_EXCEPTION_WITH_ID(OutOfBounds)

void ArrayDetail::throwOutOfBounds(std::size_t size, std::size_t index)
{
    BLOCXX_THROW(OutOfBoundsException, Format("Array Index out of bounds. size = %1, index = %2", size, index).c_str());
}

} // namespace blocxx
