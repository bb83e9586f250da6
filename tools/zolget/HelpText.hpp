#pragma once

#include <iosfwd>

namespace zolget
{

/// Writes what --help shows, from the tables of options and exit statuses.
void writeHelp(std::ostream& out);

} // namespace zolget
