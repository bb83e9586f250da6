#pragma once

#include "UnitLog.hpp"

namespace ZOLNS2::HTTP::HTTPResponseUnit
{

/// What the files of this unit put into exceptions and log records.
inline constexpr const char* SOURCE_UNIT = "HTTPResponse";
inline constexpr const char* MESSAGE_PREFIX = "response: ";
inline blocxx::GlobalString COMPONENT_NAME = BLOCXX_GLOBAL_STRING_INIT("zol.common.http.response");

} // namespace ZOLNS2::HTTP::HTTPResponseUnit
