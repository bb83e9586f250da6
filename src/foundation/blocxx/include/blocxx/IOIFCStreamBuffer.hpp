#pragma once

#include "blocxx/BLOCXX_config.h"
#include "blocxx/BaseStreamBuffer.hpp"
#include "blocxx/IOIFC.hpp"

namespace blocxx
{

namespace Internal
{
class DirectInput;
} // namespace Internal

/// The stream buffer over a device such as a socket.
///
/// A refill is one read of the device. A flush writes until every byte is gone; a count of 0 or less is a failure. A
/// negative result of the device's read is a failed input (see BaseStreamBuffer). The device is not owned and must
/// outlive the buffer.
class BLOCXX_COMMON_API IOIFCStreamBuffer : public BaseStreamBuffer
{
public:
    /// @param dev     not owned; outlives the buffer
    /// @param bufSize bytes for each direction
    explicit IOIFCStreamBuffer(IOIFC* dev, EDirectionFlag direction = E_IN_OUT, int bufSize = 65536);
    ~IOIFCStreamBuffer() override;

    /// Whether the device throws when it fails (the stream then shows badbit) or returns -1, as it does at first.
    void setErrorAction(IOIFC::ErrorAction action) { m_errorAction = action; }

    /// Drops unread input and pending output; the input counts as open again and the output as sent.
    virtual void reset();

    /// Names a buffer to synchronise before each read of the device; null for none. @return the one named before.
    std::streambuf* tie(std::streambuf* tied);

protected:
    int buffer_to_device(const char* c, int n) override;
    int buffer_from_device(char* c, int n) override;
    String deviceErrorText() const override;

private:
    friend class Internal::DirectInput;

    IOIFC* m_device;
    IOIFC::ErrorAction m_errorAction;
    std::streambuf* m_tied;
};

} // namespace blocxx
