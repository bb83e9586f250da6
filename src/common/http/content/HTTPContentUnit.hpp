#pragma once

#include "UnitLog.hpp"

namespace ZOLNS2::MIME
{

namespace HTTPContentUnit
{

/// What the files of this unit put into exceptions and log records.
inline constexpr const char* SOURCE_UNIT = "HTTPContent";
inline blocxx::GlobalString COMPONENT_NAME = BLOCXX_GLOBAL_STRING_INIT("zol.common.http.content");
inline constexpr LogUnit LOG_UNIT{SOURCE_UNIT, "HTTP Content: ", COMPONENT_NAME};

} // namespace HTTPContentUnit

using namespace HTTPContentUnit;

} // namespace ZOLNS2::MIME
