#pragma once

#include "io/SocketBaseImpl.hpp"

namespace blocxx
{

/// A plain TCP connection.
class SocketImpl : public SocketBaseImpl
{
protected:
    void startSession(const Deadline&) override {}
    void endSession() noexcept override {}
    int receive(void* data, int length) override;
    int sendAll(const void* data, int length) override;
};

} // namespace blocxx
