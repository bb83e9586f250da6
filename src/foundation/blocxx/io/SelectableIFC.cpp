#include "blocxx/SelectableIFC.hpp"

namespace blocxx
{

SelectableIFC::~SelectableIFC() = default;

} // namespace blocxx
