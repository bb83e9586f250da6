#pragma once

#include "blocxx/BLOCXX_config.h"
#include "blocxx/String.hpp"

namespace blocxx
{

/// One log record on its way to the appenders.
struct BLOCXX_COMMON_API LogMessage
{
    /// @param file, method not copied: they outlive the record, and null means unknown
    /// @param line         -1 means unknown
    LogMessage(const String& componentName, const String& categoryName, const String& text, const char* file, int line,
               const char* method)
        : component(componentName), category(categoryName), message(text), filename(file), fileline(line),
          methodname(method)
    {
    }

    /// Who logs: "zol.common.http".
    String component;
    /// "ERROR", "DEBUG3", or one of the program's own.
    String category;
    /// The text.
    String message;
    /// The source file; null for none. Not owned.
    const char* filename;
    /// The line in it; -1 for none.
    int fileline;
    /// The function; null for none. Not owned.
    const char* methodname;
};

} // namespace blocxx
