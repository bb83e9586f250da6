#pragma once

#include "blocxx/LogAppender.hpp"

#include <mutex>

namespace blocxx
{

/// The process's default appender, each thread's own, and how many appenders that take records are installed anywhere.
class LogAppender::Registry
{
public:
    /// Never destroyed: objects that are destroyed after the library's own statics may still log.
    static Registry& instance();

    LogAppenderRef defaultAppender();
    void setDefaultAppender(LogAppenderRef appender);

    /// The calling thread's appender; null if it has none.
    static LogAppenderRef threadAppender();
    static void setThreadAppender(const LogAppenderRef& appender);

private:
    Registry();

    static int listeners(const LogAppenderRef& appender);
    static void addListeners(int count);

    std::mutex m_mutex;
    LogAppenderRef m_default;
};

} // namespace blocxx
