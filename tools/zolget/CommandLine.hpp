#pragma once

#include "Options.hpp"

#include <CLI/CLI.hpp>

#include <string>
#include <vector>

namespace zolget
{

/// The parser of the command line: stores what needs no further look in Options, and the rest as it was given. The
/// options' names come from the table of options.
class CommandLine
{
public:
    CommandLine();
    CommandLine(const CommandLine&) = delete;
    CommandLine& operator=(const CommandLine&) = delete;

    CLI::App& app() { return m_app; }
    const CLI::App& app() const { return m_app; }

    /// Whether the option, such as "--data", was given.
    bool has(const std::string& name) const { return m_app.count(name) > 0; }

    Options options;

    /// @name As given
    /// @{
    std::vector<std::string> urls;
    std::string method;
    std::vector<std::string> headers;
    std::string credentials;
    std::string data;
    std::vector<std::string> fields;
    std::vector<std::string> parts;
    std::vector<std::string> partFiles;
    bool head = false;
    bool noVerify = false;
    std::string tlsMinimum;
    bool noAlpn = false;
    /// @}

private:
    void declareRequest();
    void declareBody();
    void declareConnection();
    void declareTimes();
    void declareOutput();

    template <class Value>
    CLI::Option* declare(const std::string& name, Value& value);
    void declareFlag(const std::string& name, bool& value);
    void exclude(const std::string& name, const std::vector<std::string>& others);

    CLI::App m_app;
};

} // namespace zolget
