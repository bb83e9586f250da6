#pragma once

#include <string>
#include <vector>

namespace zolget
{

/// What a shell offers for the argument of an option.
enum class Completion
{
    NOTHING,
    FILES,
    FOLDERS,
    METHODS
};

/// What help, manual and completion say about an option. It is the only place where they are described.
struct OptionText
{
    const char* names;    ///< "-o,--output"
    const char* argument; ///< "FILE"; empty for an option without
    const char* help;     ///< one line
    const char* manual;   ///< sentences; words that begin with "-" are options
    Completion completion;

    /// Its names one by one.
    std::vector<std::string> nameList() const;
};

/// Options that belong together.
struct OptionGroup
{
    const char* title;
    std::vector<OptionText> options;
};

/// All options, in the order in which they are shown.
const std::vector<OptionGroup>& optionGroups();

/// The option that has this name, such as "--output". @throws std::logic_error if there is none
const OptionText& optionText(const std::string& name);

} // namespace zolget
