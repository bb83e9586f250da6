#pragma once

#include <stdexcept>
#include <string>

namespace zolget
{

/// What the process ends with. The numbers are documented in the manual page and do not change.
enum class ExitStatus
{
    SUCCESS = 0,
    UNEXPECTED = 1,  ///< something that none of the others describes, such as exhausted memory
    USAGE = 2,       ///< the command line makes no sense
    RESOLVE = 3,     ///< the name of the host is not known
    CONNECT = 4,     ///< the server cannot be reached
    TLS = 5,         ///< no secure connection: the server's certificate, or one of ours, does not do
    HTTP_STATUS = 6, ///< the server answered with a status outside 200 to 299
    CUT = 7,         ///< the connection broke off or fell silent before the answer was complete
    LOCAL_FILE = 8,  ///< a file here, standard output included, cannot be read or written
    MALFORMED = 9    ///< the server's answer is not HTTP, or is coded in a way that is not understood
};

/// Ends the program with a status. The message says what failed, for which host or file, and what to try; an empty one
/// ends it quietly.
class Failure : public std::runtime_error
{
public:
    Failure(ExitStatus status, const std::string& message) : std::runtime_error(message), m_status(status) {}

    ExitStatus status() const { return m_status; }

private:
    ExitStatus m_status;
};

} // namespace zolget
