#include "TemporaryFile.hpp"

#include "ExitStatus.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <filesystem>

namespace zolget
{

namespace
{

constexpr int SIGNALS[] = {SIGINT, SIGTERM, SIGHUP};

// The file that the signal handler removes; changed only while the signals are blocked.
char g_guardedPath[PATH_MAX];

/// Blocks the signals until the scope ends.
class SignalsBlocked
{
public:
    SignalsBlocked()
    {
        sigset_t signals;
        sigemptyset(&signals);
        for (const int signal : SIGNALS)
        {
            sigaddset(&signals, signal);
        }
        ::pthread_sigmask(SIG_BLOCK, &signals, &m_previous);
    }
    ~SignalsBlocked() { ::pthread_sigmask(SIG_SETMASK, &m_previous, nullptr); }
    SignalsBlocked(const SignalsBlocked&) = delete;
    SignalsBlocked& operator=(const SignalsBlocked&) = delete;

private:
    sigset_t m_previous;
};

extern "C" void removeGuardedFile(int signal)
{
    if (g_guardedPath[0] != '\0')
    {
        ::unlink(g_guardedPath);
    }
    // The handler was reset on entry, so this ends the process as soon as the handler returns.
    ::raise(signal);
}

void installHandler()
{
    for (const int signal : SIGNALS)
    {
        struct sigaction current = {};
        ::sigaction(signal, nullptr, &current);
        if (current.sa_handler == SIG_DFL)
        {
            struct sigaction action = {};
            action.sa_handler = removeGuardedFile;
            action.sa_flags = static_cast<int>(SA_RESETHAND);
            sigfillset(&action.sa_mask);
            ::sigaction(signal, &action, nullptr);
        }
    }
}

void setGuardedPath(const std::string& path)
{
    std::memcpy(g_guardedPath, path.c_str(), path.size() + 1);
}

/// The mode that a new file gets from open(2).
mode_t modeOfNewFiles()
{
    const mode_t mask = ::umask(0);
    ::umask(mask);
    return 0666 & ~mask;
}

[[noreturn]] void fail(const std::string& target, int error)
{
    throw Failure(ExitStatus::LOCAL_FILE, "cannot write " + target + ": " + std::strerror(error));
}

} // namespace

TemporaryFile::TemporaryFile(const std::string& target) : m_target(target)
{
    const std::filesystem::path folder = std::filesystem::path(target).parent_path();
    m_path = (folder.empty() ? "." : folder.string()) + "/.zolget-XXXXXX";
    if (m_path.size() >= sizeof(g_guardedPath))
    {
        fail(m_target, ENAMETOOLONG);
    }
    installHandler();
    const SignalsBlocked blocked;
    m_descriptor = ::mkostemp(m_path.data(), O_CLOEXEC);
    if (m_descriptor < 0)
    {
        fail(m_target, errno);
    }
    setGuardedPath(m_path);
    ::fchmod(m_descriptor, modeOfNewFiles());
}

TemporaryFile::~TemporaryFile()
{
    close();
    if (!m_path.empty())
    {
        const SignalsBlocked blocked;
        ::unlink(m_path.c_str());
        setGuardedPath("");
    }
}

void TemporaryFile::becomeTarget()
{
    if (!close())
    {
        fail(m_target, errno);
    }
    const SignalsBlocked blocked;
    if (::rename(m_path.c_str(), m_target.c_str()) != 0)
    {
        fail(m_target, errno);
    }
    m_path.clear();
    setGuardedPath("");
}

bool TemporaryFile::close()
{
    const int descriptor = m_descriptor;
    m_descriptor = -1;
    return descriptor < 0 || ::close(descriptor) == 0;
}

} // namespace zolget
