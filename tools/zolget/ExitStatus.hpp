#pragma once

#include <vector>

namespace zolget
{

/// The exit status of the process. The numbers do not change.
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
    INCOMPLETE_REQUEST = 10, ///< the connection broke or timed out before the request was sent completely
    OUT_OF_TIME = 11         ///< the time that --max-time allows is over
};

/// What help and manual say about a status.
struct ExitStatusText
{
    ExitStatus status;
    const char* help;   ///< a few words
    const char* manual; ///< sentences
};

/// All of them, in the order of their numbers.
const std::vector<ExitStatusText>& exitStatusTexts();

} // namespace zolget
