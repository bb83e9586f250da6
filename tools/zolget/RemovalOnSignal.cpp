#include "RemovalOnSignal.hpp"

#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <initializer_list>

namespace zolget
{

namespace
{

// What the signal handler removes; changed only while the signals are blocked.
char g_name[64];
int g_folder = -1;

extern "C" void removeFile(int signal)
{
    if (g_folder >= 0)
    {
        ::unlinkat(g_folder, g_name, 0);
    }
    // The handler was reset on entry, so this ends the process as soon as the handler returns.
    ::raise(signal);
}

/// Whether the signal ends a process that has no handler for it (signal(7)), and can have one.
bool endsProcess(int signal)
{
    static constexpr std::initializer_list<int> OTHERS = {SIGKILL, SIGSTOP, SIGCHLD, SIGCONT, SIGTSTP,
                                                          SIGTTIN, SIGTTOU, SIGURG,  SIGWINCH};
    // Between the standard and the first real-time one are those of the C library.
    const bool isStandard = signal <= SIGSYS;
    return (isStandard || signal >= SIGRTMIN) && std::find(OTHERS.begin(), OTHERS.end(), signal) == OTHERS.end();
}

} // namespace

RemovalOnSignal::SignalsBlocked::SignalsBlocked()
{
    sigset_t signals;
    sigfillset(&signals);
    ::pthread_sigmask(SIG_BLOCK, &signals, &m_previous);
}

RemovalOnSignal::SignalsBlocked::~SignalsBlocked()
{
    ::pthread_sigmask(SIG_SETMASK, &m_previous, nullptr);
}

void RemovalOnSignal::installHandler()
{
    for (int signal = 1; signal <= SIGRTMAX; ++signal)
    {
        struct sigaction current = {};
        if (!endsProcess(signal) || ::sigaction(signal, nullptr, &current) != 0 || current.sa_handler != SIG_DFL)
        {
            continue;
        }
        struct sigaction action = {};
        action.sa_handler = removeFile;
        action.sa_flags = static_cast<int>(SA_RESETHAND);
        sigfillset(&action.sa_mask);
        ::sigaction(signal, &action, nullptr);
    }
}

void RemovalOnSignal::remember(int folder, const std::string& name)
{
    std::memcpy(g_name, name.c_str(), name.size() + 1);
    g_folder = folder;
}

void RemovalOnSignal::forget()
{
    g_folder = -1;
}

} // namespace zolget
