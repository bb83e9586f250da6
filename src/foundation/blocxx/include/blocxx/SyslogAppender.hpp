#pragma once

#include "blocxx/LogAppender.hpp"

namespace blocxx
{

/// Sends records to the system's log, a record of several lines as one entry per line that is not empty. FATAL becomes
/// the priority "crit", ERROR "err", WARNING "warning", the DEBUG categories "debug", all others "info".
///
/// A process has one identity and facility there: those of the first such appender.
class BLOCXX_COMMON_API SyslogAppender : public LogAppender
{
public:
    /// The pattern to use where the program has none of its own.
    static const GlobalString STR_DEFAULT_MESSAGE_PATTERN;

    /// @param identity the name of the program in the log; not blank
    /// @param facility auth, authpriv, cron, daemon, ftp, kern, lpr, mail, news, user, uucp, local0 to local7
    /// @throws LoggerException for a blank identity and for an empty or unknown facility, and
    ///         LogMessagePatternFormatterException
    SyslogAppender(const StringArray& components, const StringArray& categories, const String& pattern,
                   const String& identity, const String& facility);
    ~SyslogAppender() override;

private:
    void doProcessLogMessage(const String& formattedMessage, const LogMessage& message) const override;
};

} // namespace blocxx
