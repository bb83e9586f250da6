#pragma once

namespace zolget
{

/// Has the library write its log records to standard error, safe for a terminal: with a verbosity of 2 those up to
/// DEBUG2, with a higher one all of them, with a lower one none.
void startLog(int verbosity);

} // namespace zolget
