#pragma once

#include "content/ReceivedBytes.hpp"

#include "blocxx/BaseStreamBuffer.hpp"

#include <cstddef>

namespace ZOLNS2::HTTP::HTTPResponseUnit
{

/// An input stream buffer over received bytes that stay where they are. One of blocxx, so that lines are read in place.
class ReceivedBytesBuffer : public blocxx::BaseStreamBuffer
{
public:
    /// @param bytes must outlive the buffer, and not change
    explicit ReceivedBytesBuffer(const MIME::ReceivedBytes& bytes);

    /// The bytes that have not been read.
    std::size_t remaining() const;

protected:
    int buffer_from_device(char* to, int room) override;

private:
    const MIME::ReceivedBytes& m_bytes;
    std::size_t m_next; ///< index of the first byte that is not in the buffer
};

} // namespace ZOLNS2::HTTP::HTTPResponseUnit
