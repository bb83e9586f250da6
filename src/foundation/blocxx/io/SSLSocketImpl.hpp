#pragma once

#include "io/SocketBaseImpl.hpp"

#include "blocxx/SSLCtxMgr.hpp"

#include <memory>

namespace blocxx
{

/// A TLS client's connection.
class SSLSocketImpl : public SocketBaseImpl
{
public:
    explicit SSLSocketImpl(const SSLClientCtxRef& context);
    ~SSLSocketImpl() override;

protected:
    void startSession(const Deadline& deadline) override;
    void endSession() noexcept override;
    int receive(void* data, int length) override;
    int sendAll(const void* data, int length) override;

private:
    void prepare();
    void expectIdentity();
    bool verifies() const;
    [[noreturn]] void throwHandshakeFailed(int sslError, int error) const;
    bool awaitProgress(int sslError, const Timeout& timeout);
    String peerText() const;

    SSLClientCtxRef m_context;
    std::unique_ptr<SSL, void (*)(SSL*)> m_ssl;
    bool m_mayShutDown;
};

} // namespace blocxx
