#pragma once

#include "blocxx/String.hpp"
#include "zol/http/ExchangeOptions.hpp"
#include "zol/http/Request.hpp"

namespace ZOLNS2::HTTP
{

/// The header lines, each with its line end, that the options add to a request.
blocxx::String extraFields(const Request& request, const ExchangeOptions& options, bool hasContent);

} // namespace ZOLNS2::HTTP
