#include "ManualPage.hpp"

#include "ExitStatus.hpp"
#include "OptionTable.hpp"

#include <istream>
#include <ostream>
#include <sstream>
#include <string>

namespace zolget
{

namespace
{

constexpr std::size_t LINE_LENGTH = 78;

/// Text as roff takes it: a dash that is to be typed is not a hyphen, and a backslash begins a command.
std::string roff(const std::string& text)
{
    std::string result;
    for (const char c : text)
    {
        result += c == '-' ? "\\-" : c == '\\' ? "\\e" : std::string(1, c);
    }
    return result;
}

std::string bold(const std::string& text)
{
    return "\\fB" + roff(text) + "\\fR";
}

std::string italic(const std::string& text)
{
    return "\\fI" + roff(text) + "\\fR";
}

/// A word of a sentence: options are bold, the argument is italic.
std::string formatWord(const std::string& word, const std::string& argument)
{
    const std::size_t length = word.find_last_not_of(".,;:)") + 1;
    const std::string core = word.substr(0, length);
    const std::string rest = word.substr(length);
    if (core.size() > 1 && core.front() == '-')
    {
        return bold(core) + rest;
    }
    const bool isArgument = core.size() > 1 && argument.substr(0, argument.find(':')) == core;
    // A line that begins with one of these would be a command.
    const bool isCommand = word.front() == '.' || word.front() == '\'';
    return isArgument ? italic(core) + rest : (isCommand ? "\\&" : "") + roff(word);
}

/// Sentences, each on lines of its own.
void writeSentences(std::ostream& out, const std::string& text, const std::string& argument = std::string())
{
    std::istringstream words(text);
    std::string line;
    const auto flush = [&out, &line]
    {
        out << line << (line.empty() ? "" : "\n");
        line.clear();
    };
    for (std::string word; words >> word;)
    {
        const std::string formatted = formatWord(word, argument);
        if (!line.empty() && line.size() + 1 + formatted.size() > LINE_LENGTH)
        {
            flush();
        }
        line += (line.empty() ? "" : " ") + formatted;
        if (word.back() == '.')
        {
            flush();
        }
    }
    flush();
}

void writeOption(std::ostream& out, const OptionText& option)
{
    out << ".TP\n";
    std::string separator;
    for (const std::string& name : option.nameList())
    {
        out << separator << bold(name);
        separator = ", ";
    }
    const std::string argument = option.argument;
    out << (argument.empty() ? "" : " " + italic(argument)) << '\n';
    writeSentences(out, option.manual, argument);
}

void writeOptions(std::ostream& out)
{
    for (const OptionGroup& group : optionGroups())
    {
        out << ".SS " << group.title << '\n';
        for (const OptionText& option : group.options)
        {
            writeOption(out, option);
        }
    }
}

void writeExitStatus(std::ostream& out)
{
    for (const ExitStatusText& text : exitStatusTexts())
    {
        out << ".TP\n.B " << static_cast<int>(text.status) << '\n';
        writeSentences(out, text.manual);
    }
}

} // namespace

void writeManualPage(std::istream& source, std::ostream& out)
{
    for (std::string line; std::getline(source, line);)
    {
        if (line == "@OPTIONS@")
        {
            writeOptions(out);
        }
        else if (line == "@EXIT_STATUS@")
        {
            writeExitStatus(out);
        }
        else
        {
            out << line << '\n';
        }
    }
}

} // namespace zolget
