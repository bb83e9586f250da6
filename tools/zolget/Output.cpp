#include "Output.hpp"

#include "ExitStatus.hpp"

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>

namespace zolget
{

namespace
{

[[noreturn]] void fail(const std::string& name, int error)
{
    throw Failure(ExitStatus::LOCAL_FILE, "cannot write " + name + ": " + std::strerror(error));
}

/// The file that a symbolic link leads to, so that the link survives when the file is replaced.
std::string withoutLinks(const std::string& path)
{
    std::error_code error;
    const std::filesystem::path target = std::filesystem::canonical(path, error);
    return error ? path : target.string();
}

} // namespace

Output::Output(const std::string& path) : m_name(path.empty() ? "standard output" : path), m_descriptor(STDOUT_FILENO)
{
    if (path.empty())
    {
        return;
    }
    struct stat status = {};
    if (::stat(path.c_str(), &status) == 0 && !S_ISREG(status.st_mode))
    {
        m_descriptor = ::open(path.c_str(), O_WRONLY | O_CLOEXEC | O_NOCTTY);
        m_isOurs = true;
        if (m_descriptor < 0)
        {
            fail(m_name, errno);
        }
        return;
    }
    m_descriptor = m_file.emplace(withoutLinks(path)).descriptor();
}

Output::~Output()
{
    if (m_isOurs)
    {
        ::close(m_descriptor);
    }
}

void Output::write(std::string_view bytes)
{
    while (!bytes.empty())
    {
        const ssize_t count = ::write(m_descriptor, bytes.data(), bytes.size());
        if (count >= 0)
        {
            bytes.remove_prefix(static_cast<std::size_t>(count));
        }
        else if (errno == EAGAIN)
        {
            pollfd waiting{m_descriptor, POLLOUT, 0};
            ::poll(&waiting, 1, -1);
        }
        else if (errno == EPIPE)
        {
            throw Failure(ExitStatus::LOCAL_FILE, "");
        }
        else if (errno != EINTR)
        {
            fail(m_name, errno);
        }
    }
}

void Output::complete()
{
    if (m_file.has_value())
    {
        m_file->becomeTarget();
    }
}

bool Output::isTerminal() const
{
    return ::isatty(m_descriptor) == 1;
}

} // namespace zolget
