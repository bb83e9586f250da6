#include "support/NginxServer.hpp"

#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <stdexcept>

namespace zol_test
{

namespace
{

// Debian puts its dynamic modules here; a build that has the module inside needs no line.
std::string moduleLine()
{
    const char* const echo = "/usr/lib/nginx/modules/ngx_http_echo_module.so";
    return std::filesystem::exists(echo) ? std::string("load_module ") + echo + ";\n" : std::string();
}

// A master with one worker: without a master nginx cannot take sockets over.
std::string mainBlock()
{
    return moduleLine() + (::geteuid() == 0 ? "user root;" : "") + R"(
pid nginx.pid;
daemon off;
worker_processes 1;
error_log stderr notice;
events { worker_connections 512; }
)";
}

std::string httpBlock(const std::string& listen, const std::string& server)
{
    return R"(
http {
    access_log access.log;
    client_body_temp_path temp/body;
    proxy_temp_path temp/proxy;
    fastcgi_temp_path temp/fastcgi;
    uwsgi_temp_path temp/uwsgi;
    scgi_temp_path temp/scgi;
    client_max_body_size 0;
    sendfile on;
    tcp_nodelay on;
    default_type application/octet-stream;
    types { text/plain txt; text/html html; text/xml xml; image/png png; }
    server {
        root html;
)" + listen +
           server + "\n    }\n}\n";
}

} // namespace

NginxServer::NginxServer() : NginxServer(Options()) {}

// The sockets are made here and handed over the way nginx hands them to its own successor, so the ports are the
// kernel's choice, no other program can take them in between, and connections are queued from the start.
NginxServer::NginxServer(const Options& options) : m_plain(LoopbackSocket::E_LISTENING)
{
    std::string listen = "        listen 127.0.0.1:" + std::to_string(m_plain.port) + ";\n";
    ChildProcess::Options process;
    process.inherit = {m_plain.descriptor.get()};
    if (!options.certificate.empty())
    {
        m_folder.write("server.crt", options.certificate);
        m_folder.write("server.key", options.privateKey);
        m_tls.emplace(LoopbackSocket::E_LISTENING);
        process.inherit.push_back(m_tls->descriptor.get());
        listen += "        listen 127.0.0.1:" + std::to_string(m_tls->port) + " ssl;\n" +
                  "        ssl_certificate server.crt;\n        ssl_certificate_key server.key;\n";
    }
    if (options.ipv6)
    {
        m_ipv6.emplace(LoopbackSocket::E_LISTENING, true);
        process.inherit.push_back(m_ipv6->descriptor.get());
        listen += "        listen [::1]:" + std::to_string(m_ipv6->port) + ";\n";
    }
    std::string inherited;
    for (const int fd : process.inherit)
    {
        inherited += std::to_string(fd) + ";";
    }
    process.environment = {{"NGINX", inherited}};
    process.deathSignal = SIGTERM; // the worker would outlive a killed master

    m_folder.write("html/index.html", "<html>the front page</html>\n");
    std::filesystem::create_directories(m_folder.path() / "temp");
    const std::string configuration = m_folder.write("nginx.conf", mainBlock() + httpBlock(listen, options.server));
    m_process = std::make_unique<ChildProcess>(
        std::vector<std::string>{"nginx", "-e", "stderr", "-p", m_folder.path().string(), "-c", configuration},
        std::move(process));
    if (!m_process->waitForOutput("start worker process "))
    {
        throw std::runtime_error("nginx did not start:\n" + m_process->errorOutput());
    }
}

NginxServer::~NginxServer()
{
    m_process->stop();
}

std::string NginxServer::accessLog() const
{
    return readFile(m_folder.file("access.log"));
}

} // namespace zol_test
