#include "support/StandaloneServers.hpp"

#include <stdexcept>

namespace zol_test
{

namespace
{

/// The number behind `words` in what the program prints as a line.
std::uint16_t portBehind(const ChildProcess& process, const std::string& words)
{
    if (!process.waitForOutput(words) || !process.waitForOutput("\n"))
    {
        throw std::runtime_error("the server did not start:\n" + process.errorOutput());
    }
    const std::string output = process.output();
    return static_cast<std::uint16_t>(std::stoul(output.substr(output.find(words) + words.size())));
}

} // namespace

OpensslServer::OpensslServer(const Certificate& own, const std::vector<std::string>& more)
{
    m_folder.write("page.txt", "served by openssl\n");
    std::vector<std::string> command{"openssl",     "s_server",
                                     "-4",          "-accept",
                                     "127.0.0.1:0", "-WWW",
                                     "-cert",       m_folder.write("own.crt", own.certificatePem()),
                                     "-key",        m_folder.write("own.key", own.keyPem())};
    command.insert(command.end(), more.begin(), more.end());
    ChildProcess::Options options;
    options.workingDirectory = m_folder.path().string();
    m_process = std::make_unique<ChildProcess>(command, options);
    m_port = portBehind(*m_process, "ACCEPT 127.0.0.1:");
}

PythonServer::PythonServer(const char* program, const char* interpreter)
    : m_process(std::make_unique<ChildProcess>(std::vector<std::string>{interpreter, "-c", program})),
      m_port(portBehind(*m_process, "port "))
{
}

} // namespace zol_test
