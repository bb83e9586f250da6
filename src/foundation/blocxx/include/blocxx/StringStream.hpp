#pragma once

#include "blocxx/BaseStreamBuffer.hpp"
#include "blocxx/String.hpp"

#include <cstddef>
#include <ostream>
#include <string>

namespace blocxx
{

/// Collects what is written to it. The put area lies in the collected text itself, so that nothing is ever pending.
class BLOCXX_COMMON_API OStringStreamBuf : public BaseStreamBuffer
{
public:
    /// The bytes that are allocated first unless told otherwise.
    static constexpr std::size_t DEFAULT_SIZE = 256;

    /// @param size bytes to make room for at the start
    explicit OStringStreamBuf(std::size_t size = DEFAULT_SIZE);
    ~OStringStreamBuf() override;

    /// A copy of the text.
    String toString() const { return String(pbase(), length()); }
    /// Moves the text out; the buffer is empty afterwards.
    String releaseString();
    /// The bytes collected.
    std::size_t length() const noexcept { return static_cast<std::size_t>(pptr() - pbase()); }
    /// Terminated; valid until the next operation.
    const char* c_str() const noexcept;
    /// Drops the text.
    void reset() noexcept { setp(pbase(), epptr()); }

protected:
    int_type overflow(int_type c) override;
    std::streamsize xsputn(const char* data, std::streamsize count) override;
    int sync() override { return 0; }

private:
    void makeRoom(std::size_t count);
    void usePutArea(std::size_t used);

    std::string m_storage;
};

/// An output stream into memory. Used by one thread at a time, reading what has been written included.
///
/// @code
/// blocxx::OStringStream out;
/// out << "port " << 8080;
/// const blocxx::String text = out.toString();
/// @endcode
class BLOCXX_COMMON_API OStringStream : public std::ostream
{
public:
    /// @param size bytes to make room for at the start
    explicit OStringStream(std::size_t size = OStringStreamBuf::DEFAULT_SIZE);
    /// Starts with the other stream's text; its formatting flags are not taken over.
    OStringStream(const OStringStream& other);
    ~OStringStream() override;

    /// Replaces the text by the other stream's.
    OStringStream& operator=(const OStringStream& other);

    /// Everything written so far.
    String toString() const { return m_buffer.toString(); }
    /// Moves out everything written so far; the stream is empty afterwards, and can be written to again.
    String releaseString() { return m_buffer.releaseString(); }
    std::size_t length() const noexcept { return m_buffer.length(); }
    /// Terminated; valid until the next operation.
    const char* c_str() const noexcept { return m_buffer.c_str(); }
    /// Drops everything written so far.
    void reset() noexcept { m_buffer.reset(); }

private:
    OStringStreamBuf m_buffer;
};

} // namespace blocxx
