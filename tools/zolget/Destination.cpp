#include "Destination.hpp"

namespace zolget
{

Destination::~Destination() = default;

} // namespace zolget
