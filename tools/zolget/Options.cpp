#include "Options.hpp"

#include "CommandLine.hpp"
#include "Failure.hpp"
#include "HelpText.hpp"
#include "Text.hpp"
#include "UrlFileName.hpp"

#include "zol/http/ExchangeException.hpp"

#include <algorithm>
#include <iterator>

namespace zolget
{

namespace http = ZOLNS2::HTTP;

namespace
{

http::Url parseUrl(const std::string& text)
{
    try
    {
        return http::Url(text);
    }
    catch (const http::ExchangeException& error)
    {
        const bool hasUser = text.substr(0, text.find_first_of("?#")).find('@') != std::string::npos;
        refuseUsage("cannot use the URL: " + std::string(error.getMessage()) +
                    (hasUser ? "; -u takes the user name and the password" : ""));
    }
}

/// The parts in the order in which the command line gave them.
std::vector<PartOption> parseParts(const CommandLine& given)
{
    std::vector<PartOption> parts;
    auto text = given.parts.begin();
    auto file = given.partFiles.begin();
    for (const CLI::Option* const option : given.app().parse_order())
    {
        if (option->check_name("--part"))
        {
            parts.push_back(parsePart(*text++, false));
        }
        else if (option->check_name("--part-file"))
        {
            parts.push_back(parsePart(*file++, true));
        }
    }
    return parts;
}

template <class Parse, class Value>
void parseAll(const std::vector<std::string>& texts, std::vector<Value>& values, Parse parse)
{
    std::transform(texts.begin(), texts.end(), std::back_inserter(values), parse);
}

void checkRequest(const Options& options)
{
    if (!isToken(options.method))
    {
        refuseUsage("\"" + options.method + "\" is not a method");
    }
    if (options.credentials.has_value() && options.hasHeader("Authorization"))
    {
        refuseUsage("-u and the header Authorization exclude each other");
    }
    if (options.readsStandardInput() && options.urls.size() > 1)
    {
        refuseUsage("standard input can be sent to one URL only");
    }
    if (options.readsStandardInput() && options.useHttp10)
    {
        refuseUsage("standard input is sent in chunks, which HTTP/1.0 does not know");
    }
    if (std::count(options.dataFiles.begin(), options.dataFiles.end(), "-") > 1)
    {
        refuseUsage("standard input can be sent only once");
    }
}

void checkContinued(const Options& options)
{
    if (options.output.empty() && !options.isNamedByUrl)
    {
        refuseUsage("-C needs the file to continue, given with -o or -O");
    }
    if (options.method != "GET" || options.hasBody())
    {
        refuseUsage("-C works with GET only");
    }
    for (const char* const header : {"Range", "If-Range", "Accept-Encoding"})
    {
        if (options.hasHeader(header))
        {
            refuseUsage(std::string("-C and the header ") + header + " exclude each other");
        }
    }
}

void checkOutput(const Options& options)
{
    if (options.urls.size() > 1 && (!options.output.empty() || !options.partsFolder.empty()))
    {
        refuseUsage("-o and --parts take one URL; for several there is -O");
    }
    if (options.isNamedByUrl)
    {
        std::for_each(options.urls.begin(), options.urls.end(), fileNameOf);
    }
    if (options.continuesDownload)
    {
        checkContinued(options);
    }
}

Options checked(const CommandLine& given)
{
    Options options = given.options;
    parseAll(given.urls, options.urls, parseUrl);
    parseAll(given.headers, options.headers, parseHeader);
    parseAll(given.fields, options.fields, parseFormField);
    options.parts = parseParts(given);
    options.verify = !given.noVerify;
    options.needsTls13 = given.tlsMinimum == "1.3";
    options.announcesHttp = !given.noAlpn;
    if (given.has("--user"))
    {
        options.credentials = parseCredentials(given.credentials);
    }
    if (given.has("--data"))
    {
        options.data = given.data;
    }
    if (given.has("--request"))
    {
        options.method = given.method;
    }
    else if (options.hasBody())
    {
        options.method = "POST";
    }
    if (given.head)
    {
        options.method = "HEAD";
        options.showHead = true;
    }
    if (options.output == "-")
    {
        options.output.clear();
    }
    checkRequest(options);
    checkOutput(options);
    return options;
}

} // namespace

bool Options::hasTlsSettings() const
{
    return !trustStore.empty() || !revocationLists.empty() || !verify || !certificateFile.empty() || needsTls13 ||
           !ciphers.empty() || !cipherSuites.empty() || !announcesHttp;
}

bool Options::hasHeader(std::string_view name) const
{
    return std::any_of(headers.begin(), headers.end(),
                       [name](const HeaderOption& header) { return equalsIgnoringCase(header.name, name); });
}

bool Options::readsStandardInput() const
{
    return std::find(dataFiles.begin(), dataFiles.end(), "-") != dataFiles.end();
}

std::optional<Options> parseOptions(int argc, const char* const* argv, std::ostream& out)
{
    CommandLine given;
    try
    {
        given.app().parse(argc, argv);
    }
    catch (const CLI::CallForHelp&)
    {
        writeHelp(out);
        return std::nullopt;
    }
    catch (const CLI::Success& wish)
    {
        given.app().exit(wish, out, out);
        return std::nullopt;
    }
    catch (const CLI::ParseError& error)
    {
        refuseUsage(error.what());
    }
    return checked(given);
}

} // namespace zolget
