#include "blocxx/NULLReferenceException.hpp"

namespace blocxx
{

BLOCXX_DEFINE_EXCEPTION_WITH_ID(NULLReference)

} // namespace blocxx
