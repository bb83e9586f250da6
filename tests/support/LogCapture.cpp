#include "support/LogCapture.hpp"

#include "blocxx/LogMessage.hpp"

#include <algorithm>
#include <cerrno>
#include <mutex>

namespace zol_test
{

namespace
{

std::string orEmpty(const char* text)
{
    return text != nullptr ? text : "";
}

std::string bytesOf(const blocxx::String& text)
{
    return {text.c_str(), text.length()};
}

} // namespace

class LogCapture::Appender : public blocxx::LogAppender
{
public:
    explicit Appender(const blocxx::StringArray& categories) : LogAppender(ALL_COMPONENTS, categories, "") {}

    std::vector<LogRecord> records() const
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_records;
    }

    void clear()
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_records.clear();
    }

private:
    void doProcessLogMessage(const blocxx::String&, const blocxx::LogMessage& message) const override
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_records.push_back({bytesOf(message.component), bytesOf(message.category), bytesOf(message.message),
                             orEmpty(message.filename), orEmpty(message.methodname), message.fileline});
        errno = ERRNO_OF_THE_CAPTURE;
    }

    mutable std::mutex m_mutex;
    mutable std::vector<LogRecord> m_records;
};

LogCapture::LogCapture() : LogCapture(blocxx::LogAppender::ALL_CATEGORIES.get()) {}

LogCapture::LogCapture(const char* category) : LogCapture(blocxx::StringArray(1, blocxx::String(category))) {}

LogCapture::LogCapture(blocxx::ELogLevel level) : LogCapture(blocxx::LogAppender::getCategoriesForLevel(level)) {}

LogCapture::LogCapture(const blocxx::StringArray& categories)
    : m_former(blocxx::LogAppender::getDefaultLogAppender()), m_appender(new Appender(categories))
{
    blocxx::LogAppender::setDefaultLogAppender(m_appender);
}

LogCapture::~LogCapture()
{
    blocxx::LogAppender::setDefaultLogAppender(m_former);
}

std::vector<LogRecord> LogCapture::records() const
{
    return m_appender->records();
}

std::vector<std::string> LogCapture::messages(const std::string& component) const
{
    std::vector<std::string> messages;
    for (const LogRecord& record : records())
    {
        if (component.empty() || record.component == component)
        {
            messages.push_back(record.message);
        }
    }
    return messages;
}

bool LogCapture::contains(const std::string& message) const
{
    const std::vector<std::string> all = messages();
    return std::find(all.begin(), all.end(), message) != all.end();
}

bool LogCapture::contains(const std::string& category, const std::string& message) const
{
    const std::vector<LogRecord> all = records();
    return std::any_of(all.begin(), all.end(),
                       [&](const LogRecord& record)
                       { return record.category == category && record.message == message; });
}

bool LogCapture::containsText(const std::string& text) const
{
    const std::vector<std::string> all = messages();
    return std::any_of(all.begin(), all.end(),
                       [&](const std::string& message) { return message.find(text) != std::string::npos; });
}

void LogCapture::clear()
{
    m_appender->clear();
}

} // namespace zol_test
