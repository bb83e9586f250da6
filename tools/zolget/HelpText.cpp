#include "HelpText.hpp"

#include "ExitStatus.hpp"
#include "OptionTable.hpp"

#include <iomanip>
#include <ostream>
#include <string>

namespace zolget
{

namespace
{

constexpr std::size_t NAMES_WIDTH = 29;

void writeOption(std::ostream& out, const OptionText& option)
{
    std::string names = option.names;
    const std::size_t comma = names.find(',');
    if (comma != std::string::npos)
    {
        names.insert(comma + 1, " ");
    }
    const std::string left = "  " + names + (*option.argument != '\0' ? " " : "") + option.argument;
    out << std::left << std::setw(NAMES_WIDTH) << left;
    if (left.size() >= NAMES_WIDTH)
    {
        out << '\n' << std::string(NAMES_WIDTH, ' ');
    }
    out << option.help << '\n';
}

} // namespace

void writeHelp(std::ostream& out)
{
    out << "Usage: zolget [options] URL...\n"
           "\n"
           "Fetches pages over HTTP and HTTPS and writes their bodies to standard output or into files.\n";
    for (const OptionGroup& group : optionGroups())
    {
        out << '\n' << group.title << ":\n";
        for (const OptionText& option : group.options)
        {
            writeOption(out, option);
        }
    }
    out << "\nExit status:\n";
    for (const ExitStatusText& status : exitStatusTexts())
    {
        out << "  " << std::right << std::setw(2) << static_cast<int>(status.status) << "  " << status.help << '\n';
    }
}

} // namespace zolget
