#include "blocxx/internal/DirectInput.hpp"

#include "io/SocketBaseImpl.hpp"

#include "blocxx/IOIFCStreamBuffer.hpp"
#include "blocxx/Socket.hpp"

#include <algorithm>
#include <cstring>
#include <typeinfo>

namespace blocxx::Internal
{

namespace
{

/// Takes the place of a buffer's device for one read, which goes into pieces.
class PiecesOfDevice : public IOIFC
{
public:
    PiecesOfDevice(IOIFC*& place, SocketBaseImpl& socket, iovec* pieces, std::size_t count)
        : m_place(place), m_device(place), m_socket(socket), m_pieces(pieces), m_count(count)
    {
        m_place = this;
    }
    ~PiecesOfDevice() override { m_place = m_device; }
    PiecesOfDevice(const PiecesOfDevice&) = delete;
    PiecesOfDevice& operator=(const PiecesOfDevice&) = delete;

    int read(void*, int, ErrorAction errorAction) override
    {
        return m_socket.readPieces(m_pieces, m_count, errorAction);
    }
    int write(const void* data, int length, ErrorAction errorAction) override
    {
        return m_device->write(data, length, errorAction);
    }
    String lastErrorText() const override { return m_device->lastErrorText(); }

private:
    IOIFC*& m_place;
    IOIFC* const m_device;
    SocketBaseImpl& m_socket;
    iovec* const m_pieces;
    const std::size_t m_count;
};

} // namespace

DirectInput::DirectInput(std::streambuf* buffer)
    : m_buffer(buffer != nullptr && typeid(*buffer) == typeid(IOIFCStreamBuffer)
                   ? static_cast<IOIFCStreamBuffer*>(buffer)
                   : nullptr)
{
}

bool DirectInput::fillGetArea(std::size_t atMost) const
{
    const auto size = static_cast<std::size_t>(m_buffer->m_size);
    return m_buffer->gptr() != m_buffer->egptr() ||
           m_buffer->refill(static_cast<std::streamsize>(std::min(atMost, size)), false);
}

bool DirectInput::extendGetArea() const
{
    char* const end = m_buffer->egptr();
    const std::streamsize room = m_buffer->getBuffer() + m_buffer->m_size - end;
    const std::streamsize count = room > 0 ? m_buffer->readFromDevice(end, room, true) : 0;
    m_buffer->setg(m_buffer->eback(), m_buffer->gptr(), end + count);
    return count > 0;
}

std::size_t DirectInput::readDirect(char* to, std::size_t count, std::size_t ahead) const
{
    m_buffer->setg(nullptr, nullptr, nullptr);
    const auto size = static_cast<std::size_t>(m_buffer->m_size);
    const auto room = static_cast<std::streamsize>(std::min(count + ahead, size));
    const auto got = static_cast<std::size_t>(m_buffer->readFromDevice(to, room, false));
    if (got <= count)
    {
        return got;
    }
    char* const start = m_buffer->getBuffer();
    std::memcpy(start, to + count, got - count);
    m_buffer->setg(start, start, start + (got - count));
    return count;
}

std::size_t DirectInput::capacity() const
{
    return static_cast<std::size_t>(m_buffer->m_size);
}

bool DirectInput::takesPieces() const
{
    // A class derived from Socket may read in its own way.
    const IOIFC* const device = static_cast<const IOIFCStreamBuffer*>(m_buffer)->m_device;
    return device != nullptr && typeid(*device) == typeid(Socket) &&
           static_cast<const Socket*>(device)->m_impl->takesPieces();
}

std::size_t DirectInput::readPieces(iovec* pieces, std::size_t count) const
{
    m_buffer->setg(nullptr, nullptr, nullptr);
    m_buffer->getBuffer(); // for hold()
    std::streamsize room = 0;
    for (std::size_t piece = 0; piece < count; ++piece)
    {
        room += static_cast<std::streamsize>(pieces[piece].iov_len);
    }
    IOIFC*& device = static_cast<IOIFCStreamBuffer*>(m_buffer)->m_device;
    const PiecesOfDevice inPieces(device, *static_cast<Socket*>(device)->m_impl, pieces, count);
    return static_cast<std::size_t>(m_buffer->readFromDevice(static_cast<char*>(pieces[0].iov_base), room, false));
}

void DirectInput::hold(const iovec* pieces, std::size_t size) const
{
    char* const start = m_buffer->getBuffer();
    char* end = start;
    for (; size > 0; ++pieces)
    {
        const std::size_t run = std::min(size, pieces->iov_len);
        std::memcpy(end, pieces->iov_base, run);
        end += run;
        size -= run;
    }
    m_buffer->setg(start, start, end);
}

} // namespace blocxx::Internal
