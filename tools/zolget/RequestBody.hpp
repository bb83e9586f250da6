#pragma once

#include "Options.hpp"

#include "zol/mime/Content.hpp"

namespace zolget
{

/// The body that the options ask for; null when they ask for none. Throws Failure (LOCAL_FILE) for a file that cannot be
/// read or whose length is not known in advance, (USAGE) for a text that cannot be part of a body.
ZOLNS2::MIME::ContentRef makeRequestBody(const Options& options);

} // namespace zolget
