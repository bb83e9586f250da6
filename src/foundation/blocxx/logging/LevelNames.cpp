#include "logging/LevelNames.hpp"

namespace blocxx
{

namespace
{

const char* const NAMES[] = {"NONE", "FATAL", "ERROR", "WARNING", "INFO", "DEBUG", "DEBUG2", "DEBUG3", "ALL"};

static_assert(sizeof NAMES / sizeof *NAMES == E_ALL_LEVEL + 1, "each level has a name");

} // namespace

const char* nameOfLevel(ELogLevel level) noexcept
{
    const bool isLevel = level >= E_NONE_LEVEL && level <= E_ALL_LEVEL;
    return isLevel ? NAMES[level] : nullptr;
}

std::optional<ELogLevel> levelNamed(const String& category) noexcept
{
    for (int level = E_NONE_LEVEL; level <= E_ALL_LEVEL; ++level)
    {
        if (category.equalsIgnoreCase(NAMES[level]))
        {
            return static_cast<ELogLevel>(level);
        }
    }
    return std::nullopt;
}

} // namespace blocxx
