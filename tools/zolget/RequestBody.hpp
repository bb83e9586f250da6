#pragma once

#include "Deadline.hpp"
#include "Options.hpp"

#include "zol/mime/Content.hpp"

namespace zolget
{

/// The body that the options ask for; null when they ask for none. Throws Failure (LOCAL_FILE) for a file that cannot be
/// read or whose length is not known in advance, (USAGE) for a text that cannot be part of a body.
/// @param deadline for waiting for standard input
ZOLNS2::MIME::ContentRef makeRequestBody(const Options& options, const Deadline& deadline = Deadline());

} // namespace zolget
