#include "blocxx/Logger.hpp"

#include "logging/LevelNames.hpp"

#include "blocxx/LogMessage.hpp"

#include <utility>

namespace blocxx
{

BLOCXX_DEFINE_EXCEPTION_WITH_ID(Logger)

const GlobalString Logger::STR_NONE_CATEGORY = BLOCXX_GLOBAL_STRING_INIT("NONE");
const GlobalString Logger::STR_FATAL_CATEGORY = BLOCXX_GLOBAL_STRING_INIT("FATAL");
const GlobalString Logger::STR_ERROR_CATEGORY = BLOCXX_GLOBAL_STRING_INIT("ERROR");
const GlobalString Logger::STR_WARNING_CATEGORY = BLOCXX_GLOBAL_STRING_INIT("WARNING");
const GlobalString Logger::STR_INFO_CATEGORY = BLOCXX_GLOBAL_STRING_INIT("INFO");
const GlobalString Logger::STR_DEBUG_CATEGORY = BLOCXX_GLOBAL_STRING_INIT("DEBUG");
const GlobalString Logger::STR_DEBUG2_CATEGORY = BLOCXX_GLOBAL_STRING_INIT("DEBUG2");
const GlobalString Logger::STR_DEBUG3_CATEGORY = BLOCXX_GLOBAL_STRING_INIT("DEBUG3");
const GlobalString Logger::STR_ALL_CATEGORY = BLOCXX_GLOBAL_STRING_INIT("ALL");
const GlobalString Logger::STR_DEFAULT_COMPONENT = BLOCXX_GLOBAL_STRING_INIT("none");

void Logger::lookUpAppender()
{
    if (!m_appender)
    {
        m_appender = LogAppender::getCurrentLogAppender();
    }
    m_level = m_appender->getLogLevel();
}

void Logger::swap(Logger& other) noexcept
{
    std::swap(m_globalComponent, other.m_globalComponent);
    m_component.swap(other.m_component);
    m_appender.swap(other.m_appender);
    std::swap(m_level, other.m_level);
}

void Logger::setDefaultComponent(const String& component)
{
    m_component = component;
    m_globalComponent = nullptr;
}

void Logger::logMessage(const LogMessage& message) const
{
    if (m_appender)
    {
        m_appender->logMessage(message);
    }
}

void Logger::logMessage(const String& category, const String& message) const
{
    logMessage(category, message, nullptr, -1, nullptr);
}

void Logger::logMessage(const String& category, const String& message, const char* filename, int fileline,
                        const char* methodname) const
{
    logMessage(component(), category, message, filename, fileline, methodname);
}

void Logger::logMessage(const String& component, const String& category, const String& message) const
{
    logMessage(component, category, message, nullptr, -1, nullptr);
}

void Logger::logMessage(const String& component, const String& category, const String& message, const char* filename,
                        int fileline, const char* methodname) const
{
    if (m_appender)
    {
        m_appender->logMessage(LogMessage(component, category, message, filename, fileline, methodname));
    }
}

void Logger::logIfAdmitted(ELogLevel level, const GlobalString& category, const String& message, const char* filename,
                           int fileline, const char* methodname) const
{
    if (levelIsEnabled(level))
    {
        logMessage(category, message, filename, fileline, methodname);
    }
}

void Logger::logFatalError(const String& message, const char* filename, int fileline, const char* methodname) const
{
    logIfAdmitted(E_FATAL_ERROR_LEVEL, STR_FATAL_CATEGORY, message, filename, fileline, methodname);
}

void Logger::logError(const String& message, const char* filename, int fileline, const char* methodname) const
{
    logIfAdmitted(E_ERROR_LEVEL, STR_ERROR_CATEGORY, message, filename, fileline, methodname);
}

void Logger::logWarning(const String& message, const char* filename, int fileline, const char* methodname) const
{
    logIfAdmitted(E_WARNING_LEVEL, STR_WARNING_CATEGORY, message, filename, fileline, methodname);
}

void Logger::logInfo(const String& message, const char* filename, int fileline, const char* methodname) const
{
    logIfAdmitted(E_INFO_LEVEL, STR_INFO_CATEGORY, message, filename, fileline, methodname);
}

void Logger::logDebug(const String& message, const char* filename, int fileline, const char* methodname) const
{
    logIfAdmitted(E_DEBUG_LEVEL, STR_DEBUG_CATEGORY, message, filename, fileline, methodname);
}

void Logger::logDebug2(const String& message, const char* filename, int fileline, const char* methodname) const
{
    logIfAdmitted(E_DEBUG2_LEVEL, STR_DEBUG2_CATEGORY, message, filename, fileline, methodname);
}

void Logger::logDebug3(const String& message, const char* filename, int fileline, const char* methodname) const
{
    logIfAdmitted(E_DEBUG3_LEVEL, STR_DEBUG3_CATEGORY, message, filename, fileline, methodname);
}

bool Logger::categoryIsEnabled(const String& category) const
{
    return m_appender && m_appender->categoryIsEnabled(category);
}

bool Logger::componentAndCategoryAreEnabled(const String& component, const String& category) const
{
    return m_appender && m_appender->componentAndCategoryAreEnabled(component, category);
}

ELogLevel Logger::stringToLogLevel(const String& level)
{
    return levelNamed(level).value_or(E_FATAL_ERROR_LEVEL);
}

String Logger::logLevelToString(ELogLevel level)
{
    const char* const name = nameOfLevel(level);
    return name != nullptr ? name : "NONE";
}

} // namespace blocxx
