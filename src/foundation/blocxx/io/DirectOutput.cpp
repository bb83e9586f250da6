#include "blocxx/internal/DirectOutput.hpp"

#include "blocxx/BaseStreamBuffer.hpp"

namespace blocxx::Internal
{

bool DirectOutput::canWrite(std::size_t count) const
{
    return m_buffer.m_direction != BaseStreamBuffer::E_IN && count < static_cast<std::size_t>(m_buffer.m_size) &&
           m_buffer.pptr() == m_buffer.pbase();
}

bool DirectOutput::write(const char* bytes, std::size_t count) const
{
    return m_buffer.writeToDevice(bytes, static_cast<std::streamsize>(count));
}

} // namespace blocxx::Internal
