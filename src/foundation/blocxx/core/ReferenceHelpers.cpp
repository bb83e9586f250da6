#include "blocxx/ReferenceHelpers.hpp"

#include "blocxx/NULLReferenceException.hpp"

namespace blocxx
{

void ReferenceHelpers::throwNULLException()
{
    throw NULLReferenceException("ReferenceHelpers", __LINE__, "NULL Reference dereferenced");
}

} // namespace blocxx
