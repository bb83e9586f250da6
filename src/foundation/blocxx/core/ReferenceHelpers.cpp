#include "blocxx/ReferenceHelpers.hpp"

#include "blocxx/NULLReferenceException.hpp"

namespace blocxx
{

BLOCXX_DEFINE_EXCEPTION_WITH_ID(NULLReference)

void ReferenceHelpers::throwNULLException()
{
    BLOCXX_THROW(NULLReferenceException, "NULL Reference dereferenced");
}

} // namespace blocxx
