#include "common/Servers.hpp"

#include "support/Certificates.hpp"
#include "support/ScriptedServer.hpp"
#include "support/TemporaryDirectory.hpp"

#include <sys/prctl.h>
#include <unistd.h>
#include <zlib.h>

#include <algorithm>
#include <csignal>
#include <memory>
#include <stdexcept>

namespace zol_faults
{

namespace
{

using zol_test::ScriptedServer;
using zol_test::ServerConnection;

const char OK[] = "HTTP/1.1 200 OK\r\nContent-Type: text/plain\r\n";

std::string withLength(const std::string& body)
{
    return "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body;
}

std::string chunked(const std::string& body)
{
    char size[16];
    std::string text = "Transfer-Encoding: chunked\r\n\r\n";
    const std::size_t most = 1700;
    for (std::size_t from = 0; from < body.size(); from += most)
    {
        const std::string piece = body.substr(from, most);
        std::snprintf(size, sizeof size, "%zx\r\n", piece.size());
        text += size + piece + "\r\n";
    }
    return text + "0\r\n\r\n";
}

std::string compressed(const std::string& body)
{
    z_stream state{};
    if (deflateInit2(&state, Z_BEST_COMPRESSION, Z_DEFLATED, MAX_WBITS + 16, 8, Z_DEFAULT_STRATEGY) != Z_OK)
    {
        throw std::runtime_error("deflateInit2");
    }
    std::string in = body;
    std::string out(deflateBound(&state, in.size()), '\0');
    state.next_in = reinterpret_cast<Bytef*>(in.data());
    state.avail_in = static_cast<uInt>(in.size());
    state.next_out = reinterpret_cast<Bytef*>(out.data());
    state.avail_out = static_cast<uInt>(out.size());
    deflate(&state, Z_FINISH);
    out.resize(state.total_out);
    deflateEnd(&state);
    return out;
}

std::string bodySentTo(ServerConnection& connection, const std::string& head)
{
    const std::string field = "Content-Length: ";
    const std::size_t at = head.find(field);
    return connection.receive(at == std::string::npos ? 0 : std::stoul(head.substr(at + field.size())));
}

std::string responseTo(ServerConnection& connection, const std::string& head)
{
    const std::string target = head.substr(0, head.find(" HTTP/")).substr(head.find(' ') + 1);
    if (target == "/to-the-close")
    {
        return OK + std::string("\r\n") + page();
    }
    if (target == "/chunked")
    {
        return OK + chunked(page());
    }
    if (target == "/gzip")
    {
        return OK + std::string("Content-Encoding: gzip\r\n") + withLength(compressed(page()));
    }
    if (target == "/multipart")
    {
        return "HTTP/1.1 200 OK\r\nContent-Type: multipart/mixed; boundary=B\r\n" + withLength(multipartBody());
    }
    if (target == "/echo")
    {
        return OK + withLength(bodySentTo(connection, head));
    }
    return OK + withLength(target == "/large" ? largePage() : page());
}

void serve(ServerConnection& connection)
{
    const std::string head = connection.receiveHead();
    connection.send(responseTo(connection, head));
}

zol_test::CertificateFields fieldsFor(const std::string& name, const std::string& address)
{
    zol_test::CertificateFields fields;
    fields.dnsNames = {name};
    fields.ipAddresses = {address};
    return fields;
}

std::unique_ptr<ScriptedServer> tlsServer(const zol_test::Certificate& authority,
                                          const zol_test::CertificateFields& fields)
{
    const zol_test::Certificate own = zol_test::issue(authority, fields);
    ScriptedServer::Options options;
    options.certificate = own.certificatePem();
    options.privateKey = own.keyPem();
    return std::make_unique<ScriptedServer>(options, serve);
}

struct Ports
{
    std::uint16_t plain;
    std::uint16_t tls;
    std::uint16_t impostor;
};

// Serves until the process that started this one has ended.
[[noreturn]] void serveFor(int portsOut, const zol_test::TemporaryDirectory& folder, pid_t parent)
{
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    const zol_test::Certificate authority = zol_test::makeAuthority();
    folder.write("authority.pem", authority.certificatePem());
    folder.write("stranger.pem", zol_test::makeAuthority("stranger").certificatePem());
    ScriptedServer plain(serve);
    const auto tls = tlsServer(authority, fieldsFor("localhost", "127.0.0.1"));
    const auto impostor = tlsServer(authority, fieldsFor("other.example", "192.0.2.1"));
    const Ports ports{plain.port(), tls->port(), impostor->port()};
    if (::write(portsOut, &ports, sizeof ports) != static_cast<ssize_t>(sizeof ports))
    {
        ::_exit(1);
    }
    while (::getppid() == parent)
    {
        ::sleep(1);
    }
    ::_exit(0);
}

Servers start(const zol_test::TemporaryDirectory& folder)
{
    Servers servers;
    servers.upload = folder.write("upload", uploaded());
    servers.authority = folder.file("authority.pem");
    servers.stranger = folder.file("stranger.pem");
    zol_test::Pipe pipe;
    const pid_t parent = ::getpid();
    const pid_t process = ::fork();
    if (process == 0)
    {
        serveFor(pipe.writeEnd.get(), folder, parent);
    }
    pipe.writeEnd.reset();
    Ports ports{};
    if (::read(pipe.readEnd.get(), &ports, sizeof ports) != static_cast<ssize_t>(sizeof ports))
    {
        throw std::runtime_error("the servers have not started");
    }
    servers.plain = ports.plain;
    servers.tls = ports.tls;
    servers.impostor = ports.impostor;
    return servers;
}

/// A folder that a forked process leaves where it is.
class OwnFolder
{
public:
    OwnFolder() : m_folder(new zol_test::TemporaryDirectory), m_owner(::getpid()) {}
    ~OwnFolder()
    {
        if (::getpid() == m_owner)
        {
            delete m_folder;
        }
    }
    OwnFolder(const OwnFolder&) = delete;
    OwnFolder& operator=(const OwnFolder&) = delete;

    const zol_test::TemporaryDirectory& get() const { return *m_folder; }

private:
    const zol_test::TemporaryDirectory* const m_folder;
    const pid_t m_owner;
};

} // namespace

const Servers& Servers::running()
{
    static const OwnFolder folder;
    static const Servers servers = start(folder.get());
    return servers;
}

} // namespace zol_faults
