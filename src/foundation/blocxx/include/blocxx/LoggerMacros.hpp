#pragma once

/// @file
/// The logging statements; included through Logger.hpp.

#include "blocxx/ErrnoKeeper.hpp"
#include "blocxx/internal/LogText.hpp"

#include <new>
#include <ostream>

/// @internal Statements that write records: without memory for a record it is dropped, and nothing else fails.
#define BLOCXX_LOG_UNFAILING(statements)                                                                               \
    try                                                                                                                \
    {                                                                                                                  \
        statements;                                                                                                    \
    }                                                                                                                  \
    catch (const ::std::bad_alloc&) /* dropped */                                                                      \
    {                                                                                                                  \
    }

/// @internal What all logging statements do where `condition` holds.
#define BLOCXX_LOG_WHERE(condition, statements)                                                                        \
    do                                                                                                                 \
    {                                                                                                                  \
        const ::blocxx::ErrnoKeeper blocxxErrnoKeeper;                                                                 \
        if (condition)                                                                                                 \
        {                                                                                                              \
            BLOCXX_LOG_UNFAILING(statements)                                                                           \
        }                                                                                                              \
    } while (false)

/// @internal Writes one record.
#define BLOCXX_LOG_RECORD(logger, category, message)                                                                   \
    ::blocxx::Logger::asLogger(logger).logMessage(category, (message), __FILE__, __LINE__, __PRETTY_FUNCTION__)

/// @name Logging statements
/// `logger` is a Logger or a LoggerRef and is evaluated twice. `message` is anything that converts to a String, usually
/// a Format; it is evaluated only when the logger's level admits the category. errno stays what it was, also when
/// nothing is logged and when `message` throws. A record for which there is no memory is dropped: the statement does not
/// throw std::bad_alloc.
/// @{
/// @internal Writes a record if the level of the logger admits it.
#define BLOCXX_LOG_ADMITTED(logger, LEVEL, CATEGORY, message)                                                          \
    BLOCXX_LOG_WHERE(::blocxx::Logger::asLogger(logger).getLogLevel() >= ::blocxx::LEVEL,                              \
                     BLOCXX_LOG_RECORD(logger, ::blocxx::Logger::CATEGORY, message))

#define BLOCXX_LOG_FATAL_ERROR(logger, message)                                                                        \
    BLOCXX_LOG_ADMITTED(logger, E_FATAL_ERROR_LEVEL, STR_FATAL_CATEGORY, message)
#define BLOCXX_LOG_ERROR(logger, message) BLOCXX_LOG_ADMITTED(logger, E_ERROR_LEVEL, STR_ERROR_CATEGORY, message)
#define BLOCXX_LOG_WARNING(logger, message) BLOCXX_LOG_ADMITTED(logger, E_WARNING_LEVEL, STR_WARNING_CATEGORY, message)
#define BLOCXX_LOG_INFO(logger, message) BLOCXX_LOG_ADMITTED(logger, E_INFO_LEVEL, STR_INFO_CATEGORY, message)
#define BLOCXX_LOG_DEBUG(logger, message) BLOCXX_LOG_ADMITTED(logger, E_DEBUG_LEVEL, STR_DEBUG_CATEGORY, message)
#define BLOCXX_LOG_DEBUG2(logger, message) BLOCXX_LOG_ADMITTED(logger, E_DEBUG2_LEVEL, STR_DEBUG2_CATEGORY, message)
#define BLOCXX_LOG_DEBUG3(logger, message) BLOCXX_LOG_ADMITTED(logger, E_DEBUG3_LEVEL, STR_DEBUG3_CATEGORY, message)

/// Logs in any category, if the logger's appender takes it.
#define BLOCXX_LOG(logger, category, message)                                                                          \
    BLOCXX_LOG_WHERE(::blocxx::Logger::asLogger(logger).categoryIsEnabled(category),                                   \
                     BLOCXX_LOG_RECORD(logger, (category), message))

// NOLINTBEGIN(bugprone-macro-parentheses): the message is a chain of insertions.
/// As above, with a message of the form `"port " << port`.
#define BLOCXX_SLOG_ADMITTED(logger, LEVEL, CATEGORY, message)                                                         \
    BLOCXX_LOG_WHERE(::blocxx::Logger::asLogger(logger).getLogLevel() >= ::blocxx::LEVEL,                              \
                     ::blocxx::Internal::LogText blocxxMessage;                                                        \
                     blocxxMessage.stream() << message;                                                                \
                     BLOCXX_LOG_RECORD(logger, ::blocxx::Logger::CATEGORY, blocxxMessage.text()))
// NOLINTEND(bugprone-macro-parentheses)

#define BLOCXX_SLOG_FATAL_ERROR(logger, message)                                                                       \
    BLOCXX_SLOG_ADMITTED(logger, E_FATAL_ERROR_LEVEL, STR_FATAL_CATEGORY, message)
#define BLOCXX_SLOG_ERROR(logger, message) BLOCXX_SLOG_ADMITTED(logger, E_ERROR_LEVEL, STR_ERROR_CATEGORY, message)
#define BLOCXX_SLOG_WARNING(logger, message)                                                                           \
    BLOCXX_SLOG_ADMITTED(logger, E_WARNING_LEVEL, STR_WARNING_CATEGORY, message)
#define BLOCXX_SLOG_INFO(logger, message) BLOCXX_SLOG_ADMITTED(logger, E_INFO_LEVEL, STR_INFO_CATEGORY, message)
#define BLOCXX_SLOG_DEBUG(logger, message) BLOCXX_SLOG_ADMITTED(logger, E_DEBUG_LEVEL, STR_DEBUG_CATEGORY, message)
#define BLOCXX_SLOG_DEBUG2(logger, message) BLOCXX_SLOG_ADMITTED(logger, E_DEBUG2_LEVEL, STR_DEBUG2_CATEGORY, message)
#define BLOCXX_SLOG_DEBUG3(logger, message) BLOCXX_SLOG_ADMITTED(logger, E_DEBUG3_LEVEL, STR_DEBUG3_CATEGORY, message)
/// @}
