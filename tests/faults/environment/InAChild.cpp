#include "environment/InAChild.hpp"

#include "support/Descriptor.hpp"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>

namespace zol_faults
{

namespace
{

const int OUT_OF_THE_WAY = 900; // of what the action does with descriptors

[[noreturn]] void doIt(const std::function<std::string()>& action, int out)
{
    ::signal(SIGALRM, SIG_DFL);
    ::alarm(60);
    const std::string text = action();
    ::_exit(::write(out, text.data(), text.size()) == static_cast<ssize_t>(text.size()) ? 0 : 1);
}

} // namespace

std::string inAChild(const std::function<std::string()>& action)
{
    zol_test::Pipe pipe;
    const pid_t process = ::fork();
    if (process == 0)
    {
        doIt(action, ::fcntl(pipe.writeEnd.get(), F_DUPFD_CLOEXEC, OUT_OF_THE_WAY));
    }
    pipe.writeEnd.reset();
    std::string text;
    char block[512];
    for (ssize_t count = 0; (count = ::read(pipe.readEnd.get(), block, sizeof block)) > 0;)
    {
        text.append(block, static_cast<std::size_t>(count));
    }
    int status = 0;
    ::waitpid(process, &status, 0);
    return WIFEXITED(status) && WEXITSTATUS(status) == 0 ? text : text + " (ended with " + std::to_string(status) + ")";
}

} // namespace zol_faults
