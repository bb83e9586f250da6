#include "BashCompletion.hpp"

#include "OptionTable.hpp"

#include <ostream>
#include <string>

namespace zolget
{

namespace
{

/// The names of all options for which `wanted` is true, each followed by the separator but the last.
template <class Wanted>
std::string namesOf(const Wanted& wanted, const std::string& separator)
{
    std::string names;
    for (const OptionGroup& group : optionGroups())
    {
        for (const OptionText& option : group.options)
        {
            for (const std::string& name : wanted(option) ? option.nameList() : std::vector<std::string>())
            {
                names += (names.empty() ? "" : separator) + name;
            }
        }
    }
    return names;
}

/// What follows an option whose argument is completed so.
void writeCase(std::ostream& out, Completion completion, const char* action)
{
    const auto isOne = [completion](const OptionText& option)
    { return *option.argument != '\0' && option.completion == completion; };
    out << "    " << namesOf(isOne, " | ") << ")\n        " << action << "\n        return\n        ;;\n";
}

} // namespace

void writeBashCompletion(std::ostream& out)
{
    out << "# bash completion for zolget\n"
           "_zolget()\n"
           "{\n"
           "    local word=${COMP_WORDS[COMP_CWORD]}\n"
           "    COMPREPLY=()\n"
           "    case ${COMP_WORDS[COMP_CWORD - 1]} in\n";
    writeCase(out, Completion::FILES, "mapfile -t COMPREPLY < <(compgen -f -- \"$word\")");
    writeCase(out, Completion::FOLDERS, "mapfile -t COMPREPLY < <(compgen -d -- \"$word\")");
    writeCase(out, Completion::METHODS,
              "mapfile -t COMPREPLY < <(compgen -W 'GET HEAD POST PUT PATCH DELETE OPTIONS' -- \"$word\")");
    writeCase(out, Completion::NOTHING, ":");
    out << "    esac\n"
           "    [[ $word == -* ]] || return\n"
           "    mapfile -t COMPREPLY < <(compgen -W '"
        << namesOf([](const OptionText&) { return true; }, " ")
        << "' -- \"$word\")\n"
           "}\n"
           "complete -o filenames -F _zolget zolget\n";
}

} // namespace zolget
