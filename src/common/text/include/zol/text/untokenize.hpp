#pragma once

#include "blocxx/Array.hpp"
#include "blocxx/String.hpp"
#include "zol/Export.hpp"

namespace ZOLNS2
{

/// The words in order, with `separator` between each two. Nothing is skipped: an empty word keeps its separators.
ZOL_API blocxx::String untokenize(const blocxx::Array<blocxx::String>& words, const blocxx::String& separator);

} // namespace ZOLNS2
