#include "Output.hpp"

#include "DescriptorOutput.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

namespace zolget
{

Output::Output(const std::string& path) : m_name(path.empty() ? "standard output" : path), m_descriptor(STDOUT_FILENO)
{
    if (path.empty())
    {
        return;
    }
    FilePlace place = locate(path);
    struct stat status = {};
    if (::stat(path.c_str(), &status) == 0 && !S_ISREG(status.st_mode))
    {
        m_device = OpenDescriptor(::open(path.c_str(), O_WRONLY | O_CLOEXEC | O_NOCTTY));
        if (m_device.get() < 0)
        {
            failToWrite(m_name, errno);
        }
        m_descriptor = m_device.get();
        return;
    }
    m_descriptor = m_file.emplace(std::move(place)).descriptor();
}

Output::Output(FilePlace place)
    : m_name(place.path), m_file(std::in_place, std::move(place)), m_descriptor(m_file->descriptor())
{
}

void Output::write(std::string_view bytes)
{
    writeAll(m_descriptor, m_name, bytes);
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
