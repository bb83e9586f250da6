#pragma once

#include "blocxx/BLOCXX_config.h"

/// Integers and reals of fixed width.
namespace blocxx
{

using UInt8 = unsigned char;   ///< 8 bits, unsigned
using Int8 = signed char;      ///< 8 bits, signed
using UInt16 = unsigned short; ///< 16 bits, unsigned
using Int16 = short;           ///< 16 bits, signed
using UInt32 = unsigned int;   ///< 32 bits, unsigned
using Int32 = int;             ///< 32 bits, signed
using UInt64 = unsigned long;  ///< 64 bits, unsigned
using Int64 = long;            ///< 64 bits, signed
using Real32 = float;          ///< 32 bits
using Real64 = double;         ///< 64 bits

static_assert(sizeof(UInt64) == 8, "64-bit integers are spelt `long`, as on every 64-bit Linux");

} // namespace blocxx
