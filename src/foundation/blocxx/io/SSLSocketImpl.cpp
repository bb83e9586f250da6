#include "io/SSLSocketImpl.hpp"

#include "io/DescriptorBIO.hpp"
#include "io/OpenSSLText.hpp"
#include "io/Wait.hpp"

#include "blocxx/Format.hpp"

#include <openssl/err.h>
#include <openssl/ssl.h>
#include <openssl/x509v3.h>

#include <poll.h>

#include <cerrno>
#include <cstring>

namespace blocxx
{

namespace
{

[[noreturn]] void throwSSL(const String& message)
{
    BLOCXX_THROW(SSLException, message.c_str());
}

// The event that a call in progress waits for; 0 if it is not in progress.
short awaitedEvent(int sslError)
{
    switch (sslError)
    {
    case SSL_ERROR_WANT_READ:
        return POLLIN;
    case SSL_ERROR_WANT_WRITE:
        return POLLOUT;
    default:
        return 0;
    }
}

const char* adviceFor(long verdict)
{
    switch (verdict)
    {
    case X509_V_ERR_HOSTNAME_MISMATCH:
    case X509_V_ERR_IP_ADDRESS_MISMATCH:
        return "ask for the host by a name that its certificate carries";
    case X509_V_ERR_CERT_HAS_EXPIRED:
    case X509_V_ERR_CERT_NOT_YET_VALID:
        return "check this machine's clock, or have the certificate renewed";
    case X509_V_ERR_DEPTH_ZERO_SELF_SIGNED_CERT:
    case X509_V_ERR_SELF_SIGNED_CERT_IN_CHAIN:
    case X509_V_ERR_UNABLE_TO_GET_ISSUER_CERT:
    case X509_V_ERR_UNABLE_TO_GET_ISSUER_CERT_LOCALLY:
    case X509_V_ERR_UNABLE_TO_VERIFY_LEAF_SIGNATURE:
        return "to trust its issuer, name it in SSLOpts::trustStore or SSLOpts::inMemoryTrustStore";
    default:
        return "only SSLOpts::MODE_DISABLED accepts a certificate that cannot be verified";
    }
}

} // namespace

SSLSocketImpl::SSLSocketImpl(const SSLClientCtxRef& context)
    : m_context(context), m_ssl(nullptr, &SSL_free), m_mayShutDown(false)
{
}

SSLSocketImpl::~SSLSocketImpl()
{
    disconnect();
}

bool SSLSocketImpl::verifies() const
{
    return SSL_CTX_get_verify_mode(m_context->getSSLCtx()) != SSL_VERIFY_NONE;
}

String SSLSocketImpl::peerText() const
{
    const SocketAddress& peer = peerAddress();
    return Format("%1 (%2)", peer.getName().empty() ? peer.getAddress() : peer.getName(), peer.toString());
}

void SSLSocketImpl::prepare()
{
    ERR_clear_error();
    m_mayShutDown = false;
    m_ssl.reset(SSL_new(m_context->getSSLCtx()));
    BIO* const bio = m_ssl ? newDescriptorBIO(descriptor()) : nullptr;
    if (bio == nullptr)
    {
        throwSSL(Format("SSL_new failed: %1", takeOpenSSLErrors()));
    }
    SSL_set_bio(m_ssl.get(), bio, bio);
    expectIdentity();
}

void SSLSocketImpl::expectIdentity()
{
    X509_VERIFY_PARAM* const expected = SSL_get0_param(m_ssl.get());
    bool set = true;
    if (peerAddress().hasHostName())
    {
        // Certificates and SNI carry names without the root's dot (RFC 6066, 3).
        String name = peerAddress().getName();
        if (name.endsWith('.'))
        {
            name = name.substring(0, name.length() - 1);
        }
        set = SSL_set_tlsext_host_name(m_ssl.get(), name.c_str()) == 1;
        if (set && verifies())
        {
            // The subject is not looked at: it never names a host for certain (RFC 9110, 4.3.4; RFC 6125, 6.2.1).
            X509_VERIFY_PARAM_set_hostflags(expected,
                                            X509_CHECK_FLAG_NEVER_CHECK_SUBJECT | X509_CHECK_FLAG_NO_PARTIAL_WILDCARDS);
            set = X509_VERIFY_PARAM_set1_host(expected, name.c_str(), name.length()) == 1;
        }
    }
    else if (verifies())
    {
        // No SNI: it does not hold addresses.
        set = X509_VERIFY_PARAM_set1_ip_asc(expected, peerAddress().getAddress().c_str()) == 1;
    }
    if (!set)
    {
        ERR_clear_error();
        throwSSL(Format("SSL connect error: not a host name for TLS: %1", peerText()));
    }
}

void SSLSocketImpl::startSession(const Deadline& deadline)
{
    prepare();
    for (;;)
    {
        ERR_clear_error();
        errno = 0;
        const int result = SSL_connect(m_ssl.get());
        if (result == 1)
        {
            m_mayShutDown = true;
            return;
        }
        const int error = errno;
        const int sslError = SSL_get_error(m_ssl.get(), result);
        const short event = awaitedEvent(sslError);
        if (event == 0)
        {
            throwHandshakeFailed(sslError, error);
        }
        // Asked first, so that a peer that always has another byte ready cannot stretch the limit.
        if (deadline.expired())
        {
            throwTimedOut("TLS handshake", peerAddress());
        }
        if (!waitUntilReady(descriptor(), event, deadline))
        {
            const int waitError = errno;
            if (waitError == ETIMEDOUT)
            {
                throwTimedOut("TLS handshake", peerAddress());
            }
            BLOCXX_THROW_ERRNO_MSG1(SSLException, Format("SSL connect error: %1", peerText()), waitError);
        }
    }
}

void SSLSocketImpl::throwHandshakeFailed(int sslError, int error) const
{
    const String reasons = takeOpenSSLErrors();
    const long verdict = SSL_get_verify_result(m_ssl.get());
    if (verifies() && verdict != X509_V_OK)
    {
        throwSSL(Format("SSL connect error: certificate verify failed for %1: %2; %3", peerText(),
                        X509_verify_cert_error_string(verdict), adviceFor(verdict)));
    }
    if (sslError == SSL_ERROR_SYSCALL && error != 0)
    {
        BLOCXX_THROW_ERRNO_MSG1(SSLException, Format("SSL connect error: %1", peerText()), error);
    }
    throwSSL(Format("SSL connect error: %1: %2", peerText(),
                    reasons.empty() ? String("the peer closed the connection during the handshake") : reasons));
}

int SSLSocketImpl::receive(void* data, int length)
{
    for (;;)
    {
        ERR_clear_error();
        errno = 0;
        const int count = SSL_read(m_ssl.get(), data, length);
        if (count > 0)
        {
            return count;
        }
        const int sslError = SSL_get_error(m_ssl.get(), count);
        if (sslError == SSL_ERROR_ZERO_RETURN)
        {
            return 0;
        }
        if (!awaitProgress(sslError, receiveTimeout))
        {
            return -1;
        }
    }
}

int SSLSocketImpl::sendAll(const void* data, int length)
{
    for (;;)
    {
        ERR_clear_error();
        errno = 0;
        const int count = SSL_write(m_ssl.get(), data, length);
        if (count > 0)
        {
            return count;
        }
        if (!awaitProgress(SSL_get_error(m_ssl.get(), count), sendTimeout))
        {
            return -1;
        }
    }
}

// Reading may have to write and writing to read (a renegotiation, a key update); either counts as the call's own
// progress. Answers false, with errno set, when the call has failed.
bool SSLSocketImpl::awaitProgress(int sslError, const Timeout& timeout)
{
    const int error = errno;
    if (const short event = awaitedEvent(sslError))
    {
        return waitUntilReady(descriptor(), event, Deadline(timeout));
    }
    // OpenSSL forbids the shut-down of a connection that has failed.
    m_mayShutDown = false;
    ERR_clear_error();
    if (sslError == SSL_ERROR_SYSCALL)
    {
        // Without errno the connection was cut: it ended, but not with close-notify.
        errno = error != 0 ? error : ECONNRESET;
    }
    else
    {
        errno = EPROTO;
    }
    return false;
}

// One attempt to send close-notify; the peer's is not waited for.
void SSLSocketImpl::endSession() noexcept
{
    if (m_mayShutDown)
    {
        ERR_clear_error();
        SSL_shutdown(m_ssl.get());
        ERR_clear_error();
        m_mayShutDown = false;
    }
    m_ssl.reset();
}

} // namespace blocxx
