#pragma once

namespace zolget
{

/// Makes sure that the descriptors 0 to 2 are taken, so that no file and no connection is mistaken for a standard
/// stream. One that was closed accepts no data: using it fails as before.
void occupyStandardStreams();

} // namespace zolget
