#pragma once

#include "blocxx/BLOCXX_config.h"
#include "blocxx/CommonFwd.hpp"
#include "blocxx/Exception.hpp"
#include "blocxx/GlobalString.hpp"
#include "blocxx/IntrusiveCountableBase.hpp"
#include "blocxx/IntrusiveReference.hpp"
#include "blocxx/LogAppender.hpp"
#include "blocxx/LogLevel.hpp"
#include "blocxx/LoggerMacros.hpp" // IWYU pragma: export
#include "blocxx/String.hpp"

namespace blocxx
{

/// Thrown when an appender cannot be made.
BLOCXX_DECLARE_APIEXCEPTION(Logger, BLOCXX_COMMON_API)

/// Logs to an appender under a component's name. The appender and the level are those of the moment of construction:
/// code that makes a logger per call sees a newly set appender at its next call. While nothing is logged in the
/// process, making one costs neither a lock nor memory.
///
/// Threads: const operations on any number of threads; the setters before the logger is shared.
///
/// @code
/// const blocxx::Logger logger("spool.reader");
/// BLOCXX_LOG_DEBUG(logger, blocxx::Format("%1 bytes of %2", count, name));
/// @endcode
class BLOCXX_COMMON_API Logger : public IntrusiveCountableBase
{
public:
    /// @name The names of the categories
    /// @{
    static const GlobalString STR_NONE_CATEGORY;
    static const GlobalString STR_FATAL_CATEGORY;
    static const GlobalString STR_ERROR_CATEGORY;
    static const GlobalString STR_WARNING_CATEGORY;
    static const GlobalString STR_INFO_CATEGORY;
    static const GlobalString STR_DEBUG_CATEGORY;
    static const GlobalString STR_DEBUG2_CATEGORY;
    static const GlobalString STR_DEBUG3_CATEGORY;
    static const GlobalString STR_ALL_CATEGORY;
    /// @}
    /// The component of a logger that is given none.
    static const GlobalString STR_DEFAULT_COMPONENT;

    /// Error codes of LoggerException.
    enum ELoggerErrorCodes
    {
        E_UNKNOWN_LOG_APPENDER_TYPE,
        E_INVALID_MAX_FILE_SIZE,
        E_INVALID_MAX_BACKUP_INDEX
    };

    /// @param defaultComponent outlives the logger and its copies
    /// @param appender         a null reference means the current appender
    Logger(const GlobalString& defaultComponent = STR_DEFAULT_COMPONENT,
           const LogAppenderRef& appender = LogAppenderRef())
        : m_globalComponent(&defaultComponent), m_appender(appender), m_level(E_NONE_LEVEL)
    {
        takeAppender();
    }

    /// The same with a name that is copied.
    Logger(const String& defaultComponent, const LogAppenderRef& appender = LogAppenderRef())
        : m_component(defaultComponent), m_appender(appender), m_level(E_NONE_LEVEL)
    {
        takeAppender();
    }

    /// A logger of the current appender with a level of its own. The appender still takes only its own categories.
    Logger(const String& defaultComponent, ELogLevel logLevel) : Logger(defaultComponent) { m_level = logLevel; }

    Logger(const Logger&) = default;
    Logger& operator=(const Logger&) = default;
    ~Logger() noexcept override {}

    void swap(Logger& other) noexcept;

    /// The most verbose level that is logged.
    ELogLevel getLogLevel() const { return m_level; }
    /// The appender still takes only its own categories.
    void setLogLevel(ELogLevel level) { m_level = level; }
    /// As stringToLogLevel().
    void setLogLevel(const String& level) { m_level = stringToLogLevel(level); }

    /// The component of records that name none.
    String getDefaultComponent() const { return component(); }
    /// @param component copied
    void setDefaultComponent(const String& component);

    /// @name Handing a record to the appender
    /// The level is not checked; the appender decides. What formatting and the appender throw passes through. `errno`
    /// is not preserved; the macros do that.
    /// @{
    void logMessage(const LogMessage& message) const;
    void logMessage(const String& category, const String& message) const;
    void logMessage(const String& category, const String& message, const char* filename, int fileline,
                    const char* methodname) const;
    void logMessage(const String& component, const String& category, const String& message) const;
    void logMessage(const String& component, const String& category, const String& message, const char* filename,
                    int fileline, const char* methodname) const;
    /// @}

    /// @name Logging in a category, if the level admits it
    /// @{
    void logFatalError(const String& message, const char* filename = nullptr, int fileline = -1,
                       const char* methodname = nullptr) const;
    void logError(const String& message, const char* filename = nullptr, int fileline = -1,
                  const char* methodname = nullptr) const;
    void logWarning(const String& message, const char* filename = nullptr, int fileline = -1,
                    const char* methodname = nullptr) const;
    void logInfo(const String& message, const char* filename = nullptr, int fileline = -1,
                 const char* methodname = nullptr) const;
    void logDebug(const String& message, const char* filename = nullptr, int fileline = -1,
                  const char* methodname = nullptr) const;
    void logDebug2(const String& message, const char* filename = nullptr, int fileline = -1,
                   const char* methodname = nullptr) const;
    void logDebug3(const String& message, const char* filename = nullptr, int fileline = -1,
                   const char* methodname = nullptr) const;
    /// @}

    /// Whether the logger's level admits records of that level.
    bool levelIsEnabled(ELogLevel level) const { return m_level >= level; }
    /// Whether the appender takes such records.
    bool categoryIsEnabled(const String& category) const;
    /// Whether the appender takes such records of the component.
    bool componentAndCategoryAreEnabled(const String& component, const String& category) const;

    /// The level of a category's name in any case; E_FATAL_ERROR_LEVEL for an unknown one.
    static ELogLevel stringToLogLevel(const String& level);
    /// The category of a level; "NONE" for a number that is not a level.
    static String logLevelToString(ELogLevel level);

    /// For the macros, which take loggers and handles.
    static const Logger& asLogger(const Logger& logger) { return logger; }
    /// @throws NULLReferenceException for a null handle
    static const Logger& asLogger(const LoggerRef& logger) { return *logger; }

private:
    void takeAppender()
    {
        if (m_appender || !LogAppender::nothingIsLogged())
        {
            lookUpAppender();
        }
    }
    void lookUpAppender();
    const String& component() const { return m_globalComponent != nullptr ? m_globalComponent->get() : m_component; }
    void logIfAdmitted(ELogLevel level, const GlobalString& category, const String& message, const char* filename,
                       int fileline, const char* methodname) const;

    // One of the two: copying a text that a silent logger does not use would cost an allocation in every call.
    const GlobalString* m_globalComponent = nullptr;
    String m_component;
    // Null while nothing is logged.
    LogAppenderRef m_appender;
    ELogLevel m_level;
};

} // namespace blocxx
