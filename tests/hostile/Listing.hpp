#pragma once

#include <iosfwd>

namespace hostile
{

/// Writes a line of tab-separated fields for each row, for scripts: name, what the server does, both outcomes, and how
/// another client has to ask.
void writeTable(std::ostream& out);

} // namespace hostile
