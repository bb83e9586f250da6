#pragma once

#include <stdexcept>
#include <string>

namespace zolget
{

/// The exit status of the process. The manual page documents the numbers; they do not change.
enum class ExitStatus
{
    SUCCESS = 0,
    UNEXPECTED = 1,          ///< anything that none of the others describes, such as exhausted memory
    USAGE = 2,               ///< the command line is wrong
    RESOLVE = 3,             ///< the name of the host is not known
    CONNECT = 4,             ///< the server cannot be reached
    TLS = 5,                 ///< no secure connection: the server's certificate, or the given one, is not accepted
    HTTP_STATUS = 6,         ///< the status of the response is not in the range 200 to 299
    INCOMPLETE_RESPONSE = 7, ///< the connection broke, ended or timed out before the response was complete
    LOCAL_FILE = 8,          ///< a file here, standard output included, cannot be read or written
    MALFORMED = 9,           ///< the response is not HTTP, or uses something that is not supported
    INCOMPLETE_REQUEST = 10  ///< the connection broke or timed out before the request was sent completely
};

/// Ends the program with a status. The message says what failed, for which host or file, and what to try; when it is
/// empty, nothing is printed.
class Failure : public std::runtime_error
{
public:
    Failure(ExitStatus status, const std::string& message) : std::runtime_error(message), m_status(status) {}

    ExitStatus status() const { return m_status; }

private:
    ExitStatus m_status;
};

} // namespace zolget
