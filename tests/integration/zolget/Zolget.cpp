#include "Zolget.hpp"

#include "support/ChildProcess.hpp"

#include <algorithm>
#include <utility>

namespace zolget_test
{

std::vector<std::string> command(std::vector<std::string> arguments)
{
    arguments.insert(arguments.begin(), ZOLGET_PROGRAM);
    return arguments;
}

namespace
{

Outcome run(std::vector<std::string> arguments, const zol_test::ChildProcess::Options& options)
{
    zol_test::ChildProcess process(command(std::move(arguments)), options);
    const int status = process.wait();
    return {status, process.output(), process.errorOutput()};
}

} // namespace

Outcome zolget(std::vector<std::string> arguments, const std::string& folder)
{
    zol_test::ChildProcess::Options options;
    options.workingDirectory = folder;
    return run(std::move(arguments), options);
}

Outcome zolgetWithInput(const std::string& input, std::vector<std::string> arguments)
{
    zol_test::ChildProcess::Options options;
    options.input = input;
    return run(std::move(arguments), options);
}

std::string urlOf(const zol_test::ScriptedServer& server, const std::string& path)
{
    return "http://" + server.address() + path;
}

std::string okResponse(const std::string& body)
{
    return "HTTP/1.1 200 OK\r\nContent-Type: text/plain\r\nContent-Length: " + std::to_string(body.size()) +
           "\r\n\r\n" + body;
}

std::vector<std::string> namesIn(const std::filesystem::path& folder)
{
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder))
    {
        names.push_back(entry.path().filename().string());
    }
    std::sort(names.begin(), names.end());
    return names;
}

} // namespace zolget_test
