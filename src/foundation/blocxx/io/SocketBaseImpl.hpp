#pragma once

#include "core/FileDescriptor.hpp"
#include "io/ConnectAttempts.hpp"
#include "io/Deadline.hpp"
#include "io/OperationBounds.hpp"
#include "io/SocketStreams.hpp"

#include "blocxx/IOIFC.hpp"
#include "blocxx/IntrusiveCountableBase.hpp"
#include "blocxx/SocketAddress.hpp"
#include "blocxx/String.hpp"
#include "blocxx/Timeout.hpp"

#include <openssl/types.h>

#include <sys/uio.h>

#include <cstddef>
#include <memory>
#include <optional>

namespace blocxx
{

/// What the copies of one Socket share: the descriptor, the time-outs, the address. Subclasses say how bytes travel.
class SocketBaseImpl : public IntrusiveCountableBase, public IOIFC
{
public:
    SocketBaseImpl(const SocketBaseImpl&) = delete;
    SocketBaseImpl& operator=(const SocketBaseImpl&) = delete;
    ~SocketBaseImpl() noexcept override = default;

    void connect(const SocketAddress& address);

    /// Takes over a connected descriptor.
    void adopt(int connected);

    void disconnect();
    bool isConnected() const { return m_descriptor.isOpen(); }

    int read(void* data, int length, ErrorAction errorAction) override;
    int write(const void* data, int length, ErrorAction errorAction) override;

    /// Whether readPieces() may be called.
    virtual bool takesPieces() const { return false; }

    /// As read(), into at least one piece of memory, in their order.
    int readPieces(iovec* pieces, std::size_t count, ErrorAction errorAction);

    String lastErrorText() const override { return m_errorText; }

    int writeUnlessInput(const void* data, int length);
    bool hasInput(const Timeout& timeout);

    bool isInputReady(const Timeout& timeout);
    bool isOutputReady(const Timeout& timeout);
    bool receiveTimedOut() const { return m_receiveTimedOut; }

    void setCancellation(const std::optional<Cancellation>& cancellation) { bounds().setCancellation(cancellation); }
    void setDeadline(const Timeout& timeout) { bounds().setDeadline(timeout); }
    bool deadlineExpired() const { return m_bounds && m_bounds->deadlineExpired(); }

    /// Made when first asked for.
    SocketStreams& streams();

    int descriptor() const { return m_descriptor.get(); }
    const SocketAddress& peerAddress() const { return m_peerAddress; }
    SocketAddress localAddress() const;
    virtual SSL* ssl() const { return nullptr; }
    virtual bool peerVerified() const { return false; }

    bool reachedHandshake() const { return m_reachedHandshake; }

    static void setDefaultTimeout(const Timeout& timeout);

    Timeout connectTimeout = Timeout::infinite;
    Timeout receiveTimeout;
    Timeout sendTimeout;
    bool ownCertificateIsUsed = true;

protected:
    SocketBaseImpl();

    /// Follows the connect, under the same deadline. Throws to give the connection up. @return false if the time is up
    /// or a bound reached
    virtual bool startSession(const Deadline& deadline) = 0;

    /// Precedes the closing of the descriptor; neither blocks nor is a cancellation point.
    virtual void endSession() noexcept = 0;

    /// As IOIFC::read and write, with at least one byte asked for, on a connected socket.
    virtual int receive(void* data, int length) = 0;
    virtual int receivePieces(iovec* pieces, std::size_t count);
    virtual int sendAll(const void* data, int length) = 0;

    /// One attempt to send without a wait. @return the bytes sent; -1 on failure, with the event to wait for, or 0 and
    /// `errno`
    virtual int sendSome(const void* data, int length, short& event) = 0;

    /// Whether a read would return at once; does not wait.
    virtual bool isInputAtHand() = 0;

    /// Whether a read can deliver bytes that have left the descriptor already.
    virtual bool holdsInput() const { return false; }

    /// The bounds that have been set; null for none.
    OperationBounds* setBounds() { return m_bounds ? &*m_bounds : nullptr; }
    void noteHandshake() { m_reachedHandshake = true; }

    /// Waits for the event, within the bounds. @return as waitUntilReady.
    bool await(short event, const Deadline& deadline);

    /// Waits as part of reading; `event` is what the reading needs. @return as waitUntilReady.
    bool awaitInput(short event, const Deadline& deadline);
    void noteReceiveTimedOut() { m_receiveTimedOut = true; }

    /// For a failed transfer: the reason that `errno` cannot tell.
    void setErrorText(const String& text) { m_errorText = text; }

private:
    OperationBounds& bounds();
    bool boundReached();
    [[noreturn]] void throwBoundReached(const char* phase, const String& addresses);
    String connectToAny(const SocketAddress& address, const Deadline& deadline);
    void connectToOnly(const SocketAddress& address, const Deadline& deadline);
    void requireEnded(ConnectAttempts::EOutcome outcome, const String& tried);
    void start(FileDescriptor&& socket, const SocketAddress& peer);
    void forgetErrorText()
    {
        if (!m_errorText.empty())
        {
            m_errorText.erase();
        }
    }
    int sendInPieces(const char* data, int length);
    int sendUnlessInput(const char* data, int length);
    template <class Transfer>
    int transfer(const char* name, int length, ErrorAction errorAction, Transfer bytes);

    std::optional<OperationBounds> m_bounds; ///< none until one is set
    FileDescriptor m_descriptor;
    SocketAddress m_peerAddress;
    std::unique_ptr<SocketStreams> m_streams;
    String m_errorText;
    bool m_receiveTimedOut = false;
    bool m_reachedHandshake = false;
};

} // namespace blocxx
