#pragma once

#include "FixedLengthContent.hpp"
#include "Options.hpp"

namespace zolget
{

/// The body of a request; null for none.
using RequestBodyRef = FixedLengthContentRef;

/// The body that the options ask for; null when they ask for none, or for an empty one. Throws Failure (LOCAL_FILE) for
/// a file that cannot be read or whose length is not known in advance.
RequestBodyRef makeRequestBody(const Options& options);

} // namespace zolget
