#include "Stage.hpp"

#include <openssl/ssl.h>

#include <netinet/in.h>
#include <sys/socket.h>

#include <chrono>
#include <utility>

namespace hostile
{

using zol_test::ScriptedServer;
using zol_test::ServerConnection;

namespace
{

ScriptedServer::Options optionsFor(const Row::Server& server, const Identity& identity)
{
    ScriptedServer::Options options;
    options.limit = std::chrono::seconds(60);
    if (server.identity != nullptr && !server.scriptsTheHandshake)
    {
        options.certificate = identity.chain;
        options.privateKey = identity.privateKey;
        options.adjust = [version = server.tlsVersion, adjust = server.adjust](SSL_CTX* context)
        {
            if (version != 0)
            {
                SSL_CTX_set_min_proto_version(context, version);
                SSL_CTX_set_max_proto_version(context, version);
            }
            if (adjust != nullptr)
            {
                adjust(context);
            }
        };
    }
    return options;
}

std::string portOf(const ServerConnection& connection)
{
    sockaddr_in address{};
    socklen_t size = sizeof address;
    ::getsockname(connection.fd(), reinterpret_cast<sockaddr*>(&address), &size);
    return std::to_string(ntohs(address.sin_port));
}

} // namespace

Stage::Stage(const Row& row)
{
    Surroundings surroundings;
    if (row.other)
    {
        m_other = serve(*row.other, surroundings);
        surroundings.otherPort = std::to_string(m_other->port());
    }
    m_server = serve(row.server, surroundings);
    m_trustFile = m_folder.write("trust.pem", m_trust);
}

Stage::~Stage() = default;

std::unique_ptr<ScriptedServer> Stage::serve(const Row::Server& server, const Surroundings& surroundings)
{
    Identity identity;
    if (server.identity != nullptr)
    {
        identity = server.identity();
        m_trust += identity.authority + identity.lists;
    }
    Surroundings own = surroundings;
    own.certificate = identity.chain;
    own.privateKey = identity.privateKey;
    own.adjust = server.adjust;
    const auto script = [server, own](ServerConnection& connection)
    {
        Surroundings here = own;
        here.port = portOf(connection);
        const bool isFirst = connection.index() == 0 || server.others.empty();
        play(isFirst ? server.first : server.others, here, connection);
    };
    auto made = std::make_unique<ScriptedServer>(optionsFor(server, identity), script);
    made->ignoreErrors();
    return made;
}

std::size_t Stage::connections() const
{
    return m_server->connections() + (m_other != nullptr ? m_other->connections() : 0);
}

std::string Stage::receivedByOther() const
{
    std::string all;
    if (m_other != nullptr)
    {
        for (const std::string& one : m_other->requests())
        {
            all += one;
        }
    }
    return all;
}

} // namespace hostile
