#include "blocxx/StringStream.hpp"

#include <algorithm>
#include <cstring>
#include <limits>
#include <utility>

namespace blocxx
{

OStringStreamBuf::OStringStreamBuf(std::size_t size) : BaseStreamBuffer(E_OUT), m_storage(size, '\0')
{
    usePutArea(0);
}

OStringStreamBuf::~OStringStreamBuf() = default;

const char* OStringStreamBuf::c_str() const noexcept
{
    *pptr() = '\0'; // There is always room: the string has a terminator of its own after the put area.
    return pbase();
}

String OStringStreamBuf::releaseString()
{
    m_storage.resize(length());
    String released(std::move(m_storage));
    m_storage.clear();
    usePutArea(0);
    return released;
}

OStringStreamBuf::int_type OStringStreamBuf::overflow(int_type c)
{
    if (traits_type::eq_int_type(c, traits_type::eof()))
    {
        return traits_type::not_eof(c);
    }
    makeRoom(1);
    return sputc(traits_type::to_char_type(c));
}

std::streamsize OStringStreamBuf::xsputn(const char* data, std::streamsize count)
{
    if (count <= 0)
    {
        return 0;
    }
    const std::size_t size = static_cast<std::size_t>(count);
    const std::size_t used = length();
    makeRoom(size);
    std::memcpy(pptr(), data, size);
    usePutArea(used + size);
    return count;
}

void OStringStreamBuf::makeRoom(std::size_t count)
{
    if (count > static_cast<std::size_t>(epptr() - pptr()))
    {
        const std::size_t used = length();
        m_storage.resize(std::max(2 * m_storage.size(), used + count));
        usePutArea(used);
    }
}

/// Makes all of the storage the put area, with `used` bytes written.
void OStringStreamBuf::usePutArea(std::size_t used)
{
    setp(m_storage.data(), m_storage.data() + m_storage.size());
    constexpr std::size_t MAX_STEP = std::numeric_limits<int>::max();
    for (; used > MAX_STEP; used -= MAX_STEP)
    {
        pbump(static_cast<int>(MAX_STEP));
    }
    pbump(static_cast<int>(used));
}

OStringStream::OStringStream(std::size_t size) : std::ostream(nullptr), m_buffer(size)
{
    rdbuf(&m_buffer);
}

OStringStream::OStringStream(const OStringStream& other) : OStringStream(other.length())
{
    m_buffer.sputn(other.c_str(), static_cast<std::streamsize>(other.length()));
}

OStringStream::~OStringStream() = default;

OStringStream& OStringStream::operator=(const OStringStream& other)
{
    if (this != &other)
    {
        reset();
        m_buffer.sputn(other.c_str(), static_cast<std::streamsize>(other.length()));
    }
    return *this;
}

} // namespace blocxx
