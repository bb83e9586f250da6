#pragma once

#include "support/Cancellation.hpp"

#include "blocxx/BaseStreamBuffer.hpp"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <deque>
#include <functional>
#include <istream>
#include <stdexcept>
#include <string>
#include <vector>

namespace zol_test
{

/// A text whose period is not a power of two.
inline std::string bytes(std::size_t count)
{
    std::string text(count, '\0');
    for (std::size_t i = 0; i < count; ++i)
    {
        text[i] = static_cast<char>('a' + i % 26);
    }
    return text;
}

/// A buffer whose device takes its input from a script, and keeps what is written.
class ProbeBuffer : public blocxx::BaseStreamBuffer
{
public:
    using Step = std::function<int(char*, int)>;
    using BaseStreamBuffer::E_NEGATIVE_ENDS;
    using BaseStreamBuffer::E_NEGATIVE_FAILS;

    ProbeBuffer(EDirectionFlag direction, std::size_t size, ENegativeResult negative = E_NEGATIVE_FAILS)
        : BaseStreamBuffer(direction, size, negative)
    {
    }

    static Step data(const std::string& text)
    {
        return [text](char* to, int room)
        {
            EXPECT_LE(text.size(), static_cast<std::size_t>(room));
            text.copy(to, text.size());
            return static_cast<int>(text.size());
        };
    }
    static Step result(int value, int error = 0)
    {
        return [=](char*, int)
        {
            errno = error;
            return value;
        };
    }
    static Step fill()
    {
        return [](char* to, int room)
        {
            std::memset(to, 'x', static_cast<std::size_t>(room));
            return room;
        };
    }
    template <class Exception = std::runtime_error>
    static Step exception(Exception thrown = std::runtime_error("device"))
    {
        return [thrown](char*, int) -> int { throw thrown; };
    }
    static Step cancellation()
    {
        return [](char*, int)
        {
            beCancelled();
            return 0;
        };
    }

    void reset() { initBuffers(); }
    using BaseStreamBuffer::overflow;
    using BaseStreamBuffer::sync;

    std::deque<Step> input;
    std::deque<int> outputResults;
    std::function<void()> duringOutput; // called before the bytes are taken
    int outputErrno = 0;
    std::string errorText;
    std::vector<int> asked;
    std::vector<std::string> blocks;

protected:
    int buffer_from_device(char* to, int room) override
    {
        asked.push_back(room);
        if (input.empty())
        {
            return 0;
        }
        const Step step = input.front();
        input.pop_front();
        return step(to, room);
    }

    int buffer_to_device(const char* from, int count) override
    {
        if (duringOutput)
        {
            duringOutput();
        }
        blocks.emplace_back(from, static_cast<std::size_t>(count));
        int result = 0;
        if (!outputResults.empty())
        {
            result = outputResults.front();
            outputResults.pop_front();
        }
        errno = outputErrno;
        return result;
    }

    blocxx::String deviceErrorText() const override { return errorText.c_str(); }
};

inline std::string readBlock(std::istream& stream, std::size_t count)
{
    std::string block(count, '\0');
    stream.read(block.data(), static_cast<std::streamsize>(count));
    block.resize(static_cast<std::size_t>(stream.gcount()));
    return block;
}

} // namespace zol_test
