#pragma once

#include "blocxx/LazyGlobal.hpp"
#include "blocxx/String.hpp"

namespace blocxx
{

/// A global string that is created when it is first used.
using GlobalString = LazyGlobal<String, const char* const>;

} // namespace blocxx

/// Initialises a GlobalString with a text.
#define BLOCXX_GLOBAL_STRING_INIT(text) BLOCXX_LAZY_GLOBAL_INIT(text)
