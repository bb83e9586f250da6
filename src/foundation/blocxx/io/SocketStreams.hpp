#pragma once

#include "blocxx/IOIFC.hpp"
#include "blocxx/IOIFCStreamBuffer.hpp"

#include <istream>
#include <ostream>

namespace blocxx
{

/// The two streams that a socket offers over itself, with one buffer between them and the socket.
class SocketStreams
{
public:
    explicit SocketStreams(IOIFC& device)
        : m_buffer(&device, BaseStreamBuffer::E_IN_OUT, BUFFER_SIZE), m_input(&m_buffer), m_output(&m_buffer)
    {
        m_buffer.reportErrorsTo(&m_input);
        m_output.exceptions(std::ios_base::badbit);
    }

    std::istream& input() { return m_input; }
    std::ostream& output() { return m_output; }

    /// For a new connection.
    void restart()
    {
        m_buffer.reset();
        m_input.clear();
        m_output.clear();
    }

    /// The connection has ended.
    void end()
    {
        for (std::ios* stream : {static_cast<std::ios*>(&m_input), static_cast<std::ios*>(&m_output)})
        {
            if (!stream->fail())
            {
                stream->clear(std::ios_base::eofbit);
            }
        }
    }

private:
    static constexpr int BUFFER_SIZE = 2048;

    IOIFCStreamBuffer m_buffer;
    std::istream m_input;
    std::ostream m_output;
};

} // namespace blocxx
