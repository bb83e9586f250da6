#pragma once

#include "blocxx/Array.hpp"
#include "blocxx/BLOCXX_config.h"
#include "blocxx/CommonFwd.hpp"
#include "blocxx/GlobalString.hpp"
#include "blocxx/GlobalStringArray.hpp"
#include "blocxx/IntrusiveCountableBase.hpp"
#include "blocxx/IntrusiveReference.hpp"
#include "blocxx/LogLevel.hpp"
#include "blocxx/LogMessagePatternFormatter.hpp"
#include "blocxx/Map.hpp"
#include "blocxx/String.hpp"

#include <atomic>

namespace blocxx
{

struct LogMessage;

/// Options of createLogAppender: names such as "log.NAME.location" and their values.
using LoggerConfigMap = Map<String, String>;

/// A destination of log records. It takes the records whose component and category it was made for, formats them and
/// hands them to its subclass.
///
/// The process has one default appender, and each thread may have one of its own that takes its place there. Until one
/// is set, nothing is logged anywhere.
///
/// A record is written with the cancellation of the thread switched off: logging is not a cancellation point.
///
/// Threads: everything static may be called on any thread at any time, and records may arrive on several threads at
/// once; a subclass serialises its own output.
///
/// @code
/// blocxx::LogAppender::setDefaultLogAppender(blocxx::LogAppenderRef(new blocxx::CerrAppender)); // logs everything
/// @endcode
class BLOCXX_COMMON_API LogAppender : public IntrusiveCountableBase
{
public:
    ~LogAppender() override;

    /// The calling thread's appender if it has one, else the default one; never null.
    static LogAppenderRef getCurrentLogAppender();

    /// The process's default appender; never null. If none was set, one that takes no record.
    static LogAppenderRef getDefaultLogAppender();
    /// Loggers that exist already keep their appender. @return false, and nothing changes, for a null reference
    static bool setDefaultLogAppender(const LogAppenderRef& appender);

    /// The calling thread's own appender, null if it has none. It is released when the thread ends.
    static LogAppenderRef getThreadLogAppender();
    /// A null reference removes the thread's appender. @return whether the thread has an appender now
    static bool setThreadLogAppender(const LogAppenderRef& appender);

    /// True when no appender anywhere in the process would take any record: a look-up can be spared then. Cheap.
    static bool nothingIsLogged() { return s_listeners.load(std::memory_order_relaxed) == 0; }

    /// Formats and processes the record if its component and its category are both enabled.
    void logMessage(const LogMessage& message) const;

    /// Whether the appender takes records of the category.
    bool categoryIsEnabled(const String& category) const;
    /// Whether the appender takes records of the component in the category.
    bool componentAndCategoryAreEnabled(const String& component, const String& category) const;

    /// The level of the most verbose category that the appender takes. It says nothing about the less verbose ones:
    /// an appender for "DEBUG" alone has the debug level and yet drops errors.
    ELogLevel getLogLevel() const { return m_level; }

    /// Makes an appender of a type named by one of the TYPE constants; the empty name counts as TYPE_NULL.
    /// @param name the NAME in the options "log.NAME.location" (file), "log.NAME.flush" (file; "true" unless given),
    ///             "log.NAME.identity" (syslog; "blocxx") and "log.NAME.facility" (syslog; "user")
    /// @throws LoggerException for an unknown type, and if the appender refuses its options
    static LogAppenderRef createLogAppender(const String& name, const StringArray& components,
                                            const StringArray& categories, const String& messageFormat,
                                            const String& type, const LoggerConfigMap& configItems);

    /// The categories a logger of that level admits, the most verbose first.
    static StringArray getCategoriesForLevel(ELogLevel level);

    /// The one element "*", which means everything.
    static const GlobalStringArray ALL_COMPONENTS;
    /// As ALL_COMPONENTS.
    static const GlobalStringArray ALL_CATEGORIES;

    /// A pattern with the milliseconds since the start, thread, category, component and message.
    static const GlobalString STR_TTCC_MESSAGE_FORMAT;

    /// For createLogAppender(): the log of the system.
    static const GlobalString TYPE_SYSLOG;
    /// For createLogAppender(): standard error.
    static const GlobalString TYPE_STDERR;
    /// For createLogAppender(): a file.
    static const GlobalString TYPE_FILE;
    /// For createLogAppender(): nowhere.
    static const GlobalString TYPE_NULL;

protected:
    /// Components and categories are compared as they stand; "*" among them enables all.
    /// @throws LogMessagePatternFormatterException
    explicit LogAppender(const StringArray& components = ALL_COMPONENTS, const StringArray& categories = ALL_CATEGORIES,
                         const String& pattern = STR_TTCC_MESSAGE_FORMAT);

private:
    virtual void doProcessLogMessage(const String& formattedMessage, const LogMessage& message) const = 0;

    class Registry;

    static std::atomic<int> s_listeners;

    const StringArray m_components;
    const StringArray m_categories;
    const bool m_allComponents;
    const bool m_allCategories;
    const ELogLevel m_level;
    const LogMessagePatternFormatter m_formatter;
};

/// Makes an appender the calling thread's own for as long as the scope lasts, then restores the former one.
class BLOCXX_COMMON_API LogAppenderScope
{
public:
    /// @param appender as for LogAppender::setThreadLogAppender()
    explicit LogAppenderScope(const LogAppenderRef& appender);
    LogAppenderScope(const LogAppenderScope&) = delete;
    LogAppenderScope& operator=(const LogAppenderScope&) = delete;
    ~LogAppenderScope();

private:
    const LogAppenderRef m_former;
};

} // namespace blocxx
