#include "Log.hpp"

#include "blocxx/CerrAppender.hpp"
#include "blocxx/Logger.hpp"
#include "blocxx/MultiAppender.hpp"

namespace zolget
{

namespace
{

constexpr const char* PATTERN = "%p %c: %m";

blocxx::StringArray errorsOnly()
{
    blocxx::StringArray categories;
    categories.push_back(blocxx::Logger::STR_ERROR_CATEGORY);
    return categories;
}

} // namespace

DroppedParts::DroppedParts() : LogAppender(ALL_COMPONENTS, errorsOnly(), "%m") {}

void DroppedParts::doProcessLogMessage(const blocxx::String& text, const blocxx::LogMessage& /*message*/) const
{
    if (text.indexOf("Failed to create content for part") != blocxx::String::npos)
    {
        m_seen = true;
    }
}

DroppedPartsRef startLog(int verbosity)
{
    DroppedPartsRef dropped(new DroppedParts);
    if (verbosity == 0)
    {
        blocxx::LogAppender::setDefaultLogAppender(dropped);
        return dropped;
    }
    const auto level = verbosity > 1 ? blocxx::E_ALL_LEVEL : blocxx::E_DEBUG2_LEVEL;
    blocxx::Array<blocxx::LogAppenderRef> appenders;
    appenders.push_back(dropped);
    appenders.push_back(blocxx::LogAppenderRef(new blocxx::CerrAppender(
        blocxx::LogAppender::ALL_COMPONENTS, blocxx::LogAppender::getCategoriesForLevel(level), PATTERN)));
    blocxx::LogAppender::setDefaultLogAppender(blocxx::LogAppenderRef(new blocxx::MultiAppender(appenders)));
    return dropped;
}

} // namespace zolget
