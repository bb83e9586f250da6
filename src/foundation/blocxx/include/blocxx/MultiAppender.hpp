#pragma once

#include "blocxx/LogAppender.hpp"

namespace blocxx
{

/// Passes each record on to all its members, each of which applies its own filters and pattern.
class BLOCXX_COMMON_API MultiAppender : public LogAppender
{
public:
    /// With one member.
    explicit MultiAppender(const LogAppenderRef& appender);
    /// Members in the order in which they get the records.
    explicit MultiAppender(const Array<LogAppenderRef>& appenders);
    ~MultiAppender() override;

    /// Not while records may arrive.
    /// @param appender not null
    void addLogAppender(const LogAppenderRef& appender);

private:
    void doProcessLogMessage(const String& formattedMessage, const LogMessage& message) const override;

    Array<LogAppenderRef> m_appenders;
};

} // namespace blocxx
