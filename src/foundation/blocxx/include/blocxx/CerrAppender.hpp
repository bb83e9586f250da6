#pragma once

#include "blocxx/LogAppender.hpp"

namespace blocxx
{

/// Writes each record and a line end to std::clog, and flushes it. Records of all such appenders of the process come
/// out whole, one after the other.
class BLOCXX_COMMON_API CerrAppender : public LogAppender
{
public:
    /// The pattern to use where the program has none of its own.
    static const GlobalString STR_DEFAULT_MESSAGE_PATTERN;

    /// @throws LogMessagePatternFormatterException
    explicit CerrAppender(const StringArray& components = ALL_COMPONENTS,
                          const StringArray& categories = ALL_CATEGORIES,
                          const String& pattern = STR_DEFAULT_MESSAGE_PATTERN);
    ~CerrAppender() override;

private:
    void doProcessLogMessage(const String& formattedMessage, const LogMessage& message) const override;
};

} // namespace blocxx
