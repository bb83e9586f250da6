#pragma once

#include "blocxx/SSLException.hpp"
#include "blocxx/String.hpp"

namespace blocxx
{

[[noreturn]] inline void throwSSL(const String& message)
{
    BLOCXX_THROW(SSLException, message.c_str());
}

} // namespace blocxx
