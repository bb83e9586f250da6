#include "blocxx/IntrusiveCountableBase.hpp"

namespace blocxx
{

IntrusiveCountableBase::~IntrusiveCountableBase() noexcept(false) = default;

} // namespace blocxx
