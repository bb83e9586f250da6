#pragma once

#include "blocxx/ErrnoKeeper.hpp"
#include "blocxx/Format.hpp"
#include "blocxx/GlobalString.hpp"
#include "blocxx/Logger.hpp"

#include <memory>
#include <new>

namespace ZOLNS2
{

/// What the log records of one source unit have in common.
struct LogUnit
{
    const char* name;   ///< the unit, where a record and an exception carry a source file
    const char* prefix; ///< precedes every message
    const blocxx::GlobalString& component;
};

/// Where the records of one operation go. An operation makes one at its start and hands it to its helpers, so that
/// every record names the operation that was called, whoever writes it.
class OperationLog
{
public:
    /// @param signature of the operation, __PRETTY_FUNCTION__; not copied
    OperationLog(const LogUnit& unit, const char* signature) : m_unit(unit), m_signature(signature)
    {
        // Most programs log nothing, and a logger for each operation of a small message would be felt.
        if (!blocxx::LogAppender::nothingIsLogged())
        {
            // The appender reports its level here, and it may be the program's own.
            const blocxx::ErrnoKeeper errnoKeeper;
            // Logging fails nobody: without memory for it there are no records.
            m_logger.reset(new (std::nothrow) blocxx::Logger(unit.component));
        }
    }

    bool admits(blocxx::ELogLevel level) const { return m_logger && m_logger->getLogLevel() >= level; }

    /// Writes a record, whatever its level; for a level that is admitted.
    void write(const blocxx::String& category, const blocxx::String& message, int line) const
    {
        m_logger->logMessage(category, m_unit.prefix + message, m_unit.name, line, m_signature);
    }

    /// For what writes records of its own, which carry the same signature, at a level that is admitted.
    blocxx::Logger& logger() { return *m_logger; }
    const char* signature() const { return m_signature; }

private:
    const LogUnit& m_unit;
    const char* m_signature;
    std::unique_ptr<blocxx::Logger> m_logger; // null where nothing was logged anywhere
};

} // namespace ZOLNS2

/// Writes a record to `log`, an OperationLog, when its level admits LEVEL (ERROR, DEBUG, DEBUG2, DEBUG3); otherwise the
/// message expression is not evaluated. errno stays what it was. A record for which there is no memory is dropped.
#define ZOL_LOG(log, LEVEL, message)                                                                                   \
    do                                                                                                                 \
    {                                                                                                                  \
        if ((log).admits(::blocxx::E_##LEVEL##_LEVEL)) /* before anything else: most programs log nothing */           \
        {                                                                                                              \
            const ::blocxx::ErrnoKeeper errnoKeeper;                                                                   \
            BLOCXX_LOG_UNFAILING((log).write(::blocxx::Logger::STR_##LEVEL##_CATEGORY, (message), __LINE__))           \
        }                                                                                                              \
    } while (false)
