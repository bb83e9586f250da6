#pragma once

#include "blocxx/LogAppender.hpp"

namespace blocxx
{

/// Drops every record.
class BLOCXX_COMMON_API NullAppender : public LogAppender
{
public:
    /// Takes no component and no category: its level is E_NONE_LEVEL.
    NullAppender();
    /// Drops what it takes, but takes it: the level is that of the categories, and messages are formatted.
    NullAppender(const StringArray& components, const StringArray& categories, const String& pattern);
    ~NullAppender() override;

private:
    void doProcessLogMessage(const String& formattedMessage, const LogMessage& message) const override;
};

} // namespace blocxx
