#pragma once

#include "blocxx/BLOCXX_config.h"

/// Integers and reals of fixed width.
namespace blocxx
{

using UInt8 = unsigned char;
using Int8 = signed char;
using UInt16 = unsigned short;
using Int16 = short;
using UInt32 = unsigned int;
using Int32 = int;
using UInt64 = unsigned long;
using Int64 = long;
using Real32 = float;
using Real64 = double;

static_assert(sizeof(UInt64) == 8, "64-bit integers are spelt `long`, as on every 64-bit Linux");

} // namespace blocxx
