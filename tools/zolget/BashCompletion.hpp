#pragma once

#include <iosfwd>

namespace zolget
{

/// Writes what bash reads to complete the options of zolget, from the table of options.
void writeBashCompletion(std::ostream& out);

} // namespace zolget
