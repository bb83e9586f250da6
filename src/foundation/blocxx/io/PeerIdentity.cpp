#include "io/PeerIdentity.hpp"

#include <openssl/ssl.h>
#include <openssl/x509v3.h>

namespace blocxx
{

namespace
{

// The subject is not checked: it does not name a host reliably (RFC 6125, section 6.4.4).
const unsigned int HOST_FLAGS = X509_CHECK_FLAG_NEVER_CHECK_SUBJECT | X509_CHECK_FLAG_NO_PARTIAL_WILDCARDS;

// Certificates and SNI carry names without the root's dot (RFC 6066, section 3).
String withoutRootDot(const String& name)
{
    return name.endsWith('.') ? name.substring(0, name.length() - 1) : name;
}

} // namespace

PeerIdentity::PeerIdentity(const SocketAddress& peer)
    : m_isName(peer.hasHostName()), m_text(m_isName ? withoutRootDot(peer.getName()) : peer.getAddress())
{
}

bool PeerIdentity::announce(SSL* session) const
{
    return !m_isName || SSL_set_tlsext_host_name(session, m_text.c_str()) == 1;
}

bool PeerIdentity::require(SSL* session) const
{
    X509_VERIFY_PARAM* const expected = SSL_get0_param(session);
    if (!m_isName)
    {
        return X509_VERIFY_PARAM_set1_ip_asc(expected, m_text.c_str()) == 1;
    }
    // OpenSSL would take a name that begins with a dot for any name that ends so.
    if (m_text.charAt(0) == '.')
    {
        return false;
    }
    X509_VERIFY_PARAM_set_hostflags(expected, HOST_FLAGS);
    return X509_VERIFY_PARAM_set1_host(expected, m_text.c_str(), m_text.length()) == 1;
}

long PeerIdentity::compare(X509* certificate) const
{
    if (m_isName)
    {
        const int match = X509_check_host(certificate, m_text.c_str(), m_text.length(), HOST_FLAGS, nullptr);
        return match == 1 ? X509_V_OK : X509_V_ERR_HOSTNAME_MISMATCH;
    }
    return X509_check_ip_asc(certificate, m_text.c_str(), 0) == 1 ? X509_V_OK : X509_V_ERR_IP_ADDRESS_MISMATCH;
}

} // namespace blocxx
