#pragma once

#include "support/StreamState.hpp"

#include "blocxx/BaseStreamBuffer.hpp"
#include "blocxx/IOIFC.hpp"
#include "blocxx/IOIFCStreamBuffer.hpp"
#include "blocxx/internal/GetArea.hpp"

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <ios>
#include <istream>
#include <stdexcept>
#include <string>
#include <utility>

namespace zol_test
{

/// A text that arrives in pieces of a fixed size, as from a network, and ends as it is told to.
class PiecewiseText
{
public:
    enum EEnd
    {
        E_ORDERLY,
        E_ERROR, ///< fails with ECONNRESET
        E_THROW  ///< throws std::runtime_error
    };

    PiecewiseText(std::string text, std::size_t pieceSize, EEnd end)
        : m_text(std::move(text)), m_pieceSize(pieceSize), m_end(end)
    {
    }

    int read(char* to, int room)
    {
        ++m_reads;
        const std::size_t count = std::min({m_pieceSize, static_cast<std::size_t>(room), m_text.size() - m_position});
        if (count == 0 && m_end == E_THROW)
        {
            throw std::runtime_error("the device broke");
        }
        if (count == 0 && m_end == E_ERROR)
        {
            errno = ECONNRESET;
            return -1;
        }
        std::memcpy(to, m_text.data() + m_position, count);
        m_position += count;
        return static_cast<int>(count);
    }

    int reads() const { return m_reads; }
    std::string left() const { return m_text.substr(m_position); }

private:
    const std::string m_text;
    const std::size_t m_pieceSize;
    const EEnd m_end;
    std::size_t m_position = 0;
    int m_reads = 0;
};

/// A stream buffer of its own class over such a text.
class PiecewiseInput : public blocxx::BaseStreamBuffer
{
public:
    using EEnd = PiecewiseText::EEnd;
    static constexpr EEnd E_ORDERLY = PiecewiseText::E_ORDERLY;
    static constexpr EEnd E_ERROR = PiecewiseText::E_ERROR;
    static constexpr EEnd E_THROW = PiecewiseText::E_THROW;

    explicit PiecewiseInput(std::string text, std::size_t pieceSize = 65536, EEnd end = E_ORDERLY)
        : BaseStreamBuffer(E_IN, 65536, E_NEGATIVE_FAILS), m_text(std::move(text), pieceSize, end)
    {
    }

    /// How often the device was asked.
    int reads() const { return m_text.reads(); }

    /// What was not read from the buffer, delivered or not.
    std::string left() const { return std::string(blocxx::Internal::GetArea::of(*this)) + m_text.left(); }

private:
    int buffer_from_device(char* c, int n) override { return m_text.read(c, n); }

    PiecewiseText m_text;
};

/// The same as a device.
class PiecewiseDevice : public blocxx::IOIFC
{
public:
    explicit PiecewiseDevice(PiecewiseText text) : m_text(std::move(text)) {}

    const PiecewiseText& text() const { return m_text; }
    int read(void* to, int room, ErrorAction) override { return m_text.read(static_cast<char*>(to), room); }
    int write(const void*, int length, ErrorAction) override { return length; }

private:
    PiecewiseText m_text;
};

/// The same, with the stream buffer of a connection.
class PiecewiseConnection
{
public:
    explicit PiecewiseConnection(std::string text, std::size_t pieceSize = 65536,
                                 PiecewiseText::EEnd end = PiecewiseText::E_ORDERLY)
        : m_device(PiecewiseText(std::move(text), pieceSize, end)), m_buffer(&m_device), m_stream(&m_buffer)
    {
    }

    std::istream& stream() { return m_stream; }
    blocxx::IOIFCStreamBuffer& buffer() { return m_buffer; }
    int reads() const { return m_device.text().reads(); }
    std::string left() const { return std::string(blocxx::Internal::GetArea::of(m_buffer)) + m_device.text().left(); }

private:
    PiecewiseDevice m_device;
    blocxx::IOIFCStreamBuffer m_buffer;
    std::istream m_stream;
};

} // namespace zol_test
