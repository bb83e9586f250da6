#pragma once

#include "blocxx/Array.hpp"
#include "blocxx/BLOCXX_config.h"
#include "blocxx/LazyGlobal.hpp"
#include "blocxx/String.hpp"

namespace blocxx
{

/// Makes the array of a GlobalStringArray: the words of the text.
struct GlobalStringArrayFactory
{
    /// The words of `text`. The caller owns the array.
    static StringArray* create(const char* text) { return new StringArray(String(text).tokenize()); }
};

/// A global array of strings that is created when it is first used.
using GlobalStringArray = LazyGlobal<StringArray, const char* const, GlobalStringArrayFactory>;

} // namespace blocxx

/// Initialises a GlobalStringArray with the words of a text.
#define BLOCXX_GLOBAL_STRING_ARRAY_INIT(text) BLOCXX_LAZY_GLOBAL_INIT(text)
