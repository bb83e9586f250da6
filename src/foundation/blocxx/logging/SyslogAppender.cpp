#include "blocxx/SyslogAppender.hpp"

#include "blocxx/Format.hpp"
#include "blocxx/LogMessage.hpp"
#include "blocxx/Logger.hpp"

#include <syslog.h>

#include <mutex>
#include <string>
#include <string_view>

namespace blocxx
{

const GlobalString SyslogAppender::STR_DEFAULT_MESSAGE_PATTERN = BLOCXX_GLOBAL_STRING_INIT("[%t]%m");

namespace
{

struct NamedFacility
{
    std::string_view name;
    int number;
};

const NamedFacility FACILITIES[] = {
    {"auth", LOG_AUTH},     {"authpriv", LOG_AUTHPRIV}, {"cron", LOG_CRON},     {"daemon", LOG_DAEMON},
    {"ftp", LOG_FTP},       {"kern", LOG_KERN},         {"lpr", LOG_LPR},       {"mail", LOG_MAIL},
    {"news", LOG_NEWS},     {"user", LOG_USER},         {"uucp", LOG_UUCP},     {"local0", LOG_LOCAL0},
    {"local1", LOG_LOCAL1}, {"local2", LOG_LOCAL2},     {"local3", LOG_LOCAL3}, {"local4", LOG_LOCAL4},
    {"local5", LOG_LOCAL5}, {"local6", LOG_LOCAL6},     {"local7", LOG_LOCAL7},
};

int facilityNumber(const String& facility)
{
    if (facility.empty())
    {
        throw LoggerException("SyslogAppender", __LINE__, "SyslogAppender: Empty syslog facility name");
    }
    for (const NamedFacility& named : FACILITIES)
    {
        if (named.name == std::string_view(facility.c_str(), facility.length()))
        {
            return named.number;
        }
    }
    throw LoggerException("SyslogAppender", __LINE__,
                          Format("SyslogAppender: Unknown syslog facility name: %1", facility).c_str());
}

void openOnce(const String& identity, int facility)
{
    static std::once_flag opened;
    std::call_once(opened,
                   [&identity, facility]
                   {
                       // The system keeps the pointer for as long as the process lives.
                       static const std::string* const name = new std::string(identity.c_str(), identity.length());
                       ::openlog(name->c_str(), LOG_CONS, facility);
                   });
}

struct NamedPriority
{
    const GlobalString& category;
    int number;
};

const NamedPriority PRIORITIES[] = {
    {Logger::STR_FATAL_CATEGORY, LOG_CRIT},      {Logger::STR_ERROR_CATEGORY, LOG_ERR},
    {Logger::STR_WARNING_CATEGORY, LOG_WARNING}, {Logger::STR_DEBUG_CATEGORY, LOG_DEBUG},
    {Logger::STR_DEBUG2_CATEGORY, LOG_DEBUG},    {Logger::STR_DEBUG3_CATEGORY, LOG_DEBUG},
};

int priorityOf(const String& category)
{
    for (const NamedPriority& named : PRIORITIES)
    {
        if (category == named.category.get())
        {
            return named.number;
        }
    }
    return LOG_INFO;
}

} // namespace

SyslogAppender::SyslogAppender(const StringArray& components, const StringArray& categories, const String& pattern,
                               const String& identity, const String& facility)
    : LogAppender(components, categories, pattern)
{
    if (String(identity).trim().empty())
    {
        throw LoggerException("SyslogAppender", __LINE__, "SyslogAppender: Empty syslog identity name");
    }
    openOnce(identity, facilityNumber(facility));
}

SyslogAppender::~SyslogAppender() = default;

void SyslogAppender::doProcessLogMessage(const String& formattedMessage, const LogMessage& message) const
{
    const int priority = priorityOf(message.category);
    for (const String& line : formattedMessage.tokenize("\n"))
    {
        ::syslog(priority, "%s", line.c_str());
    }
}

} // namespace blocxx
