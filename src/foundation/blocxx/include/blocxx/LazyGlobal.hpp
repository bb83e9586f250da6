#pragma once

#include "blocxx/Exception.hpp"

#include <atomic>
#include <mutex>

namespace blocxx
{

/// Makes the object of a LazyGlobal out of its datum.
template <class T, class Pod>
struct LazyGlobalDefaultFactory
{
    /// An object made of `datum`. The caller owns it.
    static T* create(const Pod& datum) { return new T(datum); }
};

/// Makes the object of a LazyGlobal without looking at its datum.
template <class T>
struct LazyGlobalDefaultConstructor
{
    /// A default-constructed object. The caller owns it.
    static T* create(int) { return new T(); }
};

/// A global object that is created when it is first used, so that no order of static initialisation can hurt it. It is
/// itself initialised statically: `GlobalString NAME = BLOCXX_GLOBAL_STRING_INIT("text");`.
///
/// If the creation throws, the exception comes out of that use, and the next use tries again. A use after the
/// destructor creates the object once more; that one is never deleted. All uses are safe from any thread.
template <class T, class Pod, class Factory = LazyGlobalDefaultFactory<T, Pod>>
struct LazyGlobal
{
    ~LazyGlobal()
    {
        try
        {
            delete m_instance.exchange(nullptr);
        }
        catch (...)
        {
            ExceptionDetail::logCurrentException("Caught exception in the LazyGlobal destructor");
        }
    }

    /// The object, which is created now if it is not there.
    T& get() const
    {
        T* const instance = m_instance.load(std::memory_order_acquire);
        return instance != nullptr ? *instance : create();
    }

    operator T&() { return get(); }
    operator const T&() const { return get(); }

    /// Assigns to the object. Not while another thread uses it.
    template <class Value>
    LazyGlobal& operator=(const Value& value)
    {
        get() = value;
        return *this;
    }

    /// @name Public only so that the object can be initialised as an aggregate
    /// @{
    Pod m_datum;
    mutable std::atomic<T*> m_instance{nullptr};
    mutable std::mutex m_mutex{};
    /// @}

private:
    T& create() const
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        T* instance = m_instance.load(std::memory_order_relaxed);
        if (instance == nullptr)
        {
            instance = Factory::create(m_datum);
            m_instance.store(instance, std::memory_order_release);
        }
        return *instance;
    }
};

/// A global object that is default-constructed when it is first used; initialised by `BLOCXX_LAZY_GLOBAL_INIT(0)`.
template <class T>
struct DefaultConstructedLazyGlobal
{
    /// The global itself.
    using type = LazyGlobal<T, int, LazyGlobalDefaultConstructor<T>>;
};

} // namespace blocxx

/// Initialises a LazyGlobal with what its object is made of.
#define BLOCXX_LAZY_GLOBAL_INIT(datum)                                                                                 \
    {                                                                                                                  \
        (datum)                                                                                                        \
    }
