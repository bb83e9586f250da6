#pragma once

#include "io/SocketBaseImpl.hpp"

#include "blocxx/SSLCtxMgr.hpp"

#include <sys/types.h>

#include <memory>

namespace blocxx
{

/// A TLS client's connection.
class SSLSocketImpl : public SocketBaseImpl
{
public:
    explicit SSLSocketImpl(const SSLClientCtxRef& context);
    ~SSLSocketImpl() override;

    SSL* ssl() const override { return m_ssl.get(); }
    bool peerVerified() const override { return m_established && verifies(); }

protected:
    bool startSession(const Deadline& deadline) override;
    void endSession() noexcept override;
    int receive(void* data, int length) override;
    int sendAll(const void* data, int length) override;
    int sendSome(const void* data, int length, short& event) override;
    bool isInputAtHand() override;
    bool holdsInput() const override;

private:
    bool verifies() const;
    int fail(int sslError, int error);
    int failAgain();

    SSLClientCtxRef m_context;
    std::unique_ptr<SSL, void (*)(SSL*)> m_ssl;
    bool m_established = false; ///< the handshake has succeeded
    bool m_mayShutDown = false; ///< and nothing has failed since
    pid_t m_process = 0;        ///< the one that connected
    int m_failure = 0;          ///< the `errno` of a session that has failed for good
    String m_failureText;       ///< and the reason
};

} // namespace blocxx
