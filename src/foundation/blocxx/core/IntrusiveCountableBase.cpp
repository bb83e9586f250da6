#include "blocxx/IntrusiveCountableBase.hpp"

#include "blocxx/internal/CancellationOff.hpp"

namespace blocxx
{

IntrusiveCountableBase::~IntrusiveCountableBase() noexcept(false) = default;

void IntrusiveCountableBase::destroy(IntrusiveCountableBase* object)
{
    // References are dropped in destructors, where the unwinding of a cancelled thread would end the process.
    const Internal::CancellationOff destroying;
    delete object;
}

} // namespace blocxx
