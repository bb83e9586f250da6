#pragma once

#include "blocxx/Format.hpp"
#include "blocxx/GlobalString.hpp"
#include "blocxx/Logger.hpp"

#include <cerrno>

namespace ZOLNS2
{

/// Puts errno back when the scope ends, so that a log statement never changes what its caller sees.
class ErrnoKeeper
{
public:
    ErrnoKeeper() : m_errno(errno) {}
    ~ErrnoKeeper() { errno = m_errno; }
    ErrnoKeeper(const ErrnoKeeper&) = delete;
    ErrnoKeeper& operator=(const ErrnoKeeper&) = delete;

private:
    int m_errno;
};

} // namespace ZOLNS2

/// Logs through `logger` when its level admits LEVEL (ERROR, DEBUG, DEBUG2, DEBUG3); otherwise the message expression
/// is not evaluated. The source unit that uses it has SOURCE_UNIT (its name, as records and exceptions carry it) and
/// MESSAGE_PREFIX in scope.
#define ZOL_LOG(logger, LEVEL, message)                                                                                \
    do                                                                                                                 \
    {                                                                                                                  \
        if ((logger).getLogLevel() >= ::blocxx::E_##LEVEL##_LEVEL)                                                     \
        {                                                                                                              \
            const ::ZOLNS2::ErrnoKeeper errnoKeeper;                                                                   \
            (logger).logMessage(::blocxx::Logger::STR_##LEVEL##_CATEGORY,                                              \
                                ::blocxx::String(MESSAGE_PREFIX) + (message), SOURCE_UNIT, __LINE__,                   \
                                __PRETTY_FUNCTION__);                                                                  \
        }                                                                                                              \
    } while (false)
