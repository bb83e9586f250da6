#pragma once

#include <iosfwd>

namespace zolget
{

/// Copies a manual page, in which the lines "@OPTIONS@" and "@EXIT_STATUS@" stand for what the tables of options and
/// exit statuses say.
void writeManualPage(std::istream& source, std::ostream& out);

} // namespace zolget
