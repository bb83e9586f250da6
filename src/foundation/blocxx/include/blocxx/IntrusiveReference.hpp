#pragma once

#include "blocxx/Exception.hpp"
#include "blocxx/IntrusiveCountableBase.hpp"
#include "blocxx/ReferenceHelpers.hpp"

#include <cstdint>
#include <utility>

namespace blocxx
{

/// A counted pointer to an object that holds its own count: one pointer wide, and no allocation of its own. The count
/// is kept by `IntrusiveReferenceAddRef(T*)` and `IntrusiveReferenceRelease(T*)`, found by argument lookup; classes
/// derived from IntrusiveCountableBase have them.
///
/// Dereferencing a null reference throws NULLReferenceException. The release of the last reference is not a
/// cancellation point. Threads: different references to one object may be used on different threads; one reference is
/// used by one thread at a time.
///
/// @code
/// const blocxx::IntrusiveReference<Shape> shape(new Circle); // class Shape : public IntrusiveCountableBase
/// if (const auto circle = shape.cast_to<Circle>())
/// {
///     circle->draw();
/// }
/// @endcode
template <class T>
class IntrusiveReference
{
    /// Can be tested, and compared with a null pointer, but does not turn into a number.
    using SafeBool = T* IntrusiveReference::*;

public:
    using element_type = T;

    IntrusiveReference() noexcept = default;

    /// Refers to `object`, which may be null.
    /// @param add_ref false adopts a reference that has already been counted; on an object that nobody has counted yet
    ///                it leaves the count short by one, and the object is never deleted
    IntrusiveReference(T* object, bool add_ref = true) : m_object(object)
    {
        if (m_object != nullptr && add_ref)
        {
            IntrusiveReferenceAddRef(m_object);
        }
    }

    IntrusiveReference(const IntrusiveReference& other) : IntrusiveReference(other.m_object) {}
    IntrusiveReference(IntrusiveReference&& other) noexcept : m_object(std::exchange(other.m_object, nullptr)) {}

    template <class U>
    IntrusiveReference(const IntrusiveReference<U>& other) : IntrusiveReference(static_cast<T*>(other.getPtr()))
    {
    }

    /// Releases its share. What the object's destructor throws is logged and goes no further.
    ~IntrusiveReference()
    {
        if (m_object == nullptr)
        {
            return;
        }
        try
        {
            IntrusiveReferenceRelease(m_object);
        }
        catch (...)
        {
            ExceptionDetail::logCurrentException("Caught exception in the IntrusiveReference destructor");
        }
    }

    // NOLINTNEXTLINE(bugprone-unhandled-self-assignment): the copy holds the object while the old share is released.
    IntrusiveReference& operator=(const IntrusiveReference& other)
    {
        IntrusiveReference(other).swap(*this);
        return *this;
    }

    IntrusiveReference& operator=(IntrusiveReference&& other) noexcept
    {
        IntrusiveReference(std::move(other)).swap(*this);
        return *this;
    }

    template <class U>
    IntrusiveReference& operator=(const IntrusiveReference<U>& other)
    {
        IntrusiveReference(other).swap(*this);
        return *this;
    }

    IntrusiveReference& operator=(T* object)
    {
        IntrusiveReference(object).swap(*this);
        return *this;
    }

    /// The object, or null.
    T* getPtr() const noexcept { return m_object; }

    T& operator*() const
    {
        ReferenceHelpers::checkNull(m_object);
        return *m_object;
    }

    T* operator->() const
    {
        ReferenceHelpers::checkNull(m_object);
        return m_object;
    }

    operator SafeBool() const noexcept { return m_object != nullptr ? &IntrusiveReference::m_object : nullptr; }
    bool operator!() const noexcept { return m_object == nullptr; }

    void swap(IntrusiveReference& other) noexcept { std::swap(m_object, other.m_object); }

    /// The same object seen as a U; a null reference if it is not one.
    template <class U>
    IntrusiveReference<U> cast_to() const
    {
        return IntrusiveReference<U>(dynamic_cast<U*>(m_object));
    }

private:
    T* m_object = nullptr;
};

template <class T>
void swap(IntrusiveReference<T>& left, IntrusiveReference<T>& right) noexcept
{
    left.swap(right);
}

template <class T, class U>
bool operator==(const IntrusiveReference<T>& left, const IntrusiveReference<U>& right) noexcept
{
    return left.getPtr() == right.getPtr();
}

template <class T, class U>
bool operator!=(const IntrusiveReference<T>& left, const IntrusiveReference<U>& right) noexcept
{
    return left.getPtr() != right.getPtr();
}

template <class T>
bool operator==(const IntrusiveReference<T>& left, T* right) noexcept
{
    return left.getPtr() == right;
}

template <class T>
bool operator!=(const IntrusiveReference<T>& left, T* right) noexcept
{
    return left.getPtr() != right;
}

template <class T>
bool operator==(T* left, const IntrusiveReference<T>& right) noexcept
{
    return left == right.getPtr();
}

template <class T>
bool operator!=(T* left, const IntrusiveReference<T>& right) noexcept
{
    return left != right.getPtr();
}

/// Orders by address.
template <class T>
bool operator<(const IntrusiveReference<T>& left, const IntrusiveReference<T>& right) noexcept
{
    return reinterpret_cast<std::uintptr_t>(left.getPtr()) < reinterpret_cast<std::uintptr_t>(right.getPtr());
}

} // namespace blocxx
