#pragma once

#include "blocxx/LogAppender.hpp"
#include "blocxx/String.hpp"

namespace blocxx
{

/// The options of one appender, as LogAppender::createLogAppender takes them: "log.NAME.<option>" and their values.
class AppenderOptions
{
public:
    /// @param items outlives the options
    AppenderOptions(const LoggerConfigMap& items, const String& appenderName);

    String get(const char* option, const char* fallback) const;

private:
    const LoggerConfigMap& m_items;
    const String m_prefix;
};

} // namespace blocxx
