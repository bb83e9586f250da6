#pragma once

#include "blocxx/Exception.hpp"
#include "zol/Export.hpp"

namespace ZOLNS2::MIME
{

/// What the content model throws. The error code is -1 unless the thrower gives another; the subclass id is -1.
BLOCXX_DECLARE_APIEXCEPTION(Content, ZOL_API)

} // namespace ZOLNS2::MIME
