#pragma once

/// The header under the name that users of the interface include.
#include "openwbem/OW_HTTPChunkedIStream.hpp"
