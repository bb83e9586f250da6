#include "io/SSLSocketImpl.hpp"

#include "io/OpenSSLCall.hpp"
#include "io/OpenSSLText.hpp"
#include "io/SSLHandshake.hpp"

#include "blocxx/internal/CancellationOff.hpp"

#include <openssl/bio.h>
#include <openssl/err.h>
#include <openssl/ssl.h>

#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <optional>

namespace blocxx
{

namespace
{

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

bool SSLSocketImpl::startSession(const Deadline& deadline)
{
    ERR_clear_error();
    m_failure = 0;
    m_ssl.reset(SSL_new(m_context->getSSLCtx()));
    if (m_ssl && !ownCertificateIsUsed)
    {
        SSL_certs_clear(m_ssl.get());
    }
    noteHandshake();
    SSLHandshake handshake(m_ssl.get(), descriptor(), peerAddress(), setBounds());
    if (!handshake.perform(deadline))
    {
        return false;
    }
    m_established = true;
    m_mayShutDown = true;
    m_process = ::getpid();
    return true;
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
        const int count =
            callOpenSSL(m_ssl.get(), [data, length](SSL* session) { return SSL_read(session, data, length); });
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
        const int count =
            callOpenSSL(m_ssl.get(), [data, length](SSL* session) { return SSL_write(session, data, length); });
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
        // Bytes of data that have left restart the limit; those of a renegotiation do not.
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

int SSLSocketImpl::sendSome(const void* data, int length, short& event)
{
    if (m_failure != 0)
    {
        return failAgain();
    }
    const int count =
        callOpenSSL(m_ssl.get(), [data, length](SSL* session) { return SSL_write(session, data, length); });
    const int error = errno;
    const int sslError = SSL_get_error(m_ssl.get(), count);
    event = count > 0 ? short{0} : awaitedEvent(sslError);
    return count > 0 || event != 0 ? count : fail(sslError, error);
}

// Records without data are taken on the way.
bool SSLSocketImpl::isInputAtHand()
{
    if (m_failure != 0 || holdsInput())
    {
        return true;
    }
    char byte = 0;
    const int count = callOpenSSL(m_ssl.get(), [&byte](SSL* session) { return SSL_peek(session, &byte, 1); });
    const int error = errno;
    const int sslError = SSL_get_error(m_ssl.get(), count);
    if (count <= 0 && sslError != SSL_ERROR_ZERO_RETURN && awaitedEvent(sslError) == 0)
    {
        fail(sslError, error);
    }
    return count > 0 || awaitedEvent(sslError) == 0;
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
        SSL_shutdown(m_ssl.get());
        ERR_clear_error();
    }
    m_established = false;
    m_mayShutDown = false;
    m_ssl.reset();
}

} // namespace blocxx
