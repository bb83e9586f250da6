#include "response/ReceivedBytesBuffer.hpp"

#include <algorithm>

namespace ZOLNS2::HTTP::HTTPResponseUnit
{

using MIME::ReceivedBytes;

ReceivedBytesBuffer::ReceivedBytesBuffer(const ReceivedBytes& bytes)
    : BaseStreamBuffer(E_IN, blocxx::HTTP_BUF_SIZE), m_bytes(bytes)
{
    const ReceivedBytes::Run run = bytes.runAt(0);
    setg(run.data, run.data, run.data + run.size);
    m_next = run.size;
}

std::size_t ReceivedBytesBuffer::remaining() const
{
    return static_cast<std::size_t>(egptr() - gptr()) + m_bytes.size() - m_next;
}

// Only for header lines that do not end in the first run.
int ReceivedBytesBuffer::buffer_from_device(char* to, int room)
{
    const ReceivedBytes::Run run = m_bytes.runAt(m_next);
    const std::size_t count = std::min(run.size, static_cast<std::size_t>(room));
    std::copy_n(run.data, count, to);
    m_next += count;
    return static_cast<int>(count);
}

} // namespace ZOLNS2::HTTP::HTTPResponseUnit
