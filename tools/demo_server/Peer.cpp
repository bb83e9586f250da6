#include "Peer.hpp"

#include <openssl/bio.h>

#include <poll.h>
#include <sys/socket.h>

#include <cerrno>

namespace demo
{

namespace
{

constexpr std::chrono::milliseconds LINGER{2000};

bool hasInput(int socket, std::chrono::milliseconds limit)
{
    pollfd waiting{socket, POLLIN, 0};
    return ::poll(&waiting, 1, static_cast<int>(limit.count())) > 0;
}

} // namespace

Peer::Peer(const Descriptor& socket, SSL_CTX* context) : m_socket(socket.number())
{
    if (context == nullptr)
    {
        return;
    }
    m_session.reset(SSL_new(context));
    if (!m_session || SSL_set_fd(m_session.get(), m_socket) != 1 || SSL_accept(m_session.get()) != 1)
    {
        throw ConnectionLost("TLS handshake failed");
    }
}

std::size_t Peer::read(char* buffer, std::size_t size)
{
    if (m_session)
    {
        std::size_t count = 0;
        if (SSL_read_ex(m_session.get(), buffer, size, &count) == 1)
        {
            return count;
        }
        if (SSL_get_error(m_session.get(), 0) == SSL_ERROR_ZERO_RETURN)
        {
            return 0;
        }
        throw ConnectionLost("TLS read failed");
    }
    ssize_t count = 0;
    do
    {
        count = ::recv(m_socket, buffer, size, 0);
    } while (count < 0 && errno == EINTR);
    if (count < 0)
    {
        throw ConnectionLost("read failed");
    }
    return static_cast<std::size_t>(count);
}

void Peer::write(std::string_view bytes)
{
    while (!bytes.empty())
    {
        std::size_t sent = 0;
        if (m_session)
        {
            if (SSL_write_ex(m_session.get(), bytes.data(), bytes.size(), &sent) != 1)
            {
                throw ConnectionLost("TLS write failed");
            }
        }
        else
        {
            const ssize_t count = ::send(m_socket, bytes.data(), bytes.size(), MSG_NOSIGNAL);
            if (count < 0 && errno != EINTR)
            {
                throw ConnectionLost("write failed");
            }
            sent = count < 0 ? 0 : static_cast<std::size_t>(count);
        }
        bytes.remove_prefix(sent);
    }
}

void Peer::pause(std::chrono::milliseconds time)
{
    pollfd waiting{m_socket, 0, 0};
    if (::poll(&waiting, 1, static_cast<int>(time.count())) > 0)
    {
        throw ConnectionLost("closed during a pause");
    }
}

void Peer::finish()
{
    if (m_session)
    {
        SSL_shutdown(m_session.get());
    }
    ::shutdown(m_socket, SHUT_WR);
    const auto end = std::chrono::steady_clock::now() + LINGER;
    char discarded[4096];
    while (std::chrono::steady_clock::now() < end && hasInput(m_socket, LINGER) &&
           ::recv(m_socket, discarded, sizeof(discarded), 0) > 0)
    {
    }
}

std::string Peer::clientSubject() const
{
    if (!m_session)
    {
        return {};
    }
    const CertificatePtr certificate(SSL_get1_peer_certificate(m_session.get()));
    if (!certificate)
    {
        return {};
    }
    const BioPtr text(BIO_new(BIO_s_mem()));
    X509_NAME_print_ex(text.get(), X509_get_subject_name(certificate.get()), 0, XN_FLAG_RFC2253);
    char* data = nullptr;
    const long size = BIO_get_mem_data(text.get(), &data);
    return size > 0 ? std::string(data, static_cast<std::size_t>(size)) : std::string();
}

} // namespace demo
