#pragma once

#include "blocxx/LogAppender.hpp"

#include <memory>

namespace blocxx
{

/// Appends each record and a line end to a file. The file is left to grow: moving it away is enough to start a new one,
/// because it is opened again as soon as its name is gone or belongs to another file.
///
/// Nothing is thrown after construction: a record that cannot be written is dropped, and the next one tries again.
///
/// @code
/// blocxx::LogAppender::setDefaultLogAppender(blocxx::LogAppenderRef(
///     new blocxx::FileAppender(blocxx::LogAppender::ALL_COMPONENTS, blocxx::LogAppender::ALL_CATEGORIES, "fetch.log",
///                              "%d %-6p %c: %m")));
/// @endcode
class BLOCXX_COMMON_API FileAppender : public LogAppender
{
public:
    /// The pattern to use where the program has none of its own.
    static const GlobalString STR_DEFAULT_MESSAGE_PATTERN;

    /// @param flushLog whether each record is written at once; otherwise they gather, and the last ones are written
    ///                 when the appender is destroyed
    /// @throws LoggerException if the file cannot be opened, LogMessagePatternFormatterException
    FileAppender(const StringArray& components, const StringArray& categories, const char* filename,
                 const String& pattern, bool flushLog = true);
    ~FileAppender() override;

private:
    class File;

    void doProcessLogMessage(const String& formattedMessage, const LogMessage& message) const override;

    const std::unique_ptr<File> m_file;
};

} // namespace blocxx
