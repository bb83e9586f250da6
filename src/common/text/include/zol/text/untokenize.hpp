#pragma once

#include "blocxx/Array.hpp"
#include "blocxx/String.hpp"
#include "zol/Export.hpp"

namespace ZOLNS2
{

/// Joins the words in order, with `separator` between each two. An empty word keeps its separators.
///
/// @code
/// const blocxx::String line = ZOLNS2::untokenize(words, " "); // "HTTP/1.1 200 OK"
/// @endcode
ZOL_API blocxx::String untokenize(const blocxx::Array<blocxx::String>& words, const blocxx::String& separator);

} // namespace ZOLNS2
