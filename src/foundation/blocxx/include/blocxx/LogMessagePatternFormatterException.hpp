#pragma once

#include "blocxx/BLOCXX_config.h"
#include "blocxx/Exception.hpp"

namespace blocxx
{

/// Error codes of LogMessagePatternFormatterException.
enum ELogMessagePatternError
{
    E_DIGIT_EXPECTED,          ///< something other than a digit after the dot
    E_POSITIVE_INTEGER_NEEDED, ///< the option of %c is not a number
    E_UNSUPPORTED_CONVERSION,  ///< an unknown letter
    E_OPTION_NOT_CLOSED        ///< an opening brace without its closing one
};

/// Thrown for a pattern that cannot be understood; subclass id -48.
BLOCXX_DECLARE_APIEXCEPTION(LogMessagePatternFormatter, BLOCXX_COMMON_API)

} // namespace blocxx
