#pragma once

#include "blocxx/String.hpp"
#include "zol/http/Headers.hpp"

namespace ZOLNS2::HTTP
{

/// The first transfer-encoding header; null if there is none.
const blocxx::String* transferEncodingOf(const Headers& headers);

/// Whether a body with that header, which may be null, goes through the chunked decoder.
bool isChunked(const blocxx::String* encoding);

} // namespace ZOLNS2::HTTP
