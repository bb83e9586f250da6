#pragma once

#include "zol/mime/Content.hpp"

#include <iosfwd>

namespace ZOLNS2::MIME
{

/// Writes what is left of a reading of `content` to `out`.
/// @return whether `out` took it all
bool writeContent(const ContentRef& content, const ContentStreamStateRef& state, std::ostream& out);

} // namespace ZOLNS2::MIME
