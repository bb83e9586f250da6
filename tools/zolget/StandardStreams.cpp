#include "StandardStreams.hpp"

#include <fcntl.h>
#include <unistd.h>

#include <initializer_list>

namespace zolget
{

void occupyStandardStreams()
{
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
    {
        if (::fcntl(stream, F_GETFD) < 0)
        {
            // The lowest free number is the stream's own. Opened for the direction that the stream is not used in.
            (void)::open("/dev/null", stream == STDIN_FILENO ? O_WRONLY : O_RDONLY);
        }
    }
}

} // namespace zolget
