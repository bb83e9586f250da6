#pragma once

#include "io/SocketBaseImpl.hpp"

namespace blocxx
{

/// A plain TCP connection.
class SocketImpl : public SocketBaseImpl
{
protected:
    bool startSession(const Deadline&) override { return true; }
    void endSession() noexcept override {}
    int receive(void* data, int length) override;
    bool takesPieces() const override { return true; }
    int receivePieces(iovec* pieces, std::size_t count) override;
    int sendAll(const void* data, int length) override;
    int sendSome(const void* data, int length, short& event) override;
    bool isInputAtHand() override;

private:
    template <class Receive>
    int receiveWith(Receive receiveOnce);

    bool m_hasJustSent = false;
};

} // namespace blocxx
