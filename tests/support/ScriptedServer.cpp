#include "support/ScriptedServer.hpp"

#include <gtest/gtest.h>
#include <openssl/bio.h>
#include <openssl/err.h>
#include <openssl/pem.h>
#include <openssl/ssl.h>
#include <openssl/x509.h>

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/types.h>

#include <algorithm>
#include <csignal>
#include <functional>
#include <utility>

namespace zol_test
{

namespace
{

std::string opensslReason()
{
    char text[256] = "no reason given";
    if (const unsigned long error = ERR_peek_last_error(); error != 0)
    {
        ERR_error_string_n(error, text, sizeof text);
    }
    ERR_clear_error();
    return text;
}

void require(bool condition, const char* what)
{
    if (!condition)
    {
        throw std::runtime_error(std::string(what) + ": " + opensslReason());
    }
}

std::unique_ptr<BIO, int (*)(BIO*)> bioOver(const std::string& text)
{
    return {BIO_new_mem_buf(text.data(), static_cast<int>(text.size())), BIO_free};
}

void useChain(SSL_CTX* context, const std::string& pem)
{
    const auto bio = bioOver(pem);
    for (bool first = true;; first = false)
    {
        X509* certificate = PEM_read_bio_X509(bio.get(), nullptr, nullptr, nullptr);
        if (certificate == nullptr)
        {
            require(!first, "server certificate");
            ERR_clear_error();
            return;
        }
        const int used = first ? SSL_CTX_use_certificate(context, certificate)
                               : static_cast<int>(SSL_CTX_add1_chain_cert(context, certificate));
        X509_free(certificate);
        require(used == 1, "server certificate");
    }
}

void useKey(SSL_CTX* context, const std::string& pem)
{
    const auto bio = bioOver(pem);
    EVP_PKEY* key = PEM_read_bio_PrivateKey(bio.get(), nullptr, nullptr, nullptr);
    require(key != nullptr, "server key");
    const int used = SSL_CTX_use_PrivateKey(context, key);
    EVP_PKEY_free(key);
    require(used == 1, "server key");
}

} // namespace

void ScriptedServer::ContextDeleter::operator()(SSL_CTX* context) const
{
    SSL_CTX_free(context);
}

ScriptedServer::ScriptedServer(Script script) : ScriptedServer(Options(), std::move(script)) {}

ScriptedServer::ScriptedServer(Options options, Script script)
    : m_options(std::move(options)), m_script(std::move(script)),
      m_listener(LoopbackSocket::E_LISTENING, m_options.ipv6)
{
    if (!m_options.certificate.empty())
    {
        makeContext();
    }
    m_acceptor = std::thread([this] { accept(); });
}

ScriptedServer::~ScriptedServer()
{
    m_stop.writeEnd.reset();
    m_acceptor.join();
    for (std::thread& connection : m_connections)
    {
        connection.join();
    }
    if (!m_errorsAskedFor)
    {
        for (const std::string& error : m_errors)
        {
            ADD_FAILURE() << "scripted server: " << error;
        }
    }
}

void ScriptedServer::makeContext()
{
    m_context.reset(SSL_CTX_new(TLS_server_method()));
    require(m_context != nullptr, "TLS context");
    if (m_options.adjust)
    {
        m_options.adjust(m_context.get());
    }
    useChain(m_context.get(), m_options.certificate);
    useKey(m_context.get(), m_options.privateKey);
}

void ScriptedServer::accept()
{
    sigset_t all;
    sigfillset(&all);
    ::pthread_sigmask(SIG_BLOCK, &all, nullptr);
    for (;;)
    {
        pollfd waits[] = {{m_listener.descriptor.get(), POLLIN, 0}, {m_stop.readEnd.get(), POLLIN, 0}};
        ::poll(waits, 2, -1);
        if (waits[1].revents != 0)
        {
            return;
        }
        Descriptor socket(::accept4(m_listener.descriptor.get(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK));
        if (!socket)
        {
            continue;
        }
        joinFinished();
        const std::lock_guard<std::mutex> lock(m_mutex);
        const std::size_t index = m_requests.size();
        m_requests.emplace_back();
        ++m_running;
        // Signals stay blocked in the new thread, so writing to a gone peer under TLS cannot end the test.
        m_connections.emplace_back([this, index, accepted = std::move(socket)]() mutable
                                   { serve(std::move(accepted), index); });
        m_changed.notify_all();
    }
}

// A thread keeps its stack until it is joined, and a test may connect tens of thousands of times.
void ScriptedServer::joinFinished()
{
    std::vector<std::thread::id> finished;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        finished.swap(m_finished);
    }
    const auto isFinished = [&](const std::thread& thread)
    { return std::find(finished.begin(), finished.end(), thread.get_id()) != finished.end(); };
    const auto rest = std::partition(m_connections.begin(), m_connections.end(), std::not_fn(isFinished));
    std::for_each(rest, m_connections.end(), [](std::thread& thread) { thread.join(); });
    m_connections.erase(rest, m_connections.end());
}

void ScriptedServer::serve(Descriptor socket, std::size_t index)
{
    // Bytes sent one at a time are to arrive one at a time.
    const int on = 1;
    ::setsockopt(socket.get(), IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    if (m_options.sendBufferSize != 0)
    {
        ::setsockopt(socket.get(), SOL_SOCKET, SO_SNDBUF, &m_options.sendBufferSize, sizeof(int));
    }
    if (m_options.receiveBufferSize != 0)
    {
        ::setsockopt(socket.get(), SOL_SOCKET, SO_RCVBUF, &m_options.receiveBufferSize, sizeof(int));
    }
    {
        ServerConnection connection(*this, std::move(socket), index);
        try
        {
            if (m_context != nullptr)
            {
                connection.handshake(m_context.get());
            }
            m_script(connection);
            connection.linger();
        }
        catch (const std::exception& error)
        {
            recordError(index, error.what());
        }
        catch (const Stopped&)
        {
        }
    }
    const std::lock_guard<std::mutex> lock(m_mutex);
    --m_running;
    m_finished.push_back(std::this_thread::get_id());
    m_changed.notify_all();
}

void ScriptedServer::recordRequest(std::size_t index, std::string_view data)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_requests[index].append(data);
}

void ScriptedServer::recordError(std::size_t index, const std::string& text)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_errors.push_back("connection " + std::to_string(index) + ": " + text);
}

std::string ScriptedServer::address() const
{
    return (m_options.ipv6 ? "[::1]:" : "127.0.0.1:") + std::to_string(port());
}

std::vector<std::string> ScriptedServer::requests() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_requests;
}

std::vector<std::string> ScriptedServer::errors()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_errorsAskedFor = true;
    return m_errors;
}

std::size_t ScriptedServer::connections() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_requests.size();
}

bool ScriptedServer::waitForConnections(std::size_t count, std::chrono::milliseconds limit) const
{
    std::unique_lock<std::mutex> lock(m_mutex);
    return m_changed.wait_for(lock, limit, [&] { return m_requests.size() >= count; });
}

bool ScriptedServer::waitUntilIdle(std::chrono::milliseconds limit) const
{
    std::unique_lock<std::mutex> lock(m_mutex);
    return m_changed.wait_for(lock, limit, [&] { return m_running == 0; });
}

ScriptedServer::Script respondingWith(std::string bytes)
{
    return [bytes = std::move(bytes)](ServerConnection& connection)
    {
        connection.receiveHead();
        connection.send(bytes);
    };
}

ScriptedServer::Script sending(std::string bytes)
{
    return [bytes = std::move(bytes)](ServerConnection& connection) { connection.send(bytes); };
}

void resetAfterOneByte(ServerConnection& connection)
{
    connection.receive(1);
    connection.reset();
}

} // namespace zol_test
