#pragma once

#include "Options.hpp"

namespace zolget
{

/// Sends the request and writes the response as the command line asks. Throws Failure.
void transfer(const Options& options);

} // namespace zolget
