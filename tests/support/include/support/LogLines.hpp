#pragma once

#include "support/LogCapture.hpp"

#include <string>
#include <vector>

namespace zol_test
{

/// What one component has logged, in order: category, blank, message.
inline std::vector<std::string> logLines(const LogCapture& log, const std::string& component)
{
    std::vector<std::string> lines;
    for (const LogRecord& record : log.records())
    {
        if (record.component == component)
        {
            lines.push_back(record.category + " " + record.message);
        }
    }
    return lines;
}

} // namespace zol_test
