#pragma once

#include "blocxx/String.hpp"

namespace blocxx
{

/// The reasons in the thread's OpenSSL error queue, oldest first, which is empty afterwards.
String takeOpenSSLErrors();

} // namespace blocxx
