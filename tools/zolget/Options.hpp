#pragma once

#include "Url.hpp"

#include <optional>
#include <ostream>
#include <string>
#include <vector>

namespace zolget
{

/// A header line that the user gave.
struct HeaderOption
{
    std::string name;
    std::string value;
};

/// The command line, checked.
struct Options
{
    Url url;
    std::string method = "GET";
    std::vector<HeaderOption> headers;
    std::optional<std::string> data;    ///< the text to send
    std::vector<std::string> dataFiles; ///< or the files to send, one behind the other
    std::string output;                 ///< the file for the body; empty for standard output
    bool showHead = false;
    bool useHttp10 = false;
    std::string trustStore; ///< file or folder of trusted certificates; empty for the system's
    bool verify = true;
    std::string certificateFile;
    std::string keyFile;
    float connectTimeout = 30; ///< seconds
    float readTimeout = 300;   ///< seconds without a byte, in either direction
    int verbosity = 0;
    bool alwaysShowProgress = false;

    bool hasBody() const { return data.has_value() || !dataFiles.empty(); }
};

/// Reads the command line. Nothing is returned when it asked for the help text or the version, which then went to
/// `out`. Throws Failure (USAGE).
std::optional<Options> parseOptions(int argc, const char* const* argv, std::ostream& out);

} // namespace zolget
