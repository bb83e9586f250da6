#include "OptionTable.hpp"

#include <algorithm>
#include <sstream>
#include <stdexcept>

namespace zolget
{

namespace
{

OptionGroup requestGroup()
{
    return {
        "The request",
        {
            {"-X,--request", "METHOD", "the method of the request (default: GET, with a body POST)",
             "The method. The default is GET, or POST when there is a body.", Completion::METHODS},
            {"-I,--head", "", "ask for the head alone, and show it",
             "Ask for the head of the response alone, with the method HEAD, and show it as -i does.",
             Completion::NOTHING},
            {"-H,--header", "'NAME: VALUE'", "a header to send; may be given several times",
             "A header to send, in place of the one that would be added. May be given several times. A value with "
             "control characters is an error.",
             Completion::NOTHING},
            {"-u,--user", "USER:PASSWORD", "log in with basic authentication",
             "Send this user name and password by basic authentication. Without https anybody on the way can read "
             "them, and other users of this machine see the command line.",
             Completion::NOTHING},
            {"-d,--data", "TEXT", "a text to send as the body",
             "A text to send as the body, with the type text/plain unless -H gives another.", Completion::NOTHING},
            {"--data-file", "FILE", "a file to send as the body, - for standard input; may be given several times",
             "A file to send as the body, with the type application/octet-stream unless -H gives another. May be given "
             "several times; the files are sent as one body, one after the other. Only regular files can be sent, "
             "since the length of the body is announced before it. An exception is a single dash, which means standard "
             "input: with it the body is sent in chunks, and only once.",
             Completion::FILES},
            {"-F,--form", "NAME=VALUE",
             "a field of a form to send, or NAME=@PATH for a file; may be given several times",
             "A field of a form, sent as a part of a multipart/form-data body. If the value begins with an at sign, "
             "the "
             "rest of it is the path of a regular file that is sent under its own name. May be given several times; "
             "the fields are sent in the order in which they are given.",
             Completion::NOTHING},
            {"--part", "TYPE:TEXT", "a text to send as a part of a multipart/mixed body; may be given several times",
             "A text to send as a part of a multipart/mixed body. TYPE is a media type and subtype, such as "
             "text/plain. May be given several times; these parts and those of --part-file are sent in the order in "
             "which they are given.",
             Completion::NOTHING},
            {"--part-file", "TYPE:FILE", "a file to send as a part of such a body; may be given several times",
             "A regular file to send as a part of a multipart/mixed body.", Completion::NOTHING},
            {"-L,--follow", "", "follow redirects, at most 20",
             "Follow redirects, at most 20 in a row. Another origin gets neither the credentials nor the cookies nor "
             "the client certificate that are given here. A redirect from https to http is not followed.",
             Completion::NOTHING},
            {"--compressed", "", "ask for a compressed body, and decompress it",
             "Ask for a body that is compressed with gzip or deflate, and decompress it.", Completion::NOTHING},
            {"--http1.0", "", "send an HTTP/1.0 request", "Send an HTTP/1.0 request.", Completion::NOTHING},
        }};
}

OptionGroup connectionGroup()
{
    return {
        "The connection",
        {
            {"-4,--ipv4", "", "use IPv4 addresses only", "Use IPv4 addresses only.", Completion::NOTHING},
            {"-6,--ipv6", "", "use IPv6 addresses only", "Use IPv6 addresses only.", Completion::NOTHING},
            {"--ca", "PATH", "trust the certificate authorities in this file or folder (default: those of the system)",
             "Trust the certificate authorities in this PEM file, or in this folder of PEM files under their hashed "
             "names, instead of those of the system.",
             Completion::FILES},
            {"--crl", "PATH", "refuse certificates on the revocation lists in this file or folder (PEM)",
             "Refuse the certificates on the revocation lists in this PEM file, or in this folder of PEM files under "
             "their hashed names. Every issuer in the chain of the server's certificate must then have a current list "
             "there. Without this option, revocation is checked only where --ca gives lists too; none is fetched.",
             Completion::FILES},
            {"--no-verify", "", "accept any certificate from the server",
             "Accept any certificate from the server. The connection is then not protected against an impostor.",
             Completion::NOTHING},
            {"--cert", "FILE", "the client certificate to send (PEM)",
             "The client certificate to send, followed by its chain, in PEM form. Without --key, the private key is "
             "read from the same file.",
             Completion::FILES},
            {"--key", "FILE", "the private key of that certificate (default: in the same file)",
             "The private key of the client certificate, in PEM form and without a pass phrase.", Completion::FILES},
            {"--tls-min", "VERSION", "oldest version of TLS to speak, 1.2 or 1.3 (default: 1.2)",
             "The oldest version of TLS to speak: 1.2, which is the default, or 1.3.", Completion::NOTHING},
            {"--ciphers", "NAMES", "cipher suites for TLS 1.2, with colons between them",
             "The cipher suites to offer for TLS 1.2, the preferred one first: their names, with a colon between each "
             "two. The groups and operators that OpenSSL knows are not accepted. The default is the system's choice.",
             Completion::NOTHING},
            {"--tls13-ciphers", "NAMES", "cipher suites for TLS 1.3, with colons between them",
             "The cipher suites to offer for TLS 1.3, likewise.", Completion::NOTHING},
            {"--no-alpn", "", "do not tell the server that HTTP/1.1 is spoken",
             "Do not tell the server, by ALPN in the TLS handshake, that HTTP/1.1 is spoken.", Completion::NOTHING},
            {"--connect-timeout", "SECONDS",
             "limit for finding the host, connecting and the TLS handshake (default: 30)",
             "Limit for finding the host, connecting and the TLS handshake together (30). Fractions are possible, and "
             "inf sets no limit; so it is with the other times.",
             Completion::NOTHING},
            {"--read-timeout", "SECONDS", "longest wait for the server to send or take data (default: 300)",
             "The longest wait for the server to send or take data (300).", Completion::NOTHING},
            {"--max-time", "SECONDS", "limit for everything together (default: none)",
             "Limit for everything together: all URLs, redirects, repetitions and the pauses before them. There is "
             "none unless this option is given.",
             Completion::NOTHING},
            {"--retry", "N", "repeat a failed request up to N times (default: 0)",
             "Repeat a request up to N times when it failed in a way that may pass: the server could not be reached, "
             "the connection broke or timed out, or the status was 408, 429, 500, 502, 503 or 504. Only the methods "
             "GET, HEAD, PUT, DELETE, OPTIONS and TRACE are repeated, no body from standard input, and nothing of "
             "which a part has been written to standard output. The pauses are 1 second at first and double each time, "
             "up to a minute; if the server asks for a longer one with Retry-After, it gets that, but after more than "
             "an hour nothing is repeated, and neither is it when --max-time would be over.",
             Completion::NOTHING},
        }};
}

OptionGroup outputGroup()
{
    return {
        "The output",
        {
            {"-o,--output", "FILE", "write the body into this file, which appears when it is complete",
             "Write the body into this file. It is written under a temporary name in the same folder and renamed when "
             "it is complete, so that a file of that name is never incomplete; after a failure or a signal nothing is "
             "left. A file that was there before keeps its mode. Anything but a regular file, such as /dev/null, is "
             "written to directly. A symbolic link is followed, but not one of another user in a folder where "
             "everybody may write and only owners may remove, such as /tmp. A single dash means standard output.",
             Completion::FILES},
            {"-O,--url-name", "", "write the body into a file with the last name in the path of the URL",
             "Write the body, as -o does, into a file in the current folder that has the name of the last segment of "
             "the path of the URL, with its percent-encoding undone. It is an error if there is none, or if it would "
             "lead out of the folder.",
             Completion::NOTHING},
            {"-C,--continue", "", "go on where the file of -o or -O ends, and keep what a cut download brings",
             "Continue where the file given with -o or -O ends. The file is written to directly, and what a cut "
             "download "
             "brought is kept. With it the validator of the response, its entity tag or modification date, is kept in "
             "the extended attribute user.zolget.validator, where the file system has such attributes; the next run "
             "asks for the rest on condition that it still holds, and checks that it gets that rest. Without a "
             "validator, or when the document has changed, the download starts from the beginning. A file that is "
             "complete already is left as it is, and that is a success. Works with GET only, and not with "
             "--compressed.",
             Completion::NOTHING},
            {"--parts", "FOLDER", "write each part of a multipart body into a file in this folder, and list them",
             "Write each part of a multipart response into a file of its own in this folder, which is created if it "
             "does not exist: part-001, part-002 and so on, with an extension for its type (.txt, .html, .xml or "
             ".bin). A file of that name is replaced; a symbolic link is, and not what it leads to. The parts are "
             "written as they arrive; there may be 1000 of them. A body that is not multipart is written to part-001. "
             "A "
             "table of the parts, with their numbers, lengths in bytes and types, goes to standard output. Parts that "
             "are complete are kept even if the rest of the body does not arrive.",
             Completion::FOLDERS},
            {"-i,--include", "", "show the head of the response on standard output, and the body of an error",
             "Write the head of the response to standard output, before the body: the status line and the headers as "
             "they were received. The body of a response with an error status follows.",
             Completion::NOTHING},
            {"--error-body", "", "show the body of a response with an error status on standard output",
             "Write the body of a response with an error status to standard output.", Completion::NOTHING},
            {"--progress", "", "show the progress even if standard error is not a terminal, or the body goes to one",
             "Show the progress on standard error: bytes, rate and, when the length is known, percent and time left. "
             "This is the default when standard error is a terminal and the body is written elsewhere.",
             Completion::NOTHING},
            {"-q,--quiet", "", "write nothing to standard error: neither messages nor progress",
             "Write nothing to standard error, neither messages nor progress. The exit status tells what failed. "
             "A command line that is wrong is reported all the same.",
             Completion::NOTHING},
            {"-v,--verbose", "", "show the exchange on standard error; -vv and -vvv show the library's log too",
             "Show the exchange on standard error: the address, the version and cipher of TLS and the server's "
             "certificate, and the heads of request and response. Passwords, cookies and the like are shown as "
             "\"***\". "
             "Given twice, the records of the library's log are shown too, and given three times also those of its "
             "most "
             "detailed level.",
             Completion::NOTHING},
            {"-h,--help", "", "show this text and exit", "List the options.", Completion::NOTHING},
            {"--version", "", "show the version and exit", "Show the version.", Completion::NOTHING},
        }};
}

} // namespace

std::vector<std::string> OptionText::nameList() const
{
    std::vector<std::string> list;
    std::istringstream text(names);
    for (std::string name; std::getline(text, name, ',');)
    {
        list.push_back(name);
    }
    return list;
}

const std::vector<OptionGroup>& optionGroups()
{
    static const std::vector<OptionGroup> GROUPS = {requestGroup(), connectionGroup(), outputGroup()};
    return GROUPS;
}

const OptionText& optionText(const std::string& name)
{
    for (const OptionGroup& group : optionGroups())
    {
        for (const OptionText& option : group.options)
        {
            const std::vector<std::string> names = option.nameList();
            if (std::find(names.begin(), names.end(), name) != names.end())
            {
                return option;
            }
        }
    }
    throw std::logic_error("there is no option " + name);
}

} // namespace zolget
