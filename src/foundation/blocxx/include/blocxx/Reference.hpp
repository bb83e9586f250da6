#pragma once

#include "blocxx/Exception.hpp"
#include "blocxx/ReferenceHelpers.hpp"

#include <memory>
#include <type_traits>
#include <typeinfo>
#include <utility>

namespace blocxx
{

namespace ReferenceDetail
{

/// Logs what the destructor of a referenced object threw; to be called inside the handler.
BLOCXX_COMMON_API void logThrowingDestructor(const std::type_info& reference, const std::type_info& object) noexcept;

/// Deletes an object; what its destructor throws is logged and goes no further.
template <class Reference, class T>
void destroy([[maybe_unused]] T* object) noexcept
{
#ifdef __cpp_rtti // The error of BLOCXX_config.h is to be the only one.
    const std::type_info* objectType = &typeid(T);
    if constexpr (std::is_polymorphic_v<T>)
    {
        if (object != nullptr)
        {
            objectType = &typeid(*object);
        }
    }
    try
    {
        delete object;
    }
    catch (...)
    {
        logThrowingDestructor(typeid(Reference), *objectType);
    }
#endif
}

} // namespace ReferenceDetail

/// A counted pointer to any object. Dereferencing a null reference throws NULLReferenceException. Threads: different
/// references to one object may be used on different threads; one reference is used by one thread at a time.
///
/// @code
/// const blocxx::Reference<std::ostream> out(new std::ofstream("log"));
/// *out << "shared by all copies of the handle";
/// @endcode
template <class T>
class Reference
{
    /// Can be tested, and compared with a null pointer, but does not turn into a number.
    using SafeBool = std::shared_ptr<T> Reference::*;

public:
    using element_type = T;

    Reference() noexcept = default;
    /// Takes ownership of `object`, which may be null.
    explicit Reference(T* object) : m_object(own(object)) {}

    template <class U>
    Reference(const Reference<U>& other) noexcept : m_object(other.m_object)
    {
    }

    /// Takes ownership of `object`, which may be null.
    Reference& operator=(T* object)
    {
        Reference(object).swap(*this);
        return *this;
    }

    /// The object, or null.
    T* getPtr() const noexcept { return m_object.get(); }

    T& operator*() const
    {
        ReferenceHelpers::checkNull(m_object.get());
        return *m_object;
    }

    T* operator->() const
    {
        ReferenceHelpers::checkNull(m_object.get());
        return m_object.get();
    }

    operator SafeBool() const noexcept { return m_object ? &Reference::m_object : nullptr; }
    bool operator!() const noexcept { return !m_object; }

    void swap(Reference& other) noexcept { m_object.swap(other.m_object); }

private:
    template <class U>
    friend class Reference;

    static std::shared_ptr<T> own(T* object)
    {
        return object == nullptr ? nullptr : std::shared_ptr<T>(object, &ReferenceDetail::destroy<Reference, T>);
    }

    std::shared_ptr<T> m_object;
};

template <class T, class U>
bool operator==(const Reference<T>& left, const Reference<U>& right) noexcept
{
    return left.getPtr() == right.getPtr();
}

template <class T, class U>
bool operator!=(const Reference<T>& left, const Reference<U>& right) noexcept
{
    return left.getPtr() != right.getPtr();
}

} // namespace blocxx
