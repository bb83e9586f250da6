#pragma once

#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <functional>

namespace zol_test
{

/// Runs `child` in a forked process, and meanwhile `parent` in this one.
/// @return what `child` returns, the exit status; -1 if a signal ended it, which is SIGALRM after 60 seconds
inline int exitStatusOfFork(
    const std::function<int()>& child, const std::function<void()>& parent = [] {})
{
    const pid_t process = ::fork();
    if (process == 0)
    {
        ::signal(SIGALRM, SIG_DFL);
        ::alarm(60);
        ::_exit(child());
    }
    parent();
    int status = 0;
    if (process < 0 || ::waitpid(process, &status, 0) != process || !WIFEXITED(status))
    {
        return -1;
    }
    return WEXITSTATUS(status);
}

} // namespace zol_test
