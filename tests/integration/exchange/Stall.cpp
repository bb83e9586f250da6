#include "Stall.hpp"

#include "Trust.hpp"
#include "support/ScriptedContent.hpp"
#include "support/ScriptedNames.hpp"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <chrono>
#include <thread>

namespace exchange_integration
{

using namespace std::chrono_literals;
using zol_test::ScriptedServer;
using zol_test::ServerConnection;

namespace
{

constexpr std::chrono::milliseconds DRIP_INTERVAL = 10ms;
constexpr std::size_t MINUTES_OF_DRIP = 30000;
constexpr std::size_t UPLOAD_SIZE = std::size_t{32} << 20;

std::string drops(char drop)
{
    return std::string(MINUTES_OF_DRIP, drop);
}

/// A socket that has begun to connect to the port and does not wait.
zol_test::Descriptor connecting(std::uint16_t port)
{
    zol_test::Descriptor socket(::socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    // It is not done at once, or never.
    static_cast<void>(::connect(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address));
    return socket;
}

bool isOver(const std::function<bool()>& condition)
{
    const auto limit = std::chrono::steady_clock::now() + 10s;
    while (!condition())
    {
        if (std::chrono::steady_clock::now() > limit)
        {
            return false;
        }
        std::this_thread::sleep_for(1ms);
    }
    return true;
}

} // namespace

void Gate::open()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_isOpen = true;
    m_changed.notify_all();
}

bool Gate::wait()
{
    std::unique_lock<std::mutex> lock(m_mutex);
    return m_changed.wait_for(lock, 10s, [this] { return m_isOpen; });
}

Stall::Stall() : m_reached([arrived = m_arrived] { return arrived->wait(); }) {}

std::unique_ptr<Stall> Stall::withServer(const std::function<void(ServerConnection&, Gate&)>& script, bool tls)
{
    auto stall = std::make_unique<Stall>();
    ScriptedServer::Options options;
    options.limit = 60s;
    options.receiveBufferSize = 4096;
    const zol_test::Certificate authority = zol_test::makeAuthority();
    if (tls)
    {
        const zol_test::Certificate own = zol_test::issue(authority, loopbackFields());
        options.certificate = own.certificatePem();
        options.privateKey = own.keyPem();
    }
    stall->m_server = std::make_unique<ScriptedServer>(
        options, [script, arrived = stall->m_arrived](ServerConnection& connection) { script(connection, *arrived); });
    stall->m_server->ignoreErrors();
    const std::uint16_t port = stall->m_server->port();
    stall->m_request = tls ? get(secureUrl(port), zol_integration::trusting(authority)) : get(plainUrl(port));
    return stall;
}

std::unique_ptr<Stall> Stall::withResponse(const std::string& bytes, const std::string& drip, bool tls)
{
    return withServer(
        [bytes, drip](ServerConnection& connection, Gate& arrived)
        {
            connection.receiveHead();
            connection.send(bytes);
            arrived.open();
            connection.sendSlowly(drip, DRIP_INTERVAL);
            connection.waitUntilPeerCloses();
        },
        tls);
}

std::unique_ptr<Stall> Stall::withBody(const std::string& bytes, const std::string& drip, bool tls)
{
    auto stall = withResponse(bytes, drip, tls);
    stall->m_reached = [responded = stall->m_responded] { return responded->wait(); };
    return stall;
}

std::unique_ptr<Stall> Stall::withUpload(const std::function<void(ServerConnection&)>& behindTheHead, bool tls)
{
    auto stall = withServer(
        [behindTheHead](ServerConnection& connection, Gate& arrived)
        {
            connection.receiveHead();
            arrived.open();
            behindTheHead(connection);
        },
        tls);
    const ContentRef content(zol_test::scripted({std::string(UPLOAD_SIZE, 'u')}));
    const std::uint16_t port = stall->m_server->port();
    stall->m_request = asking("POST", tls ? secureUrl(port) : plainUrl(port))
                           .content(content)
                           .sslContext(stall->m_request->getSSLContext())
                           .build();
    return stall;
}

std::unique_ptr<Stall> Stall::inTheLookUp()
{
    auto stall = std::make_unique<Stall>();
    stall->m_request = get("http://in1000000.names.example:9/");
    stall->m_reached = [] { return isOver([] { return zol_test::ScriptedNames::begun() > 0; }); };
    return stall;
}

std::unique_ptr<Stall> Stall::inAConnectToAFullBacklog()
{
    auto stall = std::make_unique<Stall>();
    stall->m_listener = std::make_unique<zol_test::LoopbackSocket>(zol_test::LoopbackSocket::E_LISTENING, false, 0);
    for (int i = 0; i < 4; ++i)
    {
        stall->m_sockets.push_back(connecting(stall->m_listener->port));
    }
    stall->m_request = get(plainUrl(stall->m_listener->port));
    // What the kernel does with the connect cannot be seen from outside.
    stall->m_reached = [] { return true; };
    return stall;
}

std::unique_ptr<Stall> Stall::inASilentHandshake()
{
    auto stall = withServer(
        [](ServerConnection& connection, Gate& arrived)
        {
            connection.receive(1);
            arrived.open();
            connection.waitUntilPeerCloses();
        });
    stall->m_request = get(secureUrl(stall->m_server->port()));
    return stall;
}

std::unique_ptr<Stall> Stall::inAHandshakeThatDrips()
{
    auto stall = withServer(
        [](ServerConnection& connection, Gate& arrived)
        {
            connection.receive(1);
            arrived.open();
            // A handshake record of 16 KiB (RFC 8446, section 5.1).
            connection.send(std::string("\x16\x03\x03\x40\x00", 5));
            connection.sendSlowly(std::string(16384, '\2'), DRIP_INTERVAL);
        });
    stall->m_request = get(secureUrl(stall->m_server->port()));
    return stall;
}

std::unique_ptr<Stall> Stall::inASendThatNobodyReads()
{
    return withUpload([](ServerConnection& connection) { connection.pause(60s); });
}

std::unique_ptr<Stall> Stall::inASendOverTlsThatNobodyReads()
{
    return withUpload([](ServerConnection& connection) { connection.pause(60s); }, true);
}

std::unique_ptr<Stall> Stall::inASendThatIsReadSlowly()
{
    return withUpload(
        [](ServerConnection& connection)
        {
            while (connection.discard(1000) == 1000)
            {
                connection.pause(DRIP_INTERVAL);
            }
        });
}

std::unique_ptr<Stall> Stall::beforeAContinue()
{
    auto stall = withUpload([](ServerConnection& connection) { connection.waitUntilPeerCloses(60s); });
    stall->m_options.expectContinue = true;
    stall->m_options.continueTimeout = blocxx::Timeout::infinite;
    return stall;
}

std::unique_ptr<Stall> Stall::inASilentHead()
{
    return withResponse("", "");
}

std::unique_ptr<Stall> Stall::inAHeadThatDrips()
{
    return withResponse("HTTP/1.1 200 OK\r\nX-Long: ", drops('x'));
}

std::unique_ptr<Stall> Stall::inAHeadThatDripsOverTls()
{
    return withResponse("HTTP/1.1 200 OK\r\nX-Long: ", drops('x'), true);
}

std::unique_ptr<Stall> Stall::inAnInterimResponseThatDrips()
{
    return withResponse("HTTP/1.1 102 Processing\r\n\r\nHTTP/1.1 103 Early Hints\r\nX-Long: ", drops('x'));
}

std::unique_ptr<Stall> Stall::inAHeadThatDripsBehindARedirect()
{
    auto stall = withServer(
        [](ServerConnection& connection, Gate& arrived)
        {
            connection.receiveHead();
            if (connection.index() == 0)
            {
                connection.send("HTTP/1.1 302 Found\r\nLocation: /next\r\nContent-Length: 0\r\n\r\n");
                return;
            }
            arrived.open();
            connection.sendSlowly("HTTP/1.1 200 OK\r\nX-Long: " + drops('x'), DRIP_INTERVAL);
        });
    stall->m_options.mostRedirects = 1;
    return stall;
}

std::unique_ptr<Stall> Stall::inASilentBody()
{
    return withBody("HTTP/1.1 200 OK\r\nContent-Length: 100000\r\n\r\nbegin", "");
}

std::unique_ptr<Stall> Stall::inABodyThatDrips()
{
    return withBody("HTTP/1.1 200 OK\r\nContent-Length: 100000\r\n\r\n", drops('b'));
}

std::unique_ptr<Stall> Stall::inABodyThatDripsOverTls()
{
    return withBody("HTTP/1.1 200 OK\r\nContent-Length: 100000\r\n\r\n", drops('b'), true);
}

std::unique_ptr<Stall> Stall::inABodyToTheCloseThatDrips()
{
    return withBody("HTTP/1.1 200 OK\r\n\r\n", drops('b'));
}

std::unique_ptr<Stall> Stall::inAChunkThatDrips()
{
    return withBody("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n3\r\none\r\n10000\r\n", drops('c'));
}

std::unique_ptr<Stall> Stall::inTheLineOfAChunkThatDrips()
{
    return withBody("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n3\r\none\r\n3;extension=", drops('e'));
}

std::unique_ptr<Stall> Stall::inATrailerThatDrips()
{
    return withBody("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n3\r\none\r\n0\r\nX-Trailer: ", drops('t'));
}

std::unique_ptr<Stall> Stall::inACompressedBodyThatDrips()
{
    // The head of gzip's format with a file name (RFC 1952, section 2.3), which does not end.
    const std::string head("\x1f\x8b\x08\x08\0\0\0\0\0\x03", 10);
    auto stall = withBody("HTTP/1.1 200 OK\r\nContent-Encoding: gzip\r\n\r\n" + head, drops('n'));
    stall->m_options.decompress = true;
    return stall;
}

} // namespace exchange_integration
