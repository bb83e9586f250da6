#include "PiecewiseInput.hpp"
#include "support/Allocations.hpp"
#include "support/Cancellation.hpp"

#include "openwbem/OW_HTTPUtils.hpp"

#include <gtest/gtest.h>

#include <istream>
#include <set>
#include <sstream>
#include <stdexcept>
#include <streambuf>
#include <string>

namespace
{

using blocxx::Array;
using blocxx::String;
using OpenWBEM::HTTPHeaderMap;
using zol_test::PiecewiseInput;
using zol_test::stateOf;
namespace HTTPUtils = OpenWBEM::HTTPUtils;

const std::string FIRST_LINE = "HTTP/1.1 200 OK\r\n";

/// The message of the std::runtime_error that reading throws.
template <class Read>
std::string thrownBy(const Read& read)
{
    try
    {
        read();
    }
    catch (const std::runtime_error& e)
    {
        return e.what();
    }
    return "nothing was thrown";
}

/// A buffer of another kind than those of blocxx, which holds a text and does not survive the next refill.
class BreakingBuffer : public std::streambuf
{
public:
    explicit BreakingBuffer(std::string text = "") : m_text(std::move(text))
    {
        setg(m_text.data(), m_text.data(), m_text.data() + m_text.size());
    }

private:
    std::string m_text;
};

class ThrowingBuffer : public BreakingBuffer
{
    using BreakingBuffer::BreakingBuffer;
    int_type underflow() override { throw std::runtime_error("the buffer broke"); }
};

class CancellingBuffer : public BreakingBuffer
{
    using BreakingBuffer::BreakingBuffer;
    int_type underflow() override
    {
        zol_test::beCancelled();
        return traits_type::eof();
    }
};

TEST(HeadExceptions, WhatTheDeviceThrowsPassesThroughWithBadbit)
{
    for (const std::size_t pieceSize : {std::size_t{1}, std::size_t{65536}})
    {
        PiecewiseInput buffer(FIRST_LINE + "A: 1\r\nB", pieceSize, PiecewiseInput::E_THROW);
        std::istream input(&buffer);
        HTTPHeaderMap map;
        Array<String> words;
        EXPECT_EQ(thrownBy([&] { HTTPUtils::parseHeader(map, words, input); }), "the device broke");
        EXPECT_EQ(stateOf(input), "B");
        EXPECT_EQ(words.size(), 3U);
        EXPECT_EQ(map.size(), 1U);
    }
}

TEST(HeadExceptions, WhatAnotherKindOfBufferThrowsPassesThroughWithBadbit)
{
    for (const std::string text : {"", "A: 1\r\n", "A: 1\r\nB"})
    {
        ThrowingBuffer buffer(text);
        std::istream input(&buffer);
        HTTPHeaderMap map;
        EXPECT_EQ(thrownBy([&] { HTTPUtils::buildMap(map, input); }), "the buffer broke");
        EXPECT_EQ(stateOf(input), "B");
        EXPECT_EQ(map.size(), text.empty() ? 0U : 1U);
    }
}

TEST(HeadExceptions, TheStreamsMaskDoesNotReplaceWhatTheBufferThrew)
{
    ThrowingBuffer buffer;
    std::istream input(&buffer);
    input.exceptions(std::ios_base::badbit | std::ios_base::failbit);
    HTTPHeaderMap map;
    EXPECT_EQ(thrownBy([&] { HTTPUtils::buildMap(map, input); }), "the buffer broke");
    EXPECT_EQ(stateOf(input), "B");
}

TEST(HeadExceptions, TheStreamsMaskIsHeededForARefusedHead)
{
    std::istringstream input("nocolon\r\n\r\n");
    input.exceptions(std::ios_base::failbit);
    HTTPHeaderMap map;
    EXPECT_THROW(HTTPUtils::buildMap(map, input), std::ios_base::failure);
    EXPECT_EQ(stateOf(input), "F");
}

TEST(HeadExceptions, AFailedAllocationPassesThroughWithBadbit)
{
    const std::string v(100, 'v');
    const std::string w(100, 'w');
    const std::string x(100, 'x');
    const std::string text = FIRST_LINE + "Some-Name: " + v + "\r\nSome-Name: " + w + "\r\n " + x + "\r\n\r\n";
    const std::set<String> wholeValues{String(v), String(v + ", " + w), String(v + ", " + w + " " + x)};
    for (std::size_t allocation = 1;; ++allocation)
    {
        PiecewiseInput buffer(text, 7);
        std::istream input(&buffer);
        Array<String> words;
        HTTPHeaderMap map;
        bool accepted = false;
        const bool failed =
            zol_test::failsInAllocation(allocation, [&] { accepted = HTTPUtils::parseHeader(map, words, input); });
        if (!failed)
        {
            EXPECT_TRUE(accepted);
            EXPECT_GT(allocation, 5U);
            break;
        }
        EXPECT_EQ(stateOf(input), "B") << allocation;
        EXPECT_TRUE(map.empty() || wholeValues.count(map["some-name"]) == 1) << allocation;
    }
}

TEST(HeadExceptions, ACancelledThreadIsNotHeldUp)
{
    for (const std::string text : {"", "A: 1\r\n", "A: 1\r\nB"})
    {
        CancellingBuffer buffer(text);
        std::istream input(&buffer);
        HTTPHeaderMap map;
        EXPECT_TRUE(zol_test::endsCancelled([&] { HTTPUtils::buildMap(map, input); }));
        EXPECT_EQ(stateOf(input), "B");
    }
}

} // namespace
