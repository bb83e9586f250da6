#pragma once

#include "Loopback.hpp"

#include <openssl/err.h>
#include <openssl/ssl.h>

#include <memory>
#include <string>

struct FreeOpenSSL
{
    void operator()(SSL_CTX* context) const { SSL_CTX_free(context); }
    void operator()(SSL* session) const { SSL_free(session); }
};

using ServerContext = std::unique_ptr<SSL_CTX, FreeOpenSSL>;

/// A context with that certificate and key. Ends the program if there is none.
inline ServerContext serverContext(const char* certificate, const char* key)
{
    ServerContext context(SSL_CTX_new(TLS_server_method()));
    if (SSL_CTX_use_certificate_chain_file(context.get(), certificate) != 1 ||
        SSL_CTX_use_PrivateKey_file(context.get(), key, SSL_FILETYPE_PEM) != 1)
    {
        ERR_print_errors_fp(stderr);
        std::exit(1);
    }
    return context;
}

/// A connection that was accepted, plain or over TLS. Closed, and the session before it, when this object goes.
class ServerConnection
{
public:
    /// @param descriptor  owned by this object; that of a failed accept is a connection on which everything fails
    /// @param context     null for a plain connection
    ServerConnection(int descriptor, SSL_CTX* context) : m_descriptor(descriptor)
    {
        if (context != nullptr)
        {
            m_session.reset(SSL_new(context));
            SSL_set_fd(m_session.get(), m_descriptor);
            m_isOpen = SSL_accept(m_session.get()) == 1;
        }
    }
    ~ServerConnection()
    {
        if (m_session && m_isOpen)
        {
            SSL_shutdown(m_session.get());
        }
        ::close(m_descriptor);
    }
    ServerConnection(const ServerConnection&) = delete;
    ServerConnection& operator=(const ServerConnection&) = delete;

    /// @return whether all was sent
    bool send(const char* data, size_t size)
    {
        if (!m_session)
        {
            return sendAll(m_descriptor, data, size);
        }
        size_t sent = 0;
        m_isOpen = m_isOpen && SSL_write_ex(m_session.get(), data, size, &sent) == 1;
        return m_isOpen;
    }
    bool send(const std::string& data) { return send(data.data(), data.size()); }

    /// @return the number of bytes that were received; 0 or less at the end of the connection
    ssize_t receive(char* data, size_t size)
    {
        if (!m_session)
        {
            return ::recv(m_descriptor, data, size, 0);
        }
        const int count = m_isOpen ? SSL_read(m_session.get(), data, static_cast<int>(size)) : 0;
        m_isOpen = m_isOpen && count > 0;
        return count;
    }

private:
    int m_descriptor;
    std::unique_ptr<SSL, FreeOpenSSL> m_session;
    bool m_isOpen = true;
};
