#include "io/SSLSocketImpl.hpp"

#include "io/DescriptorBIO.hpp"
#include "io/OpenSSLText.hpp"

#include "blocxx/Format.hpp"
#include "blocxx/internal/CancellationOff.hpp"

#include <openssl/bio.h>
#include <openssl/err.h>
#include <openssl/ssl.h>
#include <openssl/x509_vfy.h>

#include <poll.h>
#include <pthread.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <optional>

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

// How many records without data a read takes after its time is up. Session tickets that lie before data which has
// already arrived are few; a peer that always has another record ready must not hold a read.
const int RECORDS_AFTER_EXPIRY = 16;

} // namespace

SSLSocketImpl::SSLSocketImpl(const SSLClientCtxRef& context) : m_context(context), m_ssl(nullptr, &SSL_free) {}

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

// Calls OpenSSL with a clean error queue. A thread is cancelled before the call or in the waits, never in the call:
// OpenSSL does not put its state in order when something unwinds through it.
template <class Call>
int SSLSocketImpl::call(Call function)
{
    ::pthread_testcancel();
    const Internal::CancellationOff inOpenSSL;
    ERR_clear_error();
    errno = 0;
    return function(m_ssl.get());
}

bool SSLSocketImpl::startSession(const Deadline& deadline)
{
    const PeerIdentity identity(peerAddress());
    prepare(identity);
    if (!shakeHands(deadline))
    {
        return false;
    }
    if (verifies())
    {
        checkPeer(identity);
    }
    m_established = true;
    m_mayShutDown = true;
    m_process = ::getpid();
    return true;
}

void SSLSocketImpl::prepare(const PeerIdentity& identity)
{
    ERR_clear_error();
    m_failure = 0;
    m_ssl.reset(SSL_new(m_context->getSSLCtx()));
    BIO* const bio = m_ssl ? newDescriptorBIO(descriptor()) : nullptr;
    if (bio == nullptr)
    {
        throwSSL(Format("SSL_new failed: %1", takeOpenSSLErrors()));
    }
    SSL_set_bio(m_ssl.get(), bio, bio);
    // OpenSSL then returns after each record without data, so that a read can look at its limit.
    SSL_clear_mode(m_ssl.get(), SSL_MODE_AUTO_RETRY);
    if (!identity.announce(m_ssl.get()) || (verifies() && !identity.require(m_ssl.get())))
    {
        ERR_clear_error();
        throwSSL(Format("SSL connect error: not a host name for TLS: %1", peerText()));
    }
}

bool SSLSocketImpl::shakeHands(const Deadline& deadline)
{
    for (;;)
    {
        const int result = call(SSL_connect);
        if (result == 1)
        {
            return true;
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
            return false;
        }
        if (!await(event, deadline))
        {
            const int waitError = errno;
            if (waitError == ETIMEDOUT || waitError == ECANCELED)
            {
                return false;
            }
            BLOCXX_THROW_ERRNO_MSG1(SSLException, Format("SSL connect error: %1", peerText()), waitError);
        }
    }
}

// OpenSSL 3.0 verifies without the expected name, and succeeds, when it runs out of memory while it copies the name. So
// what was agreed on is compared once more.
void SSLSocketImpl::checkPeer(const PeerIdentity& identity) const
{
    long verdict = SSL_get_verify_result(m_ssl.get());
    if (verdict == X509_V_OK)
    {
        X509* const certificate = SSL_get0_peer_certificate(m_ssl.get());
        verdict = certificate == nullptr ? X509_V_ERR_UNSPECIFIED : identity.compare(certificate);
    }
    ERR_clear_error();
    if (verdict != X509_V_OK)
    {
        throwNotVerified(verdict);
    }
}

void SSLSocketImpl::throwNotVerified(long verdict) const
{
    throwSSL(Format("SSL connect error: certificate verify failed for %1: %2; %3", peerText(),
                    X509_verify_cert_error_string(verdict), adviceFor(verdict)));
}

void SSLSocketImpl::throwHandshakeFailed(int sslError, int error) const
{
    const String reasons = takeOpenSSLErrors();
    const long verdict = SSL_get_verify_result(m_ssl.get());
    if (verifies() && verdict != X509_V_OK)
    {
        throwNotVerified(verdict);
    }
    if (sslError == SSL_ERROR_SYSCALL && error != 0)
    {
        BLOCXX_THROW_ERRNO_MSG1(SSLException, Format("SSL connect error: %1", peerText()), error);
    }
    throwSSL(Format("SSL connect error: %1: %2", peerText(),
                    reasons.empty() ? String("the peer closed the connection during the handshake") : reasons));
}

// One limit for the whole read: records without data, and parts of a record, do not extend it.
int SSLSocketImpl::receive(void* data, int length)
{
    if (m_failure != 0)
    {
        return failAgain();
    }
    std::optional<Deadline> deadline;
    int spare = RECORDS_AFTER_EXPIRY;
    for (;;)
    {
        const int count = call([data, length](SSL* session) { return SSL_read(session, data, length); });
        if (count > 0)
        {
            return count;
        }
        const int error = errno;
        const int sslError = SSL_get_error(m_ssl.get(), count);
        if (sslError == SSL_ERROR_ZERO_RETURN)
        {
            return 0;
        }
        // Reading may have to write (a key update, a renegotiation).
        const short event = awaitedEvent(sslError);
        if (event == 0)
        {
            return fail(sslError, error);
        }
        if (!deadline)
        {
            deadline.emplace(receiveTimeout);
        }
        if (deadline->expired() && spare-- == 0)
        {
            noteReceiveTimedOut();
            errno = ETIMEDOUT;
            return -1;
        }
        if (!awaitInput(event, *deadline))
        {
            return -1;
        }
    }
}

int SSLSocketImpl::sendAll(const void* data, int length)
{
    if (m_failure != 0)
    {
        return failAgain();
    }
    std::optional<Deadline> deadline;
    std::uint64_t gone = 0;
    for (;;)
    {
        const int count = call([data, length](SSL* session) { return SSL_write(session, data, length); });
        if (count > 0)
        {
            return count;
        }
        const int error = errno;
        const int sslError = SSL_get_error(m_ssl.get(), count);
        const short event = awaitedEvent(sslError);
        if (event == 0)
        {
            return fail(sslError, error);
        }
        // Bytes of data that have left start the limit anew; those of a renegotiation do not.
        const std::uint64_t goneNow = BIO_number_written(SSL_get_wbio(m_ssl.get()));
        if (!deadline || (goneNow != gone && SSL_is_init_finished(m_ssl.get()) == 1))
        {
            deadline.emplace(sendTimeout);
            gone = goneNow;
        }
        else if (deadline->expired())
        {
            errno = ETIMEDOUT;
            return -1;
        }
        if (!await(event, *deadline))
        {
            return -1;
        }
    }
}

bool SSLSocketImpl::holdsInput() const
{
    return SSL_pending(m_ssl.get()) > 0;
}

// Sets `errno` and the text for a transfer that OpenSSL has failed. Returns -1.
int SSLSocketImpl::fail(int sslError, int error)
{
    // OpenSSL forbids the shut-down of a connection that has failed.
    m_mayShutDown = false;
    const String reasons = takeOpenSSLErrors();
    if (sslError == SSL_ERROR_SYSCALL && error != 0)
    {
        errno = error;
        return -1;
    }
    const bool wasCut = sslError == SSL_ERROR_SYSCALL;
    m_failureText = wasCut ? String("the connection ended without close-notify") : reasons;
    m_failure = wasCut ? ECONNRESET : EPROTO;
    return failAgain();
}

// OpenSSL itself takes a session that the peer has ended with a fatal alert for one that has ended in order when it is
// read again.
int SSLSocketImpl::failAgain()
{
    setErrorText(m_failureText);
    errno = m_failure;
    return -1;
}

// One attempt to send close-notify; the peer's is not waited for. A process that was forked off has a copy of the
// session, but the session continues in the process that connected: a record from the copy would end it there.
void SSLSocketImpl::endSession() noexcept
{
    const Internal::CancellationOff ending;
    if (m_mayShutDown && ::getpid() == m_process)
    {
        ERR_clear_error();
        SSL_shutdown(m_ssl.get());
        ERR_clear_error();
    }
    m_established = false;
    m_mayShutDown = false;
    m_ssl.reset();
}

} // namespace blocxx
