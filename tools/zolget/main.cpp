#include "ExitStatus.hpp"
#include "Options.hpp"
#include "StandardStreams.hpp"
#include "Transfer.hpp"

#include <csignal>
#include <exception>
#include <iostream>

namespace
{

int report(zolget::ExitStatus status, const char* message)
{
    if (*message != '\0')
    {
        std::cerr << "zolget: " << message << std::endl;
    }
    return static_cast<int>(status);
}

} // namespace

int main(int argc, char** argv)
{
    using zolget::ExitStatus;
    zolget::occupyStandardStreams();
    // A reader of the output that goes away shows as an error of write(2), after which the temporary file is removed.
    ::signal(SIGPIPE, SIG_IGN);
    try
    {
        if (const auto options = zolget::parseOptions(argc, argv, std::cout))
        {
            zolget::transfer(*options);
        }
        return static_cast<int>(ExitStatus::SUCCESS);
    }
    catch (const zolget::Failure& failure)
    {
        return report(failure.status(), failure.what());
    }
    catch (const std::exception& error)
    {
        return report(ExitStatus::UNEXPECTED, error.what());
    }
}
