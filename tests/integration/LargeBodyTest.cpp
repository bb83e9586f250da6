#include "Fetch.hpp"
#include "support/Process.hpp"
#include "support/ScriptedServer.hpp"
#include "support/TemporaryDirectory.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <vector>

namespace
{

using namespace ZOLNS2;
using namespace zol_integration;
using zol_test::residentSetSize;
using zol_test::ScriptedServer;
using zol_test::ServerConnection;

#if defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define ZOL_TEST_SANITIZED
#endif
#endif
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define ZOL_TEST_SANITIZED
#endif

#ifdef ZOL_TEST_SANITIZED
constexpr std::uint64_t VERY_LARGE = std::uint64_t(1) << 30; // instrumented copying is slow
#else
constexpr std::uint64_t VERY_LARGE = std::uint64_t(10) << 30;
#endif
constexpr std::size_t MEBIBYTE = 1 << 20;
constexpr double MEBIBYTES = static_cast<double>(VERY_LARGE) / MEBIBYTE;
constexpr std::size_t ALLOWED_GROWTH = 16 * MEBIBYTE;

// Looks at the resident set now and then.
class ResidentSet
{
public:
    void look() { m_largest = std::max(m_largest, residentSetSize()); }
    std::size_t growth()
    {
        look();
        return m_largest - m_start;
    }

private:
    std::size_t m_start = residentSetSize();
    std::size_t m_largest = m_start;
};

std::uint64_t pullWatching(HTTP::Response response, ResidentSet& memory)
{
    std::uint64_t blocks = 0;
    return pull(response.getNextPart(),
                [&](std::string_view)
                {
                    if (++blocks % 1024 == 0)
                    {
                        memory.look();
                    }
                });
}

TEST(LargeBody, StreamsWithoutGrowing)
{
    const std::string block(MEBIBYTE, 'x');
    ScriptedServer server(
        [&](ServerConnection& c)
        {
            c.receiveHead();
            c.send("HTTP/1.1 200 OK\r\nContent-Length: " + std::to_string(VERY_LARGE) + "\r\n\r\n");
            for (std::uint64_t sent = 0; sent < VERY_LARGE && c.send(block); sent += block.size())
            {
            }
            c.waitUntilPeerCloses();
        });
    ResidentSet memory;
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(pullWatching(fetch(server.port(), Ask()), memory), VERY_LARGE);
    const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - start;
    EXPECT_LT(memory.growth(), ALLOWED_GROWTH);
    RecordProperty("MiBPerSecond", static_cast<int>(MEBIBYTES / seconds.count()));
}

TEST(LargeBody, StreamsOutOfChunksWithoutGrowing)
{
    const std::string block = "100000\r\n" + std::string(MEBIBYTE, 'x') + "\r\n";
    ScriptedServer server(
        [&](ServerConnection& c)
        {
            c.receiveHead();
            c.send("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n");
            for (std::uint64_t sent = 0; sent < VERY_LARGE / 4 && c.send(block); sent += MEBIBYTE)
            {
            }
            c.send("0\r\n\r\n");
            c.waitUntilPeerCloses();
        });
    ResidentSet memory;
    EXPECT_EQ(pullWatching(fetch(server.port(), Ask()), memory), VERY_LARGE / 4);
    EXPECT_LT(memory.growth(), ALLOWED_GROWTH);
}

TEST(LargeBody, IsUploadedFromAFileWithoutGrowing)
{
    const std::uint64_t size = VERY_LARGE / 8;
    std::uint64_t received = 0;
    ScriptedServer server(
        [&](ServerConnection& c)
        {
            c.receiveHead();
            received = c.discard(size);
            c.send("HTTP/1.1 200 OK\r\nContent-Length: 0\r\n\r\n");
        });
    const zol_test::TemporaryDirectory folder;
    Ask ask;
    ask.method = "PUT";
    ask.content =
        MIME::ContentRef(new MIME::FileApplicationOctetStreamContent(blocxx::String(folder.writeSparse("big", size))));
    ResidentSet memory;
    HTTP::Response response = fetch(server.port(), ask.with("Content-Length", std::to_string(size)));
    EXPECT_EQ(received, size);
    EXPECT_LT(memory.growth(), ALLOWED_GROWTH);
    EXPECT_EQ(bodyOf(response), "");
}

} // namespace
