#pragma once

#include "support/Certificates.hpp"
#include "support/ChildProcess.hpp"
#include "support/TemporaryDirectory.hpp"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace zol_test
{

/// `openssl s_server`, serving the files of a folder over HTTP/1.0, their bodies up to the close.
class OpensslServer
{
public:
    /// @param more arguments beside those that every such server needs
    explicit OpensslServer(const Certificate& own, const std::vector<std::string>& more = {});

    std::uint16_t port() const { return m_port; }
    const TemporaryDirectory& folder() const { return m_folder; }

    /// Ends the process: its connections end without a word of TLS.
    void stop() { m_process->stop(); }

private:
    TemporaryDirectory m_folder;
    std::unique_ptr<ChildProcess> m_process;
    std::uint16_t m_port = 0;
};

/// A server in Python. The program prints "port ", the port that it listens on at 127.0.0.1, and a line end.
class PythonServer
{
public:
    explicit PythonServer(const char* program, const char* interpreter = "python3");

    std::uint16_t port() const { return m_port; }

private:
    std::unique_ptr<ChildProcess> m_process;
    std::uint16_t m_port = 0;
};

} // namespace zol_test
