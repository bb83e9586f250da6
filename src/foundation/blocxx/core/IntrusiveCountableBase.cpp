#include "blocxx/IntrusiveCountableBase.hpp"

namespace blocxx
{

IntrusiveCountableBase::~IntrusiveCountableBase() noexcept(false) = default;

void IntrusiveCountableBase::destroy(IntrusiveCountableBase* object)
{
    delete object;
}

} // namespace blocxx
