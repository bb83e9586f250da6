#pragma once

#include "blocxx/BLOCXX_config.h"

#include <atomic>

namespace blocxx
{

class IntrusiveCountableBase;
inline void IntrusiveReferenceAddRef(IntrusiveCountableBase* object) noexcept;
inline void IntrusiveReferenceRelease(IntrusiveCountableBase* object);

/// The base of objects that IntrusiveReference counts. The count is atomic: references to one object may be copied and
/// released on any threads. Where a class inherits it more than once, it is inherited virtually.
///
/// The destructor may throw, so that a derived class may: the reference that drops the last share catches and logs it.
/// A class that also derives from something with a non-throwing virtual destructor (a standard stream, an Exception)
/// has to declare its own destructor `noexcept`.
// The destructor is protected because only the release of the last reference may call it, through this base.
// NOLINTNEXTLINE(cppcoreguidelines-virtual-class-destructor)
class BLOCXX_COMMON_API IntrusiveCountableBase
{
protected:
    IntrusiveCountableBase() noexcept = default;
    /// A copy of the object is a new object: nothing refers to it yet.
    IntrusiveCountableBase(const IntrusiveCountableBase&) noexcept {}
    /// Assigning a value leaves the count of references alone.
    IntrusiveCountableBase& operator=(const IntrusiveCountableBase&) noexcept { return *this; }
    virtual ~IntrusiveCountableBase() noexcept(false);

private:
    friend void IntrusiveReferenceAddRef(IntrusiveCountableBase* object) noexcept;
    friend void IntrusiveReferenceRelease(IntrusiveCountableBase* object);

    static void destroy(IntrusiveCountableBase* object);

    std::atomic<int> m_count{0};
};

/// Counts one more reference to `object`, which is not null.
inline void IntrusiveReferenceAddRef(IntrusiveCountableBase* object) noexcept
{
    object->m_count.fetch_add(1, std::memory_order_relaxed);
}

/// Counts one reference less to `object`, which is not null, and deletes it with the last one. Whatever the object's
/// destructor throws comes out.
inline void IntrusiveReferenceRelease(IntrusiveCountableBase* object)
{
    if (object->m_count.fetch_sub(1, std::memory_order_acq_rel) == 1)
    {
        IntrusiveCountableBase::destroy(object);
    }
}

} // namespace blocxx
