#include "blocxx/Socket.hpp"

#include "io/SSLSocketImpl.hpp"
#include "io/SocketImpl.hpp"
#include "io/TlsFacts.hpp"

namespace blocxx
{

namespace
{

IntrusiveReference<SocketBaseImpl> makeImpl(const SSLClientCtxRef& sslCtx)
{
    if (sslCtx)
    {
        return new SSLSocketImpl(sslCtx);
    }
    return new SocketImpl;
}

IntrusiveReference<SocketBaseImpl> makePlain(SocketFlags::ESSLFlag isSSL)
{
    if (isSSL != SocketFlags::E_NOT_SSL)
    {
        BLOCXX_THROW(SSLException, "Socket: TLS needs a context, and a connect of its own");
    }
    return new SocketImpl;
}

} // namespace

Socket::Socket() : m_impl(new SocketImpl) {}

Socket::Socket(const SSLClientCtxRef& sslCtx) : m_impl(makeImpl(sslCtx)) {}

Socket::Socket(SocketHandle_t fd, SocketAddress::AddressType, SocketFlags::ESSLFlag isSSL) : m_impl(makePlain(isSSL))
{
    m_impl->adopt(fd);
}

Socket::Socket(const SocketAddress& addr, SocketFlags::ESSLFlag isSSL) : m_impl(makePlain(isSSL))
{
    connect(addr);
}

Socket::Socket(const Socket& other) = default;
Socket& Socket::operator=(const Socket& other) = default;
Socket::~Socket() = default;

void Socket::connect(const SocketAddress& addr)
{
    m_impl->connect(addr);
}

void Socket::disconnect()
{
    m_impl->disconnect();
}

bool Socket::isConnected() const
{
    return m_impl->isConnected();
}

void Socket::setConnectTimeout(const Timeout& timeout)
{
    m_impl->connectTimeout = timeout;
}

Timeout Socket::getConnectTimeout() const
{
    return m_impl->connectTimeout;
}

void Socket::setReceiveTimeout(const Timeout& timeout)
{
    m_impl->receiveTimeout = timeout;
}

Timeout Socket::getReceiveTimeout() const
{
    return m_impl->receiveTimeout;
}

void Socket::setSendTimeout(const Timeout& timeout)
{
    m_impl->sendTimeout = timeout;
}

Timeout Socket::getSendTimeout() const
{
    return m_impl->sendTimeout;
}

void Socket::setTimeouts(const Timeout& timeout)
{
    setConnectTimeout(timeout);
    setReceiveTimeout(timeout);
    setSendTimeout(timeout);
}

void Socket::setCancellation(const std::optional<Cancellation>& cancellation)
{
    m_impl->setCancellation(cancellation);
}

bool Socket::reachedHandshake() const
{
    return m_impl->reachedHandshake();
}

void Socket::setOwnCertificateUsed(bool used)
{
    m_impl->ownCertificateIsUsed = used;
}

int Socket::writeUnlessInput(const void* dataOut, int dataOutLen)
{
    return m_impl->writeUnlessInput(dataOut, dataOutLen);
}

bool Socket::hasInput(const Timeout& timeout)
{
    return m_impl->hasInput(timeout);
}

void Socket::setDeadline(const Timeout& timeout)
{
    m_impl->setDeadline(timeout);
}

bool Socket::deadlineExpired() const
{
    return m_impl->deadlineExpired();
}

void Socket::setDefaultTimeouts(const Timeout& timeout)
{
    SocketBaseImpl::setDefaultTimeout(timeout);
}

int Socket::read(void* dataIn, int dataInLen, ErrorAction errorAsException)
{
    return m_impl->read(dataIn, dataInLen, errorAsException);
}

int Socket::write(const void* dataOut, int dataOutLen, ErrorAction errorAsException)
{
    return m_impl->write(dataOut, dataOutLen, errorAsException);
}

bool Socket::receiveTimeOutExpired() const
{
    return m_impl->receiveTimedOut();
}

String Socket::lastErrorText() const
{
    return m_impl->lastErrorText();
}

bool Socket::waitForInput(const Timeout& timeout)
{
    return !m_impl->isInputReady(timeout);
}

bool Socket::waitForOutput(const Timeout& timeout)
{
    return !m_impl->isOutputReady(timeout);
}

std::istream& Socket::getInputStream()
{
    return m_impl->streams().input();
}

std::ostream& Socket::getOutputStream()
{
    return m_impl->streams().output();
}

SocketAddress Socket::getPeerAddress() const
{
    return m_impl->peerAddress();
}

SocketAddress Socket::getLocalAddress() const
{
    return m_impl->localAddress();
}

Select_t Socket::getSelectObj() const
{
    return m_impl->descriptor();
}

SocketHandle_t Socket::getfd() const
{
    return m_impl->descriptor();
}

SSL* Socket::getSSL() const
{
    return m_impl->ssl();
}

bool Socket::peerCertVerified() const
{
    return m_impl->peerVerified();
}

std::optional<TlsFacts> Socket::getTlsFacts() const
{
    const SSL* const session = m_impl->ssl();
    return session == nullptr ? std::nullopt : std::optional<TlsFacts>(readTlsFacts(session));
}

} // namespace blocxx
