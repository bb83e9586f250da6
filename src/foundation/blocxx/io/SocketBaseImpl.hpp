#pragma once

#include "core/FileDescriptor.hpp"
#include "io/Deadline.hpp"

#include "blocxx/IOIFC.hpp"
#include "blocxx/IntrusiveCountableBase.hpp"
#include "blocxx/SocketAddress.hpp"
#include "blocxx/Timeout.hpp"

namespace blocxx
{

/// What the copies of one Socket share: the descriptor, the time-outs, the address. Subclasses say how bytes travel.
class SocketBaseImpl : public IntrusiveCountableBase
{
public:
    ~SocketBaseImpl() override = default;

    void connect(const SocketAddress& address);
    void disconnect();
    bool isConnected() const { return m_descriptor.isOpen(); }

    int read(void* data, int length, IOIFC::ErrorAction errorAction);
    int write(const void* data, int length, IOIFC::ErrorAction errorAction);

    int descriptor() const { return m_descriptor.get(); }
    const SocketAddress& peerAddress() const { return m_peerAddress; }
    SocketAddress localAddress() const;

    static void setDefaultTimeout(const Timeout& timeout);

    Timeout connectTimeout = Timeout::infinite;
    Timeout receiveTimeout;
    Timeout sendTimeout;

protected:
    SocketBaseImpl();

    /// Follows the connect, under the same deadline. Throws to give the connection up.
    virtual void startSession(const Deadline& deadline) = 0;

    /// Precedes the closing of the descriptor; must not block.
    virtual void endSession() noexcept = 0;

    /// As IOIFC::read and write, with at least one byte asked for, on a connected socket.
    virtual int receive(void* data, int length) = 0;
    virtual int sendAll(const void* data, int length) = 0;

    [[noreturn]] void throwTimedOut(const char* phase, const SocketAddress& address) const;

private:
    void connectToAny(const SocketAddress& address, const Deadline& deadline);

    FileDescriptor m_descriptor;
    SocketAddress m_peerAddress;
};

} // namespace blocxx
