#include "blocxx/LogMessagePatternFormatterException.hpp"

namespace blocxx
{

BLOCXX_DEFINE_EXCEPTION_WITH_ID(LogMessagePatternFormatter)

} // namespace blocxx
