#pragma once

#include <string>

namespace zol_faults
{

/// What KeptBlocks::end() told, without the blocks that OpenSSL itself is known to lose when memory runs out.
std::string unknownLeaks(const std::string& traces);

} // namespace zol_faults
