#pragma once

#include "blocxx/String.hpp"
#include "blocxx/Timeout.hpp"

namespace blocxx
{

/// The time-out as the texts of exceptions name it: "2.5 seconds", "the moment 1700000000 seconds after the epoch".
String describeLimit(const Timeout& timeout);

} // namespace blocxx
