#include "blocxx/IOException.hpp"

namespace blocxx
{

BLOCXX_DEFINE_EXCEPTION_WITH_ID(IO)

} // namespace blocxx
