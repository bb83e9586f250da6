#include "logging/LogAppenderRegistry.hpp"

#include "logging/ErroneousException.hpp"

#include "blocxx/Exception.hpp"
#include "blocxx/NullAppender.hpp"

#include <utility>

namespace blocxx
{

namespace
{

// A bare pointer, counted by hand: unlike an object with a destructor it can still be looked at while the thread's
// other objects, which may log, are being destroyed.
thread_local LogAppender* ownAppender = nullptr;

/// @return the former appender
LogAppenderRef exchangeOwnAppender(const LogAppenderRef& appender)
{
    if (appender)
    {
        IntrusiveReferenceAddRef(appender.getPtr());
    }
    return LogAppenderRef(std::exchange(ownAppender, appender.getPtr()), false);
}

} // namespace

std::atomic<int> LogAppender::s_listeners{0};

LogAppender::Registry& LogAppender::Registry::instance()
{
    static Registry* const registry = new Registry;
    return *registry;
}

LogAppender::Registry::Registry() : m_default(new NullAppender) {}

LogAppenderRef LogAppender::Registry::defaultAppender()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_default;
}

void LogAppender::Registry::setDefaultAppender(LogAppenderRef appender)
{
    ExceptionDetail::setErroneousExceptionLog(&writeErroneousException);
    // The former appender is released outside the lock: its destructor may log.
    const std::lock_guard<std::mutex> lock(m_mutex);
    addListeners(listeners(appender) - listeners(m_default));
    m_default.swap(appender);
}

LogAppenderRef LogAppender::Registry::threadAppender()
{
    return LogAppenderRef(ownAppender);
}

void LogAppender::Registry::setThreadAppender(const LogAppenderRef& appender)
{
    ExceptionDetail::setErroneousExceptionLog(&writeErroneousException);
    const LogAppenderRef former = exchangeOwnAppender(appender);
    addListeners(listeners(appender) - listeners(former));
}

int LogAppender::Registry::listeners(const LogAppenderRef& appender)
{
    return appender && appender->getLogLevel() != E_NONE_LEVEL ? 1 : 0;
}

void LogAppender::Registry::addListeners(int count)
{
    s_listeners.fetch_add(count, std::memory_order_relaxed);
}

LogAppenderRef LogAppender::getCurrentLogAppender()
{
    return ownAppender != nullptr ? LogAppenderRef(ownAppender) : getDefaultLogAppender();
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
    return Registry::threadAppender();
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

} // namespace blocxx
