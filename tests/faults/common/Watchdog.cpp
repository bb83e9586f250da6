#include "common/Watchdog.hpp"

#include <unistd.h>

#include <atomic>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>

namespace zol_faults
{

namespace
{

const unsigned LONGEST_ATTEMPT = 60; // seconds

char operationName[128];
std::atomic<const char*> currentWhat{""};
std::atomic<std::size_t> currentPoint{0};
std::terminate_handler former = nullptr;

// Neither allocates: nothing can be allocated, perhaps.
void name(const char* ending)
{
    char text[256];
    const int length = std::snprintf(text, sizeof text, "%s: %s, point %zu: %s\n", operationName, currentWhat.load(),
                                     currentPoint.load(), ending);
    if (length > 0 && ::write(STDERR_FILENO, text, static_cast<std::size_t>(length)) < 0)
    {
        std::abort();
    }
}

void tooLong(int)
{
    name("still runs after a minute");
    std::abort();
}

void terminated()
{
    name("std::terminate");
    std::abort();
}

} // namespace

Watchdog::Watchdog(const std::string& operation)
{
    std::strncpy(operationName, operation.c_str(), sizeof operationName - 1);
    former = std::set_terminate(terminated);
    std::signal(SIGALRM, tooLong);
}

Watchdog::~Watchdog()
{
    ::alarm(0);
    std::signal(SIGALRM, SIG_DFL);
    std::set_terminate(former);
}

void Watchdog::watch(std::size_t point, const char* what)
{
    currentPoint = point;
    currentWhat = what;
    ::alarm(LONGEST_ATTEMPT);
}

} // namespace zol_faults
