#include "blocxx/IOIFCStreamBuffer.hpp"

#include <cerrno>
#include <utility>

namespace blocxx
{

IOIFCStreamBuffer::IOIFCStreamBuffer(IOIFC* dev, EDirectionFlag direction, int bufSize)
    : BaseStreamBuffer(direction, bufSize > 0 ? static_cast<std::size_t>(bufSize) : 1, E_NEGATIVE_FAILS), m_device(dev),
      m_errorAction(IOIFC::E_RETURN_ON_ERROR), m_tied(nullptr)
{
}

IOIFCStreamBuffer::~IOIFCStreamBuffer() = default;

void IOIFCStreamBuffer::reset()
{
    initBuffers();
}

std::streambuf* IOIFCStreamBuffer::tie(std::streambuf* tied)
{
    return std::exchange(m_tied, tied);
}

int IOIFCStreamBuffer::buffer_from_device(char* c, int n)
{
    if (m_tied != nullptr)
    {
        m_tied->pubsync();
    }
    return m_device->read(c, n, m_errorAction);
}

int IOIFCStreamBuffer::buffer_to_device(const char* c, int n)
{
    int written = 0;
    while (written < n)
    {
        const int step = m_device->write(c + written, n - written, m_errorAction);
        if (step == 0 || step > n - written)
        {
            errno = EIO; // such a count sets no errno
            return -1;
        }
        if (step < 0)
        {
            return -1;
        }
        written += step;
    }
    return 0;
}

String IOIFCStreamBuffer::deviceErrorText() const
{
    return m_device->lastErrorText();
}

} // namespace blocxx
