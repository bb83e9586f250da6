#pragma once

#include "support/ScriptedServer.hpp"

#include <filesystem>
#include <string>
#include <vector>

namespace zolget_test
{

/// How a run of zolget ended, and what it wrote.
struct Outcome
{
    int status;
    std::string output;
    std::string errors;
};

/// Runs zolget to its end, in a folder if one is given.
Outcome zolget(std::vector<std::string> arguments, const std::string& folder = std::string());

/// Runs zolget to its end with this on standard input.
Outcome zolgetWithInput(const std::string& input, std::vector<std::string> arguments);

/// The command that runs zolget with these arguments.
std::vector<std::string> command(std::vector<std::string> arguments);

/// The URL of a path on a server.
std::string urlOf(const zol_test::ScriptedServer& server, const std::string& path = "/");

using zol_test::respondingWith;

/// A complete response: 200 with this body and its length.
std::string okResponse(const std::string& body);

/// The names of the files in a folder, hidden ones included, in order.
std::vector<std::string> namesIn(const std::filesystem::path& folder);

} // namespace zolget_test
