#include "Failure.hpp"
#include "Options.hpp"
#include "Report.hpp"
#include "StandardStreams.hpp"
#include "Transfer.hpp"

#include <csignal>
#include <exception>
#include <iostream>

using zolget::ExitStatus;

namespace
{

ExitStatus run(int argc, char** argv, bool& isQuiet)
{
    const std::optional<zolget::Options> options = zolget::parseOptions(argc, argv, std::cout);
    isQuiet = options.has_value() && options->isQuiet;
    return options.has_value() ? zolget::transfer(*options) : ExitStatus::SUCCESS;
}

} // namespace

int main(int argc, char** argv)
{
    zolget::occupyStandardStreams();
    // A reader of the output that goes away, and a file that becomes too large, show as errors of write(2), after which
    // the temporary file is removed.
    ::signal(SIGPIPE, SIG_IGN);
    ::signal(SIGXFSZ, SIG_IGN);
    ExitStatus status = ExitStatus::UNEXPECTED;
    bool isQuiet = false;
    try
    {
        return static_cast<int>(run(argc, argv, isQuiet));
    }
    catch (const zolget::Failure& failure)
    {
        status = failure.status();
        zolget::report(isQuiet ? "" : failure.what());
    }
    catch (const std::exception& error)
    {
        zolget::report(isQuiet ? "" : error.what());
    }
    return static_cast<int>(status);
}
