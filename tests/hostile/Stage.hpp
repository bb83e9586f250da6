#pragma once

#include "Row.hpp"
#include "support/ScriptedServer.hpp"
#include "support/TemporaryDirectory.hpp"

#include <cstdint>
#include <memory>
#include <string>

namespace hostile
{

/// The servers of a row, ready for connections.
class Stage
{
public:
    explicit Stage(const Row& row);
    ~Stage();
    Stage(const Stage&) = delete;
    Stage& operator=(const Stage&) = delete;

    std::uint16_t port() const { return m_server->port(); }

    /// A PEM file with what a client trusts.
    const std::string& trustFile() const { return m_trustFile; }

    const zol_test::ScriptedServer& server() const { return *m_server; }

    /// Of all servers.
    std::size_t connections() const;

    /// What the server of another origin has received; empty without one.
    std::string receivedByOther() const;

private:
    std::unique_ptr<zol_test::ScriptedServer> serve(const Row::Server& server, const Surroundings& surroundings);

    zol_test::TemporaryDirectory m_folder;
    std::string m_trust;
    std::string m_trustFile;
    std::unique_ptr<zol_test::ScriptedServer> m_other;
    std::unique_ptr<zol_test::ScriptedServer> m_server;
};

} // namespace hostile
