#include "Log.hpp"

#include "StringView.hpp"
#include "TerminalText.hpp"

#include "blocxx/LogAppender.hpp"

#include <iostream>

namespace zolget
{

namespace
{

constexpr int LEAST_VERBOSITY = 2;
constexpr const char* PATTERN = "%p %c: %m";

/// Records may hold what a server sent. They come from one thread only.
class TerminalAppender : public blocxx::LogAppender
{
public:
    explicit TerminalAppender(const blocxx::StringArray& categories) : LogAppender(ALL_COMPONENTS, categories, PATTERN)
    {
    }

private:
    void doProcessLogMessage(const blocxx::String& text, const blocxx::LogMessage& /*message*/) const override
    {
        std::cerr << printable(viewOf(text)) + '\n';
    }
};

} // namespace

void startLog(int verbosity)
{
    if (verbosity >= LEAST_VERBOSITY)
    {
        const auto level = verbosity > LEAST_VERBOSITY ? blocxx::E_ALL_LEVEL : blocxx::E_DEBUG2_LEVEL;
        blocxx::LogAppender::setDefaultLogAppender(
            blocxx::LogAppenderRef(new TerminalAppender(blocxx::LogAppender::getCategoriesForLevel(level))));
    }
}

} // namespace zolget
