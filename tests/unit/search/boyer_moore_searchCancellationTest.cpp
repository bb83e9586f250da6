#include "zol/search/boyer_moore_search.hpp"

#include <gtest/gtest.h>

#include <pthread.h>
#include <unistd.h>

#include <istream>
#include <streambuf>
#include <string>
#include <vector>

namespace
{

using Search = ZOLNS2::boyer_moore_search<char, unsigned long, int>;

/// Delivers a few bytes, and then waits for more that never come.
class SilentDevice : public std::streambuf
{
public:
    explicit SilentDevice(int descriptor) : m_descriptor(descriptor) { setg(m_bytes, m_bytes, m_bytes + 4); }

protected:
    int_type underflow() override
    {
        const ssize_t count = ::read(m_descriptor, m_bytes, sizeof(m_bytes));
        return count > 0 ? traits_type::to_int_type(m_bytes[0]) : traits_type::eof();
    }

private:
    int m_descriptor;
    char m_bytes[4] = {'t', 'e', 'x', '-'};
};

struct Ignore
{
    void append(const char*, std::size_t) {}
};

void* searchVector(void* stream)
{
    std::vector<char> out;
    Search("--b", 3).searchStream(*static_cast<std::istream*>(stream), out);
    return nullptr;
}

void* searchSink(void* stream)
{
    Ignore sink;
    Search("--b", 3).searchStreamInto(*static_cast<std::istream*>(stream), sink);
    return nullptr;
}

TEST(BoyerMooreSearchCancellation, AThreadThatIsCancelledInASearchEnds)
{
    for (void* (*const search)(void*) : {searchVector, searchSink})
    {
        int ends[2] = {};
        ASSERT_EQ(::pipe(ends), 0);
        SilentDevice device(ends[0]);
        std::istream in(&device);
        pthread_t thread = {};
        ASSERT_EQ(::pthread_create(&thread, nullptr, search, &in), 0);
        ::pthread_cancel(thread);
        void* result = nullptr;
        ::pthread_join(thread, &result);
        EXPECT_EQ(result, PTHREAD_CANCELED);
        ::close(ends[0]);
        ::close(ends[1]);
    }
}

} // namespace
