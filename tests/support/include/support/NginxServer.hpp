#pragma once

#include "support/ChildProcess.hpp"
#include "support/Descriptor.hpp"
#include "support/TemporaryDirectory.hpp"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

namespace zol_test
{

/// An nginx of our own on loopback ports, serving the files below `folder()/html`. It leaves connections open after a
/// response (keep-alive), as it does by default. Throws `std::runtime_error` saying why when nginx does not start.
class NginxServer
{
public:
    struct Options
    {
        std::string server;      ///< directives added to the server block
        std::string certificate; ///< PEM; not empty means that `tlsPort()` speaks TLS
        std::string privateKey;  ///< PEM
        bool ipv6 = false;       ///< listens on ::1 too, at `ipv6Port()`
    };

    NginxServer();
    explicit NginxServer(const Options& options);
    ~NginxServer();

    std::uint16_t port() const { return m_plain.port; }
    std::uint16_t tlsPort() const { return m_tls.value().port; }
    std::uint16_t ipv6Port() const { return m_ipv6.value().port; }

    const TemporaryDirectory& folder() const { return m_folder; }

    /// What nginx has logged about requests so far.
    std::string accessLog() const;

private:
    TemporaryDirectory m_folder;
    LoopbackSocket m_plain;
    std::optional<LoopbackSocket> m_tls;
    std::optional<LoopbackSocket> m_ipv6;
    std::unique_ptr<ChildProcess> m_process;
};

} // namespace zol_test
