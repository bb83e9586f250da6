#pragma once

#include "Url.hpp"

#include <optional>
#include <ostream>
#include <string>
#include <vector>

namespace zolget
{

/// A header given by the user.
struct HeaderOption
{
    std::string name;
    std::string value;
};

/// A part of a multipart body to send.
struct PartOption
{
    std::string type; ///< media type and subtype
    std::string value;
    bool isFile = false; ///< whether the value is the name of a file or the text itself
};

/// The command line, checked.
struct Options
{
    Url url;
    std::string method = "GET";
    std::vector<HeaderOption> headers;
    std::optional<std::string> data;    ///< the text to send
    std::vector<std::string> dataFiles; ///< or the files to send, one after the other
    std::vector<PartOption> parts;      ///< or the parts of a multipart body
    std::string output;                 ///< the file for the body; empty for standard output
    std::string partsFolder;            ///< or the folder for its parts
    bool showHead = false;
    bool useHttp10 = false;
    std::string trustStore; ///< file or folder of trusted certificates; empty for the system's
    bool verify = true;
    std::string certificateFile;
    std::string keyFile;
    float connectTimeout = 30; ///< seconds
    float readTimeout = 300;   ///< seconds that one read or write may wait
    int verbosity = 0;
    bool alwaysShowProgress = false;

    bool hasBody() const { return data.has_value() || !dataFiles.empty() || !parts.empty(); }
};

/// Parses the command line. When it asks for the help text or the version, that is written to `out` and nothing is
/// returned. Throws Failure (USAGE).
std::optional<Options> parseOptions(int argc, const char* const* argv, std::ostream& out);

} // namespace zolget
