#pragma once

#include "OptionValues.hpp"

#include "zol/http/Url.hpp"

#include <limits>
#include <optional>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

namespace zolget
{

/// The command line, checked.
struct Options
{
    std::vector<ZOLNS2::HTTP::Url> urls;

    std::string method = "GET";
    std::vector<HeaderOption> headers;
    std::optional<CredentialsOption> credentials;
    std::optional<std::string> data;     ///< the text to send
    std::vector<std::string> dataFiles;  ///< or the files to send, one after the other; "-" is standard input
    std::vector<FormFieldOption> fields; ///< or the fields of a form
    std::vector<PartOption> parts;       ///< or the parts of a multipart body
    bool followRedirects = false;
    bool decompress = false;
    bool useHttp10 = false;

    bool onlyIPv4 = false;
    bool onlyIPv6 = false;
    bool verify = true;
    bool needsTls13 = false;
    bool announcesHttp = true;   ///< by ALPN
    std::string trustStore;      ///< file or folder of trusted certificates; empty for the system's
    std::string revocationLists; ///< file or folder; empty for none
    std::string certificateFile;
    std::string keyFile;
    std::string ciphers;                                    ///< for TLS 1.2; empty for the system's
    std::string cipherSuites;                               ///< for TLS 1.3; empty for the system's
    float connectTimeout = 30;                              ///< seconds
    float readTimeout = 300;                                ///< seconds that one read or write may wait
    float maxTime = std::numeric_limits<float>::infinity(); ///< seconds for everything
    unsigned retries = 0;

    std::string output;             ///< the file for the body; empty for standard output
    bool isNamedByUrl = false;      ///< or a file with a name from the URL
    std::string partsFolder;        ///< or the folder for the parts of the body
    bool continuesDownload = false; ///< continues where the file ends
    bool showHead = false;
    bool showErrorBody = false;
    bool alwaysShowProgress = false;
    bool isQuiet = false;
    int verbosity = 0;

    bool hasBody() const { return data.has_value() || !dataFiles.empty() || !fields.empty() || !parts.empty(); }

    /// Whether the user set anything of TLS.
    bool hasTlsSettings() const;

    /// Whether the user gave a header of that name.
    bool hasHeader(std::string_view name) const;

    /// Whether the body of the request comes from standard input, so that it can be sent once only.
    bool readsStandardInput() const;
};

/// Parses the command line. When it asks for the help text or the version, that is written to `out` and nothing is
/// returned. Throws Failure (USAGE).
std::optional<Options> parseOptions(int argc, const char* const* argv, std::ostream& out);

} // namespace zolget
