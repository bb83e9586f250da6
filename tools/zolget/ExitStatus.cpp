#include "ExitStatus.hpp"

namespace zolget
{

const std::vector<ExitStatusText>& exitStatusTexts()
{
    static const std::vector<ExitStatusText> TEXTS = {
        {ExitStatus::SUCCESS, "the response is complete",
         "The response is complete. With several URLs: all of them are."},
        {ExitStatus::UNEXPECTED, "unexpected failure", "Something else failed, memory for example."},
        {ExitStatus::USAGE, "wrong command line", "The command line is wrong."},
        {ExitStatus::RESOLVE, "host name not known",
         "The host name is not known, or has no address of the family "
         "that is asked for."},
        {ExitStatus::CONNECT, "server cannot be reached",
         "The server cannot be reached: the connection was refused or timed out, or there is no route."},
        {ExitStatus::TLS, "no secure connection (TLS)",
         "There is no secure connection: the server's certificate is not trusted or is for another host, the given "
         "certificate or key cannot be used, or the server ended the connection with a TLS alert, for example because "
         "it requires a client certificate."},
        {ExitStatus::HTTP_STATUS, "the response has an error status",
         "The status of the response is not in the range 200 to 299. A redirect that was not followed is one of them; "
         "the message names its target."},
        {ExitStatus::INCOMPLETE_RESPONSE, "the response is incomplete",
         "The response is incomplete: the connection broke, ended early or timed out, or the chunks or the compression "
         "of the body are damaged."},
        {ExitStatus::LOCAL_FILE, "a local file cannot be read or written",
         "A local file cannot be read or written: the disk is full, or the file would be larger than the process may "
         "make it. When the reader of standard output has gone away, there is no message."},
        {ExitStatus::MALFORMED, "the response is malformed or not supported",
         "The response is not valid HTTP or over a limit, its body has a transfer coding that is not supported, its "
         "parts cannot be told apart, or it is not the part of the file that was asked for."},
        {ExitStatus::INCOMPLETE_REQUEST, "the request could not be sent completely",
         "The request could not be sent completely: the connection broke, or the server took no data for too long. If "
         "the server refused the request with an error status, the exit status is 6."},
        {ExitStatus::OUT_OF_TIME, "--max-time is over", "The time that --max-time allows is over."},
    };
    return TEXTS;
}

} // namespace zolget
