#include "blocxx/LogAppender.hpp"

#include "logging/LevelNames.hpp"

#include "blocxx/LogMessage.hpp"
#include "blocxx/StringBuffer.hpp"
#include "blocxx/internal/CancellationOff.hpp"

#include <algorithm>
#include <optional>

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

ELogLevel levelOf(const StringArray& categories)
{
    ELogLevel highest = E_NONE_LEVEL;
    for (const String& category : categories)
    {
        const std::optional<ELogLevel> level = levelNamed(category);
        const bool isRealCategory =
            level && *level > E_NONE_LEVEL && *level < E_ALL_LEVEL && category == nameOfLevel(*level);
        highest = std::max(highest, isRealCategory ? *level : E_ALL_LEVEL);
    }
    return highest;
}

} // namespace

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
        // Records are written in destructors, too, where the unwinding of a cancelled thread would end the process.
        const Internal::CancellationOff logging;
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

StringArray LogAppender::getCategoriesForLevel(ELogLevel level)
{
    StringArray categories;
    for (int each = std::min<int>(level, E_ALL_LEVEL); each > E_NONE_LEVEL; --each)
    {
        categories.push_back(nameOfLevel(static_cast<ELogLevel>(each)));
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
