#include "blocxx/LogAppender.hpp"

#include "blocxx/CerrAppender.hpp"
#include "blocxx/FileAppender.hpp"
#include "blocxx/Format.hpp"
#include "blocxx/LogMessage.hpp"
#include "blocxx/Logger.hpp"
#include "blocxx/NullAppender.hpp"
#include "blocxx/StringBuffer.hpp"
#include "blocxx/SyslogAppender.hpp"

#include <algorithm>
#include <mutex>
#include <utility>

namespace blocxx
{

const GlobalStringArray LogAppender::ALL_COMPONENTS = BLOCXX_GLOBAL_STRING_ARRAY_INIT("*");
const GlobalStringArray LogAppender::ALL_CATEGORIES = BLOCXX_GLOBAL_STRING_ARRAY_INIT("*");
const GlobalString LogAppender::STR_TTCC_MESSAGE_FORMAT = BLOCXX_GLOBAL_STRING_INIT("%r [%t] %-5p %c - %m");
const GlobalString LogAppender::TYPE_SYSLOG = BLOCXX_GLOBAL_STRING_INIT("syslog");
const GlobalString LogAppender::TYPE_STDERR = BLOCXX_GLOBAL_STRING_INIT("stderr");
const GlobalString LogAppender::TYPE_FILE = BLOCXX_GLOBAL_STRING_INIT("file");
const GlobalString LogAppender::TYPE_NULL = BLOCXX_GLOBAL_STRING_INIT("null");

namespace
{

const char EVERYTHING[] = "*";

// A bare pointer, counted by hand: unlike an object with a destructor it can still be looked at while the thread's
// other objects, which may log, are being destroyed.
thread_local LogAppender* threadAppender = nullptr;

/// @return the former appender
LogAppenderRef exchangeThreadAppender(const LogAppenderRef& appender)
{
    if (appender)
    {
        IntrusiveReferenceAddRef(appender.getPtr());
    }
    return LogAppenderRef(std::exchange(threadAppender, appender.getPtr()), false);
}

ELogLevel levelOf(const StringArray& categories)
{
    ELogLevel highest = E_NONE_LEVEL;
    for (const String& category : categories)
    {
        const ELogLevel level = Logger::stringToLogLevel(category);
        const bool isRealCategory =
            level > E_NONE_LEVEL && level < E_ALL_LEVEL && Logger::logLevelToString(level) == category;
        highest = std::max(highest, isRealCategory ? level : E_ALL_LEVEL);
    }
    return highest;
}

String configItem(const LoggerConfigMap& items, const String& appenderName, const char* option, const char* fallback)
{
    const LoggerConfigMap::const_iterator found = items.find("log." + appenderName + "." + option);
    return found == items.end() ? String(fallback) : found->second;
}

} // namespace

/// The process's default appender and how many appenders that take records are installed anywhere.
class LogAppender::Registry
{
public:
    /// Never destroyed: objects that are destroyed after the library's own statics may still log.
    static Registry& instance()
    {
        static Registry* const registry = new Registry;
        return *registry;
    }

    LogAppenderRef defaultAppender()
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_default;
    }

    void setDefaultAppender(LogAppenderRef appender)
    {
        // The former appender is released outside the lock: its destructor may log.
        const std::lock_guard<std::mutex> lock(m_mutex);
        addListeners(listeners(appender) - listeners(m_default));
        m_default.swap(appender);
    }

    static void setThreadAppender(const LogAppenderRef& appender)
    {
        const LogAppenderRef former = exchangeThreadAppender(appender);
        addListeners(listeners(appender) - listeners(former));
    }

private:
    Registry() : m_default(new NullAppender) {}

    static int listeners(const LogAppenderRef& appender)
    {
        return appender && appender->getLogLevel() != E_NONE_LEVEL ? 1 : 0;
    }

    static void addListeners(int count) { s_listeners.fetch_add(count, std::memory_order_relaxed); }

    std::mutex m_mutex;
    LogAppenderRef m_default;
};

std::atomic<int> LogAppender::s_listeners{0};

LogAppenderRef LogAppender::getCurrentLogAppender()
{
    return threadAppender != nullptr ? LogAppenderRef(threadAppender) : getDefaultLogAppender();
}

LogAppenderRef LogAppender::getDefaultLogAppender()
{
    return Registry::instance().defaultAppender();
}

bool LogAppender::setDefaultLogAppender(const LogAppenderRef& appender)
{
    if (!appender)
    {
        return false;
    }
    Registry::instance().setDefaultAppender(appender);
    return true;
}

LogAppenderRef LogAppender::getThreadLogAppender()
{
    return LogAppenderRef(threadAppender);
}

bool LogAppender::setThreadLogAppender(const LogAppenderRef& appender)
{
    struct AtThreadEnd
    {
        ~AtThreadEnd() { Registry::setThreadAppender(LogAppenderRef()); }
    };
    thread_local const AtThreadEnd atThreadEnd;
    static_cast<void>(atThreadEnd);
    Registry::setThreadAppender(appender);
    return static_cast<bool>(appender);
}

LogAppender::LogAppender(const StringArray& components, const StringArray& categories, const String& pattern)
    : m_components(components), m_categories(categories), m_allComponents(components.contains(EVERYTHING)),
      m_allCategories(categories.contains(EVERYTHING)), m_level(levelOf(categories)), m_formatter(pattern)
{
}

LogAppender::~LogAppender() = default;

void LogAppender::logMessage(const LogMessage& message) const
{
    if (componentAndCategoryAreEnabled(message.component, message.category))
    {
        StringBuffer text;
        m_formatter.formatMessage(message, text);
        doProcessLogMessage(text.releaseString(), message);
    }
}

bool LogAppender::categoryIsEnabled(const String& category) const
{
    return m_allCategories || m_categories.contains(category);
}

bool LogAppender::componentAndCategoryAreEnabled(const String& component, const String& category) const
{
    return categoryIsEnabled(category) && (m_allComponents || m_components.contains(component));
}

LogAppenderRef LogAppender::createLogAppender(const String& name, const StringArray& components,
                                              const StringArray& categories, const String& messageFormat,
                                              const String& type, const LoggerConfigMap& configItems)
{
    if (type.empty() || type.equalsIgnoreCase(TYPE_NULL))
    {
        return new NullAppender(components, categories, messageFormat);
    }
    if (type == TYPE_STDERR.get() || type == "cerr")
    {
        return new CerrAppender(components, categories, messageFormat);
    }
    if (type == TYPE_FILE.get())
    {
        const bool flush = configItem(configItems, name, "flush", "true").equalsIgnoreCase("true");
        return new FileAppender(components, categories, configItem(configItems, name, "location", "").c_str(),
                                messageFormat, flush);
    }
    if (type == TYPE_SYSLOG.get())
    {
        return new SyslogAppender(components, categories, messageFormat,
                                  configItem(configItems, name, "identity", "blocxx"),
                                  configItem(configItems, name, "facility", "user"));
    }
    BLOCXX_THROW_ERR(LoggerException, Format("Unknown log type: %1", type).c_str(),
                     Logger::E_UNKNOWN_LOG_APPENDER_TYPE);
}

StringArray LogAppender::getCategoriesForLevel(ELogLevel level)
{
    StringArray categories;
    for (int each = std::min<int>(level, E_ALL_LEVEL); each > E_NONE_LEVEL; --each)
    {
        categories.push_back(Logger::logLevelToString(static_cast<ELogLevel>(each)));
    }
    return categories;
}

LogAppenderScope::LogAppenderScope(const LogAppenderRef& appender) : m_former(LogAppender::getThreadLogAppender())
{
    LogAppender::setThreadLogAppender(appender);
}

LogAppenderScope::~LogAppenderScope()
{
    LogAppender::setThreadLogAppender(m_former);
}

} // namespace blocxx
