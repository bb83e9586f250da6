#include "Report.hpp"

#include "TerminalText.hpp"

#include <iostream>

namespace zolget
{

void report(const std::string& message)
{
    if (!message.empty())
    {
        std::cerr << "zolget: " + printable(message) + '\n' << std::flush;
    }
}

} // namespace zolget
