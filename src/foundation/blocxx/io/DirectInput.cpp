#include "blocxx/internal/DirectInput.hpp"

#include "blocxx/IOIFCStreamBuffer.hpp"

#include <algorithm>
#include <cstring>
#include <typeinfo>

namespace blocxx::Internal
{

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

} // namespace blocxx::Internal
