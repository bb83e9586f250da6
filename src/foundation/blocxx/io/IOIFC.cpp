#include "blocxx/IOIFC.hpp"

namespace blocxx
{

IOIFC::~IOIFC() = default;

} // namespace blocxx
