#pragma once

#include "blocxx/COWReferenceClone.hpp"
#include "blocxx/ReferenceHelpers.hpp"

#include <atomic>
#include <cstdint>
#include <memory>
#include <utility>

namespace blocxx
{

namespace COWReferenceDetail
{

/// The number of references that share an object.
struct Count
{
    std::atomic<long> owners{1};
    void (*const deleteAll)(Count*); ///< the count and the object
};

} // namespace COWReferenceDetail

/// A shared pointer that copies on write: the non-const `*` and `->` first make this reference the only owner of the
/// object, by COWReferenceClone if it is shared; the const ones never do. Dereferencing a null reference throws
/// NULLReferenceException.
///
/// What a non-const accessor returned stays bound to that object: if the reference is copied afterwards, writing
/// through it is seen by both.
///
/// What the object's destructor throws is dropped. Threads: references that share an object may be used on different
/// threads; one reference is modified by one thread at a time.
///
/// @code
/// const blocxx::COWReference<std::vector<int>> first(new std::vector<int>(3));
/// blocxx::COWReference<std::vector<int>> second = first; // shares the vector
/// second->push_back(4);                                  // copies it first
/// @endcode
template <class T>
class COWReference
{
    /// Can be tested, and compared with a null pointer, but does not turn into a number.
    using SafeBool = T* COWReference::*;

public:
    using element_type = T;

    COWReference() noexcept = default;

    /// Takes ownership of `object`, which may be null.
    explicit COWReference(T* object)
    {
        std::unique_ptr<T> owner(object);
        if (object != nullptr)
        {
            m_count = new Separate(object);
        }
        m_object = owner.release();
    }

    /// Makes the object in one block with its count: one allocation instead of two.
    template <class... Arguments>
    static COWReference make(Arguments&&... arguments)
    {
        auto* const block = new Block(std::forward<Arguments>(arguments)...);
        COWReference made;
        made.m_count = block;
        made.m_object = &block->object;
        return made;
    }

    COWReference(const COWReference& other) noexcept : m_count(other.m_count), m_object(other.m_object) { addShare(); }
    COWReference(COWReference&& other) noexcept
        : m_count(std::exchange(other.m_count, nullptr)), m_object(std::exchange(other.m_object, nullptr))
    {
    }

    template <class U>
    COWReference(const COWReference<U>& other) noexcept : m_count(other.m_count), m_object(other.m_object)
    {
        addShare();
    }

    ~COWReference()
    {
        if (m_count != nullptr && m_count->owners.fetch_sub(1, std::memory_order_acq_rel) == 1)
        {
            deleteAll(m_count);
        }
    }

    COWReference& operator=(const COWReference& other) noexcept // NOLINT(bugprone-unhandled-self-assignment)
    {
        COWReference(other).swap(*this);
        return *this;
    }

    COWReference& operator=(COWReference&& other) noexcept
    {
        COWReference(std::move(other)).swap(*this);
        return *this;
    }

    /// Takes ownership of `object`, which may be null.
    COWReference& operator=(T* object)
    {
        COWReference(object).swap(*this);
        return *this;
    }

    /// The object, possibly shared, or null.
    const T* getPtr() const noexcept { return m_object; }

    const T& operator*() const
    {
        ReferenceHelpers::checkNull(m_object);
        return *m_object;
    }

    const T* operator->() const
    {
        ReferenceHelpers::checkNull(m_object);
        return m_object;
    }

    T& operator*()
    {
        ReferenceHelpers::checkNull(m_object);
        unshare();
        return *m_object;
    }

    T* operator->()
    {
        ReferenceHelpers::checkNull(m_object);
        unshare();
        return m_object;
    }

    operator SafeBool() const noexcept { return m_object != nullptr ? &COWReference::m_object : nullptr; }
    bool operator!() const noexcept { return m_object == nullptr; }

    void swap(COWReference& other) noexcept
    {
        std::swap(m_count, other.m_count);
        std::swap(m_object, other.m_object);
    }

private:
    template <class U>
    friend class COWReference;

    using Count = COWReferenceDetail::Count;

    struct Block : Count
    {
        template <class... Arguments>
        explicit Block(Arguments&&... arguments)
            : Count{1, [](Count* count) { delete static_cast<Block*>(count); }},
              object(std::forward<Arguments>(arguments)...)
        {
        }

        T object;
    };

    struct Separate : Count
    {
        explicit Separate(T* owned) : Count{1, &deleteBoth}, object(owned) {}

        static void deleteBoth(Count* count)
        {
            const std::unique_ptr<Separate> self(static_cast<Separate*>(count));
            delete self->object;
        }

        T* object;
    };

    void addShare() noexcept
    {
        if (m_count != nullptr)
        {
            m_count->owners.fetch_add(1, std::memory_order_relaxed);
        }
    }

    void unshare()
    {
        if (m_count->owners.load(std::memory_order_acquire) != 1)
        {
            cloneShared();
        }
    }

    void cloneShared()
    {
        COWReference clone = cloned();
        if (m_count->owners.fetch_sub(1, std::memory_order_acq_rel) == 1)
        {
            // All other owners have gone since the object was found to be shared: this reference is the only one after
            // all.
            m_count->owners.store(1, std::memory_order_relaxed);
            return;
        }
        m_count = nullptr;
        m_object = nullptr;
        swap(clone);
    }

    COWReference cloned() const
    {
        if constexpr (COWReferenceDetail::IsContainer<T>::value)
        {
            return make(*m_object);
        }
        else
        {
            return COWReference(COWReferenceClone(m_object));
        }
    }

    static void deleteAll(Count* count) noexcept
    {
        try
        {
            count->deleteAll(count);
        }
        catch (...) // NOLINT(bugprone-empty-catch): a handle's destructor reports nothing.
        {
        }
    }

    Count* m_count = nullptr; // null together with m_object
    T* m_object = nullptr;
};

/// @name Comparison of the addresses of the shared objects, not of their values
/// @{
template <class T, class U>
bool operator==(const COWReference<T>& left, const COWReference<U>& right) noexcept
{
    return left.getPtr() == right.getPtr();
}

template <class T, class U>
bool operator!=(const COWReference<T>& left, const COWReference<U>& right) noexcept
{
    return left.getPtr() != right.getPtr();
}

template <class T>
bool operator<(const COWReference<T>& left, const COWReference<T>& right) noexcept
{
    return reinterpret_cast<std::uintptr_t>(left.getPtr()) < reinterpret_cast<std::uintptr_t>(right.getPtr());
}
/// @}

} // namespace blocxx
