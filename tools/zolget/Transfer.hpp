#pragma once

#include "Options.hpp"

namespace zolget
{

/// Does what the command line asks for. Throws Failure.
void transfer(const Options& options);

} // namespace zolget
