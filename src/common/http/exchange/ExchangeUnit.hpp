#pragma once

#include "UnitLog.hpp"

namespace ZOLNS2::HTTP::ExchangeUnit
{

/// What the files of this unit put into exceptions and log records.
inline constexpr const char* SOURCE_UNIT = "HTTPExchange";
inline blocxx::GlobalString COMPONENT_NAME = BLOCXX_GLOBAL_STRING_INIT("zol.common.http.exchange");
inline constexpr LogUnit LOG_UNIT{SOURCE_UNIT, "Exchange: ", COMPONENT_NAME};

} // namespace ZOLNS2::HTTP::ExchangeUnit
