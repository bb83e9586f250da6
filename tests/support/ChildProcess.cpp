#include "support/ChildProcess.hpp"

#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <map>
#include <sstream>
#include <stdexcept>

namespace zol_test
{

namespace
{

using Clock = std::chrono::steady_clock;

std::string alongPath(const std::string& program)
{
    if (program.find('/') != std::string::npos)
    {
        return program;
    }
    // The folders of system programs are not on everybody's PATH.
    const char* path = std::getenv("PATH");
    std::istringstream folders(std::string(path != nullptr ? path : "/usr/bin:/bin") + ":/usr/sbin:/sbin");
    for (std::string folder; std::getline(folders, folder, ':');)
    {
        std::string candidate = folder.append("/").append(program);
        if (::access(candidate.c_str(), X_OK) == 0)
        {
            return candidate;
        }
    }
    throw std::runtime_error("cannot start " + program +
                             ": no such program (scripts/install-dependencies installs it)");
}

std::vector<std::string> environmentWith(const std::vector<std::pair<std::string, std::string>>& changes)
{
    std::map<std::string, std::string> values;
    for (char** entry = environ; *entry != nullptr; ++entry)
    {
        const std::string text(*entry);
        const std::size_t equals = text.find('=');
        if (equals != std::string::npos)
        {
            values[text.substr(0, equals)] = text.substr(equals + 1);
        }
    }
    for (const auto& change : changes)
    {
        values[change.first] = change.second;
    }
    std::vector<std::string> result;
    result.reserve(values.size());
    for (const auto& value : values)
    {
        result.push_back(value.first + "=" + value.second);
    }
    return result;
}

std::vector<char*> pointersTo(std::vector<std::string>& texts)
{
    std::vector<char*> pointers;
    pointers.reserve(texts.size() + 1);
    for (std::string& text : texts)
    {
        pointers.push_back(text.data());
    }
    pointers.push_back(nullptr);
    return pointers;
}

// All that the new process needs, made before the fork: between fork and exec only async-signal-safe calls are allowed.
struct Launch
{
    const char* program;
    char* const* arguments;
    char* const* environment;
    const char* workingDirectory;
    const std::vector<int>* inherit;
    int input;
    int output;
    int errorOutput;
    int failure;
    pid_t parent;
    int deathSignal;
};

[[noreturn]] void become(const Launch& launch)
{
    ::prctl(PR_SET_PDEATHSIG, launch.deathSignal);
    sigset_t none;
    sigemptyset(&none);
    ::sigprocmask(SIG_SETMASK, &none, nullptr);
    // A test run may ignore some itself, below nohup for one.
    for (const int signal : {SIGHUP, SIGINT, SIGQUIT, SIGPIPE, SIGTERM})
    {
        std::signal(signal, SIG_DFL);
    }
    bool ready = ::getppid() == launch.parent && ::dup2(launch.input, STDIN_FILENO) >= 0 &&
                 ::dup2(launch.output, STDOUT_FILENO) >= 0 && ::dup2(launch.errorOutput, STDERR_FILENO) >= 0 &&
                 (*launch.workingDirectory == '\0' || ::chdir(launch.workingDirectory) == 0);
    for (const int fd : *launch.inherit)
    {
        ready = ready && ::fcntl(fd, F_SETFD, 0) == 0;
    }
    if (ready)
    {
        ::execve(launch.program, launch.arguments, launch.environment);
    }
    const int error = errno;
    (void)!::write(launch.failure, &error, sizeof error);
    ::_exit(127);
}

} // namespace

ChildProcess::ChildProcess(std::vector<std::string> command) : ChildProcess(std::move(command), Options()) {}

ChildProcess::ChildProcess(std::vector<std::string> command, Options options) : m_input(std::move(options.input))
{
    const std::string program = alongPath(command.at(0));
    std::vector<std::string> environment = environmentWith(options.environment);
    const std::vector<char*> arguments = pointersTo(command);
    const std::vector<char*> variables = pointersTo(environment);
    Pipe input;
    Pipe output;
    Pipe errorOutput;
    Pipe failure;
    const Launch launch = {
        program.c_str(),        arguments.data(),    variables.data(),      options.workingDirectory.c_str(),
        &options.inherit,       input.readEnd.get(), output.writeEnd.get(), errorOutput.writeEnd.get(),
        failure.writeEnd.get(), ::getpid(),          options.deathSignal};
    m_pid = ::fork();
    if (m_pid == 0)
    {
        become(launch);
    }
    if (m_pid < 0)
    {
        throw std::runtime_error(std::string("cannot start ") + program + ": " + std::strerror(errno));
    }
    failure.writeEnd.reset();
    int error = 0;
    if (::read(failure.readEnd.get(), &error, sizeof error) == static_cast<ssize_t>(sizeof error))
    {
        reap(true);
        throw std::runtime_error("cannot start " + program + ": " + std::strerror(error));
    }
    m_standardInput = std::move(input.writeEnd);
    m_standardOutput = std::move(output.readEnd);
    m_standardError = std::move(errorOutput.readEnd);
    ::fcntl(m_standardInput.get(), F_SETFL, O_NONBLOCK);
    m_collector = std::thread([this] { collect(); });
}

ChildProcess::~ChildProcess()
{
    stop();
    // A grandchild may hold the pipes open.
    m_wake.writeEnd.reset();
    m_collector.join();
}

std::optional<int> ChildProcess::reap(bool block)
{
    if (!m_status)
    {
        int status = 0;
        pid_t ended = -1;
        do
        {
            ended = ::waitpid(m_pid, &status, block ? 0 : WNOHANG);
        } while (ended < 0 && errno == EINTR);
        if (ended == m_pid)
        {
            m_status = WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
        }
    }
    return m_status;
}

int ChildProcess::wait(std::chrono::milliseconds limit)
{
    const auto deadline = Clock::now() + limit;
    for (auto nap = std::chrono::milliseconds(1); !reap(false); nap = std::min(2 * nap, std::chrono::milliseconds(20)))
    {
        if (Clock::now() >= deadline)
        {
            throw std::runtime_error("process " + std::to_string(m_pid) + " did not end in time; it wrote:\n" +
                                     output() + errorOutput());
        }
        std::this_thread::sleep_for(nap);
    }
    std::unique_lock<std::mutex> lock(m_mutex);
    m_changed.wait_until(lock, deadline, [this] { return m_collected; });
    return *m_status;
}

bool ChildProcess::running()
{
    return !reap(false);
}

void ChildProcess::stop(std::chrono::milliseconds grace)
{
    if (!running())
    {
        return;
    }
    ::kill(m_pid, SIGTERM);
    const auto deadline = Clock::now() + grace;
    while (running() && Clock::now() < deadline)
    {
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    if (running())
    {
        ::kill(m_pid, SIGKILL);
        reap(true);
    }
}

std::string ChildProcess::output() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_output;
}

std::string ChildProcess::errorOutput() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_errorOutput;
}

bool ChildProcess::waitForOutput(std::string_view text, std::chrono::milliseconds limit) const
{
    std::unique_lock<std::mutex> lock(m_mutex);
    const auto there = [&]
    { return m_output.find(text) != std::string::npos || m_errorOutput.find(text) != std::string::npos; };
    m_changed.wait_for(lock, limit, [&] { return m_collected || there(); });
    return there();
}

void ChildProcess::collect()
{
    // The program may end without reading its input: then the write gives EPIPE, not a signal.
    sigset_t all;
    sigfillset(&all);
    ::pthread_sigmask(SIG_BLOCK, &all, nullptr);
    std::size_t written = 0;
    const auto drain = [this](Descriptor& from, std::string& into)
    {
        char block[65536];
        const ssize_t count = ::read(from.get(), block, sizeof block);
        const std::lock_guard<std::mutex> lock(m_mutex);
        if (count > 0)
        {
            into.append(block, static_cast<std::size_t>(count));
        }
        else
        {
            from.reset();
        }
        m_changed.notify_all();
    };
    while (m_standardOutput || m_standardError)
    {
        if (m_standardInput && written == m_input.size())
        {
            m_standardInput.reset();
        }
        // A descriptor of -1 is passed over by poll.
        pollfd waits[] = {{m_standardOutput.get(), POLLIN, 0},
                          {m_standardError.get(), POLLIN, 0},
                          {m_standardInput.get(), POLLOUT, 0},
                          {m_wake.readEnd.get(), POLLIN, 0}};
        ::poll(waits, 4, -1);
        if (waits[0].revents != 0)
        {
            drain(m_standardOutput, m_output);
        }
        if (waits[1].revents != 0)
        {
            drain(m_standardError, m_errorOutput);
        }
        if (waits[2].revents != 0)
        {
            const ssize_t count = ::write(m_standardInput.get(), m_input.data() + written, m_input.size() - written);
            written = count > 0 ? written + static_cast<std::size_t>(count) : m_input.size();
        }
        if (waits[3].revents != 0 && waits[0].revents == 0 && waits[1].revents == 0)
        {
            break;
        }
    }
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_collected = true;
    m_changed.notify_all();
}

} // namespace zol_test
