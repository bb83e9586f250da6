#include "blocxx/IntrusiveCountableBase.hpp"

#include "core/CancellationOff.hpp"

namespace blocxx
{

IntrusiveCountableBase::~IntrusiveCountableBase() noexcept(false) = default;

void IntrusiveCountableBase::destroy(IntrusiveCountableBase* object)
{
    // References are dropped in destructors, where the unwinding of a cancelled thread would end the process.
    const CancellationOff destroying;
    delete object;
}

} // namespace blocxx
