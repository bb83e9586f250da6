#include "ProbeBuffer.hpp"
#include "support/Allocations.hpp"

#include <gtest/gtest.h>

#include <memory>
#include <thread>

// A thread keeps one input buffer of 64 KiB, that of a connection, from one stream buffer to the next.

namespace
{

using blocxx::BaseStreamBuffer;
using zol_test::allocationsOf;
using zol_test::bytes;
using zol_test::ProbeBuffer;

constexpr std::size_t SIZE = 65536;

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool ARRAYS_ARE_COUNTED = false; // the sanitizer allocates them itself
#else
constexpr bool ARRAYS_ARE_COUNTED = true;
#endif

std::unique_ptr<ProbeBuffer> bufferThatHasRead(std::size_t size = SIZE)
{
    auto buffer = std::make_unique<ProbeBuffer>(BaseStreamBuffer::E_IN, size);
    buffer->input.push_back(ProbeBuffer::data(bytes(10)));
    EXPECT_EQ(buffer->sgetc(), 'a');
    return buffer;
}

/// The bytes allocated for the buffer of a new stream buffer that reads.
std::size_t allocatedFor(ProbeBuffer& buffer)
{
    buffer.input.push_back(ProbeBuffer::data(bytes(10)));
    return allocationsOf([&] { EXPECT_EQ(buffer.sgetc(), 'a'); }).bytes;
}

class SpareBuffer : public testing::Test
{
protected:
    /// Each test begins on a thread that keeps nothing.
    template <class Action>
    static void onNewThread(const Action& action)
    {
        std::thread(action).join();
    }
};

TEST_F(SpareBuffer, OfAThreadIsUsedAgainByTheNextStreamBuffer)
{
    onNewThread(
        []
        {
            ProbeBuffer first(BaseStreamBuffer::E_IN, SIZE);
            bufferThatHasRead();
            EXPECT_LT(allocatedFor(first), SIZE);
        });
}

TEST_F(SpareBuffer, IsOneAtMost)
{
    onNewThread(
        []
        {
            {
                const auto first = bufferThatHasRead();
                const auto second = bufferThatHasRead();
            }
            ProbeBuffer third(BaseStreamBuffer::E_IN, SIZE);
            ProbeBuffer fourth(BaseStreamBuffer::E_IN, SIZE);
            EXPECT_LT(allocatedFor(third), SIZE);
            const std::size_t forAnother = allocatedFor(fourth);
            EXPECT_TRUE(!ARRAYS_ARE_COUNTED || forAnother >= SIZE) << forAnother;
        });
}

TEST_F(SpareBuffer, IsOfNoOtherSize)
{
    onNewThread(
        []
        {
            bufferThatHasRead(SIZE - 1);
            ProbeBuffer small(BaseStreamBuffer::E_IN, SIZE - 1);
            ProbeBuffer usual(BaseStreamBuffer::E_IN, SIZE);
            const std::size_t forSmall = allocatedFor(small);
            const std::size_t forUsual = allocatedFor(usual);
            EXPECT_TRUE(!ARRAYS_ARE_COUNTED || forSmall >= SIZE - 1) << forSmall;
            EXPECT_TRUE(!ARRAYS_ARE_COUNTED || forUsual >= SIZE) << forUsual;
        });
}

TEST_F(SpareBuffer, GoesToTheThreadThatReleasesIt)
{
    auto buffer = bufferThatHasRead();
    onNewThread(
        [&]
        {
            buffer.reset();
            ProbeBuffer next(BaseStreamBuffer::E_IN, SIZE);
            EXPECT_LT(allocatedFor(next), SIZE);
        });
}

TEST_F(SpareBuffer, IsNotTakenWhileTheThreadEnds)
{
    // What a thread keeps is freed at its end; a stream buffer that outlives that is released after it.
    struct Late
    {
        std::unique_ptr<ProbeBuffer> buffer;
        ~Late() { buffer.reset(); }
    };
    onNewThread(
        []
        {
            // Destroyed in the reverse order: made before the first buffer that is kept.
            thread_local Late late;
            late.buffer = bufferThatHasRead();
            bufferThatHasRead();
        });
}

TEST_F(SpareBuffer, HoldsNothingOfItsFormerReader)
{
    onNewThread(
        []
        {
            bufferThatHasRead();
            ProbeBuffer next(BaseStreamBuffer::E_IN, SIZE);
            next.input.push_back(ProbeBuffer::data("b"));
            EXPECT_EQ(next.sbumpc(), 'b');
            EXPECT_EQ(next.sgetc(), std::streambuf::traits_type::eof());
        });
}

} // namespace
