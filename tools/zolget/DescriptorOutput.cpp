#include "DescriptorOutput.hpp"

#include "Failure.hpp"
#include "FilePlace.hpp"

#include <poll.h>
#include <unistd.h>

#include <cerrno>

namespace zolget
{

void writeAll(int descriptor, const std::string& name, std::string_view bytes)
{
    while (!bytes.empty())
    {
        const ssize_t count = ::write(descriptor, bytes.data(), bytes.size());
        if (count >= 0)
        {
            bytes.remove_prefix(static_cast<std::size_t>(count));
        }
        else if (errno == EAGAIN)
        {
            pollfd waiting{descriptor, POLLOUT, 0};
            ::poll(&waiting, 1, -1);
        }
        else if (errno == EPIPE)
        {
            throw Failure(ExitStatus::LOCAL_FILE, "");
        }
        else if (errno != EINTR)
        {
            failToWrite(name, errno);
        }
    }
}

void writeToStandardOutput(std::string_view bytes)
{
    writeAll(STDOUT_FILENO, "standard output", bytes);
}

} // namespace zolget
