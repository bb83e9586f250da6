#pragma once

#include "blocxx/LogAppender.hpp"
#include "blocxx/LogLevel.hpp"

#include <cerrno>
#include <string>
#include <vector>

namespace zol_test
{

/// What a log record held; an unknown file or method is empty.
struct LogRecord
{
    std::string component;
    std::string category;
    std::string message;
    std::string file;
    std::string method;
    int line;
};

/// A value of errno that nothing else here sets.
inline constexpr int ERRNO_OF_THE_CAPTURE = EXFULL;

/// Keeps the log records of the process while it lives: it is the default appender from its construction on, and the
/// former one is put back by its destructor. Loggers made before keep the appender they have. Captures may be nested,
/// but not overlap.
///
/// Writing a record leaves ERRNO_OF_THE_CAPTURE in errno, as a program's appender may: logging code has to preserve
/// errno.
///
/// Threads: records may arrive and be looked at on any thread.
class LogCapture
{
public:
    /// Captures every category.
    LogCapture();
    /// Captures one category, such as "ERROR"; the log level is that category's.
    explicit LogCapture(const char* category);
    /// Captures the categories a logger of that level admits; nothing for E_NONE_LEVEL.
    explicit LogCapture(blocxx::ELogLevel level);
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;
    ~LogCapture();

    /// In order of arrival.
    std::vector<LogRecord> records() const;
    /// The messages of one component, of all for an empty name.
    std::vector<std::string> messages(const std::string& component = "") const;
    /// Whether one message is exactly that text.
    bool contains(const std::string& message) const;
    /// Whether one message of that category is exactly that text.
    bool contains(const std::string& category, const std::string& message) const;
    /// Whether that text occurs in one message.
    bool containsText(const std::string& text) const;
    void clear();

private:
    class Appender;

    explicit LogCapture(const blocxx::StringArray& categories);

    const blocxx::LogAppenderRef m_former;
    const blocxx::IntrusiveReference<Appender> m_appender;
};

} // namespace zol_test
