#include "blocxx/SocketException.hpp"

namespace blocxx
{

BLOCXX_DEFINE_EXCEPTION_WITH_ID(Socket)

} // namespace blocxx
