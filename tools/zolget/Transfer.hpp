#pragma once

#include "ExitStatus.hpp"
#include "Options.hpp"

namespace zolget
{

/// Fetches the URLs in their order, and reports those that fail. Throws Failure for what concerns all of them.
/// @return the status of the first that failed
ExitStatus transfer(const Options& options);

} // namespace zolget
