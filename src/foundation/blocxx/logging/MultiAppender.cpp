#include "blocxx/MultiAppender.hpp"

namespace blocxx
{

// Deliberate: the level is E_ALL_LEVEL whatever the members take, because members may be added later.
MultiAppender::MultiAppender(const LogAppenderRef& appender) : MultiAppender(Array<LogAppenderRef>())
{
    addLogAppender(appender);
}

MultiAppender::MultiAppender(const Array<LogAppenderRef>& appenders)
    : LogAppender(ALL_COMPONENTS, ALL_CATEGORIES, ""), m_appenders(appenders)
{
}

MultiAppender::~MultiAppender() = default;

void MultiAppender::addLogAppender(const LogAppenderRef& appender)
{
    m_appenders.push_back(appender);
}

void MultiAppender::doProcessLogMessage(const String&, const LogMessage& message) const
{
    for (const LogAppenderRef& appender : m_appenders)
    {
        appender->logMessage(message);
    }
}

} // namespace blocxx
