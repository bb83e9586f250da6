#pragma once

#include "blocxx/BaseStreamBuffer.hpp"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <istream>
#include <limits>
#include <stdexcept>
#include <streambuf>
#include <string>

namespace search_test
{

const std::size_t NEVER = std::numeric_limits<std::size_t>::max();

/// What a stream in a test delivers, and how: at most `step` bytes at a time, throwing once `throwAt` bytes are gone.
struct Script
{
    std::string bytes{};
    std::size_t step = 1;
    std::size_t throwAt = NEVER;
    std::size_t position = 0;

    std::size_t deliver(char* to, std::size_t room)
    {
        if (position >= throwAt)
        {
            throw std::runtime_error("the device broke");
        }
        const std::size_t end = std::min(bytes.size(), throwAt);
        const std::size_t count = std::min({room, step, end - position});
        std::memcpy(to, bytes.data() + position, count);
        position += count;
        return count;
    }
};

/// A stream buffer with a get area, as any other library would write it.
class PlainBuffer : public std::streambuf
{
public:
    explicit PlainBuffer(Script script) : m_script(std::move(script)) {}
    void rewind(const std::string& bytes, std::size_t step)
    {
        m_script = Script{bytes, step};
        setg(nullptr, nullptr, nullptr);
    }
    std::size_t handedOut() const { return m_script.position - static_cast<std::size_t>(egptr() - gptr()); }

protected:
    int_type underflow() override
    {
        const std::size_t count = m_script.deliver(m_area, sizeof m_area);
        setg(m_area, m_area, m_area + count);
        return count == 0 ? traits_type::eof() : traits_type::to_int_type(*gptr());
    }

private:
    Script m_script;
    char m_area[64] = {};
};

/// A stream buffer without a get area: every read goes to the script.
class UnbufferedBuffer : public std::streambuf
{
public:
    explicit UnbufferedBuffer(Script script) : m_script(std::move(script)) {}
    void rewind(const std::string& bytes, std::size_t step) { m_script = Script{bytes, step}; }
    std::size_t handedOut() const { return m_script.position; }

protected:
    int_type underflow() override
    {
        Script peek = m_script;
        char c = 0;
        return peek.deliver(&c, 1) == 0 ? traits_type::eof() : traits_type::to_int_type(c);
    }
    int_type uflow() override
    {
        char c = 0;
        return m_script.deliver(&c, 1) == 0 ? traits_type::eof() : traits_type::to_int_type(c);
    }
    std::streamsize xsgetn(char* to, std::streamsize count) override
    {
        std::size_t got = 0;
        while (got < static_cast<std::size_t>(count))
        {
            const std::size_t more = m_script.deliver(to + got, static_cast<std::size_t>(count) - got);
            if (more == 0)
            {
                break;
            }
            got += more;
        }
        return static_cast<std::streamsize>(got);
    }

private:
    Script m_script;
};

/// The stream buffer of the connections and contents, over a script.
class DeviceBuffer : public blocxx::BaseStreamBuffer
{
public:
    explicit DeviceBuffer(Script script, std::size_t size = 64)
        : BaseStreamBuffer(E_IN, size), m_script(std::move(script))
    {
    }
    void rewind(const std::string& bytes, std::size_t step)
    {
        m_script = Script{bytes, step};
        initGetBuffer();
    }
    std::size_t handedOut() const { return m_script.position - static_cast<std::size_t>(egptr() - gptr()); }

protected:
    int buffer_from_device(char* to, int room) override
    {
        return static_cast<int>(m_script.deliver(to, static_cast<std::size_t>(room)));
    }

private:
    Script m_script;
};

} // namespace search_test
