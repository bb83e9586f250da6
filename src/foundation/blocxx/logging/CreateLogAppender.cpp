#include "logging/CreateLogAppender.hpp"

#include "blocxx/CerrAppender.hpp"
#include "blocxx/FileAppender.hpp"
#include "blocxx/Format.hpp"
#include "blocxx/Logger.hpp"
#include "blocxx/NullAppender.hpp"
#include "blocxx/SyslogAppender.hpp"

namespace blocxx
{

AppenderOptions::AppenderOptions(const LoggerConfigMap& items, const String& appenderName)
    : m_items(items), m_prefix("log." + appenderName + ".")
{
}

String AppenderOptions::get(const char* option, const char* fallback) const
{
    const LoggerConfigMap::const_iterator found = m_items.find(m_prefix + option);
    return found == m_items.end() ? String(fallback) : found->second;
}

LogAppenderRef LogAppender::createLogAppender(const String& name, const StringArray& components,
                                              const StringArray& categories, const String& messageFormat,
                                              const String& type, const LoggerConfigMap& configItems)
{
    const AppenderOptions options(configItems, name);
    if (type.empty() || type.equalsIgnoreCase(TYPE_NULL))
    {
        return new NullAppender(components, categories, messageFormat);
    }
    if (type == TYPE_STDERR.get() || type == "cerr")
    {
        return new CerrAppender(components, categories, messageFormat);
    }
    if (type == TYPE_FILE.get())
    {
        return new FileAppender(components, categories, options.get("location", "").c_str(), messageFormat,
                                options.get("flush", "true").equalsIgnoreCase("true"));
    }
    if (type == TYPE_SYSLOG.get())
    {
        return new SyslogAppender(components, categories, messageFormat, options.get("identity", "blocxx"),
                                  options.get("facility", "user"));
    }
    throw LoggerException("LogAppender", __LINE__, Format("Unknown log type: %1", type).c_str(),
                          Logger::E_UNKNOWN_LOG_APPENDER_TYPE);
}

} // namespace blocxx
