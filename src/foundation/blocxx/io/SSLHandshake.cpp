#include "io/SSLHandshake.hpp"

#include "io/Deadline.hpp"
#include "io/DescriptorBIO.hpp"
#include "io/OpenSSLCall.hpp"
#include "io/OpenSSLText.hpp"
#include "io/SSLFailure.hpp"
#include "io/Wait.hpp"

#include "blocxx/Format.hpp"
#include "blocxx/SSLException.hpp"

#include <openssl/bio.h>
#include <openssl/err.h>
#include <openssl/ssl.h>
#include <openssl/x509_vfy.h>

#include <cerrno>

namespace blocxx
{

namespace
{

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
    case X509_V_ERR_UNABLE_TO_GET_CRL:
        return "every issuer in its chain needs a revocation list in SSLOpts::crls";
    case X509_V_ERR_CRL_NOT_YET_VALID:
    case X509_V_ERR_CRL_HAS_EXPIRED:
        return "check this machine's clock, or get a newer revocation list";
    default:
        return "only SSLOpts::MODE_DISABLED accepts a certificate that cannot be verified";
    }
}

} // namespace

SSLHandshake::SSLHandshake(SSL* session, int descriptor, const SocketAddress& peer, OperationBounds* bounds)
    : m_session(session), m_descriptor(descriptor), m_peer(peer), m_bounds(bounds), m_identity(peer)
{
}

bool SSLHandshake::perform(const Deadline& deadline)
{
    prepare();
    if (!shakeHands(deadline))
    {
        return false;
    }
    if (verifies())
    {
        checkPeer();
    }
    return true;
}

bool SSLHandshake::verifies() const
{
    return SSL_get_verify_mode(m_session) != SSL_VERIFY_NONE;
}

String SSLHandshake::peerText() const
{
    return Format("%1 (%2)", m_peer.getName().empty() ? m_peer.getAddress() : m_peer.getName(), m_peer.toString());
}

void SSLHandshake::prepare()
{
    BIO* const bio = m_session == nullptr ? nullptr : newDescriptorBIO(m_descriptor);
    if (bio == nullptr)
    {
        throwSSL(Format("SSL_new failed: %1", takeOpenSSLErrors()));
    }
    SSL_set_bio(m_session, bio, bio);
    // OpenSSL then returns after each record without data, so that a read can look at its limit.
    SSL_clear_mode(m_session, SSL_MODE_AUTO_RETRY);
    if (!m_identity.announce(m_session) || (verifies() && !m_identity.require(m_session)))
    {
        ERR_clear_error();
        throwSSL(Format("SSL connect error: not a host name for TLS: %1", peerText()));
    }
}

bool SSLHandshake::shakeHands(const Deadline& deadline)
{
    for (;;)
    {
        const int result = callOpenSSL(m_session, SSL_connect);
        if (result == 1)
        {
            return true;
        }
        const int error = errno;
        const int sslError = SSL_get_error(m_session, result);
        const short event = awaitedEvent(sslError);
        if (event == 0)
        {
            throwFailed(sslError, error);
        }
        // Checked first, so that a peer that always has another byte ready cannot stretch the limit.
        if (deadline.expired())
        {
            return false;
        }
        if (!waitUntilReady(m_descriptor, event, deadline, m_bounds))
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
// the name is compared once more.
void SSLHandshake::checkPeer() const
{
    long verdict = SSL_get_verify_result(m_session);
    if (verdict == X509_V_OK)
    {
        X509* const certificate = SSL_get0_peer_certificate(m_session);
        verdict = certificate == nullptr ? X509_V_ERR_UNSPECIFIED : m_identity.compare(certificate);
    }
    ERR_clear_error();
    if (verdict != X509_V_OK)
    {
        throwNotVerified(verdict);
    }
}

void SSLHandshake::throwNotVerified(long verdict) const
{
    throwSSL(Format("SSL connect error: certificate verify failed for %1: %2; %3", peerText(),
                    X509_verify_cert_error_string(verdict), adviceFor(verdict)));
}

void SSLHandshake::throwFailed(int sslError, int error) const
{
    const String reasons = takeOpenSSLErrors();
    const long verdict = SSL_get_verify_result(m_session);
    if (verifies() && verdict != X509_V_OK)
    {
        throwNotVerified(verdict);
    }
    if (sslError == SSL_ERROR_SYSCALL && error != 0)
    {
        BLOCXX_THROW_ERRNO_MSG1(SSLException, Format("SSL connect error: %1", peerText()), error);
    }
    if (reasons.empty())
    {
        throwSSL(Format("SSL connect error: %1: the peer closed the connection during the handshake", peerText()));
    }
    // What OpenSSL says of a record that is none.
    const bool isOtherProtocol = reasons.indexOf("wrong version number") != String::npos;
    throwSSL(Format("SSL connect error: %1: %2%3", peerText(), reasons,
                    isOtherProtocol ? "; does the server speak TLS on this port?" : ""));
}

} // namespace blocxx
