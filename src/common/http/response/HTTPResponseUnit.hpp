#pragma once

#include "UnitLog.hpp"

namespace ZOLNS2::HTTP::HTTPResponseUnit
{

/// What the files of this unit put into exceptions and log records.
inline constexpr const char* SOURCE_UNIT = "HTTPResponse";
inline blocxx::GlobalString COMPONENT_NAME = BLOCXX_GLOBAL_STRING_INIT("zol.common.http.response");
inline constexpr LogUnit LOG_UNIT{SOURCE_UNIT, "response: ", COMPONENT_NAME};

} // namespace ZOLNS2::HTTP::HTTPResponseUnit
