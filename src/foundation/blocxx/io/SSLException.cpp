#include "blocxx/SSLException.hpp"

namespace blocxx
{

BLOCXX_DEFINE_EXCEPTION_WITH_BASE_AND_ID(SSL, SocketException)

} // namespace blocxx
