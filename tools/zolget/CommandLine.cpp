#include "CommandLine.hpp"

#include "OptionTable.hpp"

#include <cstdint>

namespace zolget
{

namespace
{

/// Accepts a time in seconds above 0; "inf" sets no limit.
std::string checkSeconds(const std::string& text)
{
    float seconds = 0;
    return CLI::detail::lexical_cast(text, seconds) && seconds > 0 ? std::string()
                                                                   : text + " is not a number of seconds above 0";
}

/// Accepts a number without sign.
std::string checkCount(const std::string& text)
{
    const bool isNumber = !text.empty() && text.find_first_not_of("0123456789") == std::string::npos;
    return isNumber ? std::string() : text + " is not a whole number";
}

} // namespace

CommandLine::CommandLine()
{
    m_app.set_help_flag(optionText("--help").names);
    m_app.set_version_flag(optionText("--version").names, "zolget " ZOLGET_VERSION);
    m_app.add_option("URL", urls)->required();
    declareRequest();
    declareBody();
    declareConnection();
    declareTimes();
    declareOutput();
}

template <class Value>
CLI::Option* CommandLine::declare(const std::string& name, Value& value)
{
    // An option that may be given several times takes one argument each time.
    return m_app.add_option(optionText(name).names, value)->allow_extra_args(false);
}

void CommandLine::declareFlag(const std::string& name, bool& value)
{
    m_app.add_flag(optionText(name).names, value);
}

void CommandLine::exclude(const std::string& name, const std::vector<std::string>& others)
{
    for (const std::string& other : others)
    {
        m_app.get_option(name)->excludes(m_app.get_option(other));
    }
}

void CommandLine::declareRequest()
{
    declare("--request", method);
    declareFlag("--head", head);
    declare("--header", headers);
    declare("--user", credentials);
    declareFlag("--follow", options.followRedirects);
    declareFlag("--compressed", options.decompress);
    declareFlag("--http1.0", options.useHttp10);
}

void CommandLine::declareBody()
{
    declare("--data", data);
    declare("--data-file", options.dataFiles);
    declare("--form", fields);
    declare("--part", parts);
    declare("--part-file", partFiles);
    exclude("--data", {"--data-file", "--form", "--part", "--part-file"});
    exclude("--data-file", {"--form", "--part", "--part-file"});
    exclude("--form", {"--part", "--part-file"});
    exclude("--head", {"--request", "--data", "--data-file", "--form", "--part", "--part-file"});
}

void CommandLine::declareConnection()
{
    declareFlag("--ipv4", options.onlyIPv4);
    declareFlag("--ipv6", options.onlyIPv6);
    declare("--ca", options.trustStore);
    declare("--crl", options.revocationLists);
    declareFlag("--no-verify", noVerify);
    declare("--cert", options.certificateFile);
    declare("--key", options.keyFile)->needs(m_app.get_option("--cert"));
    exclude("--ipv4", {"--ipv6"});
    declare("--tls-min", tlsMinimum)->check(CLI::IsMember({"1.2", "1.3"}));
    declare("--ciphers", options.ciphers);
    declare("--tls13-ciphers", options.cipherSuites);
    declareFlag("--no-alpn", noAlpn);
    exclude("--ca", {"--no-verify"});
    exclude("--crl", {"--no-verify"});
}

void CommandLine::declareTimes()
{
    declare("--connect-timeout", options.connectTimeout)->check(checkSeconds);
    declare("--read-timeout", options.readTimeout)->check(checkSeconds);
    declare("--max-time", options.maxTime)->check(checkSeconds);
    declare("--retry", options.retries)->check(checkCount);
}

void CommandLine::declareOutput()
{
    declare("--output", options.output);
    declareFlag("--url-name", options.isNamedByUrl);
    declareFlag("--continue", options.continuesDownload);
    declare("--parts", options.partsFolder);
    declareFlag("--include", options.showHead);
    declareFlag("--error-body", options.showErrorBody);
    declareFlag("--progress", options.alwaysShowProgress);
    declareFlag("--quiet", options.isQuiet);
    const auto count = [this](std::int64_t times) { options.verbosity = static_cast<int>(times); };
    m_app.add_flag(optionText("--verbose").names, count);
    exclude("--output", {"--url-name", "--parts"});
    exclude("--url-name", {"--parts"});
    exclude("--continue", {"--parts", "--compressed"});
    exclude("--quiet", {"--progress", "--verbose"});
}

} // namespace zolget
