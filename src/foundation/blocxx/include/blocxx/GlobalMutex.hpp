#pragma once

#include "blocxx/LazyGlobal.hpp"

#include <mutex>

namespace blocxx
{

/// A global mutex that can be locked at any time of a process's life: `std::lock_guard lock(mutex.get());`.
using GlobalMutex = DefaultConstructedLazyGlobal<std::mutex>::type;

} // namespace blocxx

/// Initialises a GlobalMutex.
#define BLOCXX_GLOBAL_MUTEX_INIT() BLOCXX_LAZY_GLOBAL_INIT(0)
