#pragma once

#include <string>

namespace zolget
{

/// Shows a message on standard error, safe for a terminal. An empty one is not shown.
void report(const std::string& message);

} // namespace zolget
