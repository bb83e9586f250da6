#pragma once

#include "blocxx/BLOCXX_config.h"

namespace blocxx
{

/// How verbose a logger is. A level admits a category when it is at least the category's own level.
enum ELogLevel
{
    E_NONE_LEVEL,
    E_FATAL_ERROR_LEVEL,
    E_ERROR_LEVEL,
    E_WARNING_LEVEL,
    E_INFO_LEVEL,
    E_DEBUG_LEVEL,
    E_DEBUG2_LEVEL,
    E_DEBUG3_LEVEL,
    E_ALL_LEVEL
};

} // namespace blocxx
