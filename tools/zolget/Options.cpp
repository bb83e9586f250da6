#include "Options.hpp"

#include "ExitStatus.hpp"
#include "Text.hpp"

#include <CLI/CLI.hpp>

#include <algorithm>

namespace zolget
{

namespace
{

constexpr const char* DESCRIPTION = "Fetches a page and writes its body to standard output or into a file.";
constexpr const char* PART = "--part";
constexpr const char* PART_FILE = "--part-file";
constexpr const char* FOOTER = R"(
Exit status:
  0  the response is complete             6  the response has an error status
  1  unexpected failure                   7  the response is incomplete
  2  wrong command line                   8  a local file cannot be read or written
  3  host name not known                  9  the response is malformed or not supported
  4  server cannot be reached            10  the request could not be sent completely
  5  no secure connection (TLS))";

[[noreturn]] void refuse(const std::string& message)
{
    throw Failure(ExitStatus::USAGE, message + "; see zolget --help");
}

/// What the parser stores before it is checked.
struct RawOptions
{
    std::string url;
    std::string method;
    std::vector<std::string> headers;
    std::string data;
    std::vector<std::string> parts;
    std::vector<std::string> partFiles;
    bool noVerify = false;
};

/// Accepts a time in seconds above 0; "inf" sets no limit.
std::string checkSeconds(const std::string& text)
{
    float seconds = 0;
    return CLI::detail::lexical_cast(text, seconds) && seconds > 0 ? std::string()
                                                                   : text + " is not a number of seconds above 0";
}

void declareRequest(CLI::App& app, Options& options, RawOptions& raw)
{
    app.add_option("URL", raw.url, "what to fetch, http:// or https://")->required();
    app.add_option("-X,--request", raw.method, "the method of the request (default: GET, with a body POST)")
        ->type_name("METHOD");
    app.add_option("-H,--header", raw.headers, "a header to send; may be given several times")
        ->type_name("'NAME: VALUE'")
        ->allow_extra_args(false);
    const auto data = app.add_option("-d,--data", raw.data, "a text to send as the body")->type_name("TEXT");
    const auto files = app.add_option("--data-file", options.dataFiles,
                                      "a file to send as the body; several are sent one after the other")
                           ->type_name("FILE")
                           ->allow_extra_args(false)
                           ->excludes(data);
    app.add_option(PART, raw.parts, "a text to send as a part of a multipart/mixed body; may be given several times")
        ->type_name("TYPE:TEXT")
        ->allow_extra_args(false)
        ->excludes(data)
        ->excludes(files);
    app.add_option(PART_FILE, raw.partFiles, "a file to send as a part of such a body; may be given several times")
        ->type_name("TYPE:FILE")
        ->allow_extra_args(false)
        ->excludes(data)
        ->excludes(files);
    app.add_flag("--http1.0", options.useHttp10, "send an HTTP/1.0 request");
}

void declareConnection(CLI::App& app, Options& options, RawOptions& raw)
{
    const auto trust =
        app.add_option("--ca", options.trustStore,
                       "trust the certificate authorities in this file or folder (default: those of the system)")
            ->type_name("PATH");
    app.add_flag("--no-verify", raw.noVerify, "accept any certificate from the server")->excludes(trust);
    const auto certificate =
        app.add_option("--cert", options.certificateFile, "the client certificate to send (PEM)")->type_name("FILE");
    app.add_option("--key", options.keyFile, "the private key of that certificate (default: in the same file)")
        ->type_name("FILE")
        ->needs(certificate);
    app.add_option("--connect-timeout", options.connectTimeout, "limit for connecting, TLS handshake included")
        ->capture_default_str()
        ->type_name("SECONDS")
        ->check(checkSeconds);
    app.add_option("--read-timeout", options.readTimeout, "longest wait for the server to send or take data")
        ->capture_default_str()
        ->type_name("SECONDS")
        ->check(checkSeconds);
}

void declareOutput(CLI::App& app, Options& options)
{
    const auto output = app.add_option("-o,--output", options.output,
                                       "write the body into this file, which appears when it is complete")
                            ->type_name("FILE");
    app.add_option("--parts", options.partsFolder,
                   "write each part of a multipart body into a file in this folder, part-001.txt, ..., and list them")
        ->type_name("FOLDER")
        ->excludes(output);
    app.add_flag("-i,--include", options.showHead, "show the head of the response on standard output");
    app.add_flag("--progress", options.alwaysShowProgress,
                 "show the progress even if standard error is not a terminal, or the body goes to one");
    app.add_flag(
        "-v", [&options](std::int64_t count) { options.verbosity = static_cast<int>(count); },
        "log to standard error; -vv logs more");
}

/// field-line = field-name ":" OWS field-value OWS (RFC 9112, section 5); field-name is a token.
HeaderOption parseHeader(const std::string& text)
{
    const std::size_t colon = text.find(':');
    HeaderOption header{text.substr(0, colon), {}};
    if (colon == std::string::npos || !isToken(header.name))
    {
        refuse("\"" + printable(text) + "\" is not a header: it must have the form 'NAME: VALUE'");
    }
    header.value = trimmed(std::string_view(text).substr(colon + 1));
    // A line end in a value would add headers, or a whole request, of its own.
    if (std::any_of(header.value.begin(), header.value.end(), [](char c) { return isControl(c) && c != '\t'; }))
    {
        refuse("the header " + header.name + " contains control characters");
    }
    if (equalsIgnoringCase(header.name, "transfer-encoding"))
    {
        refuse("Transfer-Encoding cannot be given: bodies are sent without a transfer coding");
    }
    return header;
}

/// type "/" subtype ":" value, where type and subtype are tokens as in a media type (RFC 9110, section 8.3.1).
PartOption parsePart(const std::string& text, bool isFile)
{
    const std::size_t colon = text.find(':');
    PartOption part{std::string(trimmed(text.substr(0, colon))), {}, isFile};
    const std::size_t slash = part.type.find('/');
    if (colon == std::string::npos || slash == std::string::npos || !isToken(part.type.substr(0, slash)) ||
        !isToken(part.type.substr(slash + 1)))
    {
        refuse("\"" + printable(text) + "\" is not a part: it must have the form TYPE:" +
               (isFile ? "FILE, as in text/plain:notes.txt" : "TEXT, as in text/plain:hello"));
    }
    part.value = text.substr(colon + 1);
    return part;
}

/// The parts in the order in which the command line gave them.
std::vector<PartOption> parseParts(const CLI::App& app, const RawOptions& raw)
{
    std::vector<PartOption> parts;
    auto text = raw.parts.begin();
    auto file = raw.partFiles.begin();
    for (const CLI::Option* const option : app.parse_order())
    {
        if (option->check_name(PART))
        {
            parts.push_back(parsePart(*text++, false));
        }
        else if (option->check_name(PART_FILE))
        {
            parts.push_back(parsePart(*file++, true));
        }
    }
    return parts;
}

void check(Options& options, const RawOptions& raw, const CLI::App& app)
{
    options.url = parseUrl(raw.url);
    options.verify = !raw.noVerify;
    options.parts = parseParts(app, raw);
    if (app.count("--data") > 0)
    {
        options.data = raw.data;
    }
    options.method = !raw.method.empty() ? raw.method : options.hasBody() ? "POST" : "GET";
    if (!isToken(options.method))
    {
        refuse("\"" + printable(options.method) + "\" is not a method");
    }
    std::transform(raw.headers.begin(), raw.headers.end(), std::back_inserter(options.headers), parseHeader);
    if (options.output == "-")
    {
        options.output.clear();
    }
}

} // namespace

std::optional<Options> parseOptions(int argc, const char* const* argv, std::ostream& out)
{
    CLI::App app(DESCRIPTION, "zolget");
    Options options;
    RawOptions raw;
    app.set_help_flag("--help", "show this text and exit");
    app.set_version_flag("--version", "zolget " ZOLGET_VERSION, "show the version and exit");
    app.footer(FOOTER);
    declareRequest(app, options, raw);
    declareConnection(app, options, raw);
    declareOutput(app, options);
    try
    {
        app.parse(argc, argv);
    }
    catch (const CLI::Success& wish)
    {
        app.exit(wish, out, out);
        return std::nullopt;
    }
    catch (const CLI::ParseError& error)
    {
        refuse(printable(error.what()));
    }
    check(options, raw, app);
    return options;
}

} // namespace zolget
