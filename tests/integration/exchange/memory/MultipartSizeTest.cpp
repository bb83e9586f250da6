#include "Getting.hpp"
#include "support/Allocations.hpp"
#include "support/ScriptedServer.hpp"
#include "support/TextOf.hpp"

#include "zol/mime/MultipartReader.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <string>
#include <string_view>

namespace
{

using namespace exchange_integration;
using zol_test::ScriptedServer;
using zol_test::ServerConnection;
using zol_test::textOf;
using ZOLNS2::MIME::MultipartPart;
using ZOLNS2::MIME::MultipartReader;

#if defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define ZOL_TEST_SANITIZED
#endif
#endif
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define ZOL_TEST_SANITIZED
#endif

constexpr std::uint64_t GIBIBYTE = std::uint64_t{1} << 30;
#ifdef ZOL_TEST_SANITIZED
constexpr std::uint64_t VERY_LARGE = GIBIBYTE; // instrumented copying is slow
#else
constexpr std::uint64_t VERY_LARGE = 10 * GIBIBYTE;
#endif
constexpr std::size_t HEAP_LIMIT = std::size_t{256} * 1024;

constexpr std::size_t BLOCK_SIZE = std::size_t{1} << 20;

/// A part of some bytes, the closing delimiter, and an epilogue, in one frame.
ScriptedServer::Script sendingMultipart(std::uint64_t partSize, std::uint64_t epilogueSize)
{
    return [partSize, epilogueSize](ServerConnection& connection)
    {
        const std::string begin = "--b\r\nContent-Type: text/plain\r\n\r\n";
        const std::string end = "\r\n--b--\r\n";
        const std::uint64_t length = begin.size() + partSize + end.size() + epilogueSize;
        const std::string block = std::string(BLOCK_SIZE - 7, 'e') + "\r\n--c\r\n";
        const auto sendBlocks = [&](std::uint64_t size)
        {
            while (size > 0)
            {
                const std::size_t count = std::min<std::uint64_t>(size, BLOCK_SIZE);
                if (!connection.send(std::string_view(block).substr(0, count)))
                {
                    return;
                }
                size -= count;
            }
        };
        connection.receiveHead();
        connection.send("HTTP/1.1 200 OK\r\nContent-Type: multipart/mixed; boundary=b\r\nContent-Length: " +
                        std::to_string(length) + "\r\n\r\n" + begin);
        sendBlocks(partSize);
        connection.send(end);
        sendBlocks(epilogueSize);
        connection.waitUntilPeerCloses();
    };
}

TEST(MultipartSize, AVeryLargeEpilogueIsPassedOver)
{
    ScriptedServer server(sendingMultipart(100, VERY_LARGE));
    const ExchangeResponse response = exchange(getAndKeep(plainUrl(server.port())));
    const auto use = zol_test::allocationsOf(
        [&]
        {
            MultipartReader reader(response.getContent());
            EXPECT_EQ(textOf(reader.next().value().getContent()), std::string(100, 'e'));
            EXPECT_FALSE(reader.next());
            EXPECT_FALSE(reader.next());
        });
    EXPECT_LT(use.bytes, HEAP_LIMIT) << "all that was taken, whether or not it was given back";
    EXPECT_EQ(response.bodyEnd(), ExchangeResponse::E_COMPLETE) << response.bodyEndText();
    EXPECT_TRUE(response.reusable());
}

TEST(MultipartSize, AVeryLargePartIsPassedOver)
{
    ScriptedServer server(sendingMultipart(GIBIBYTE, 0));
    const ExchangeResponse response = exchange(getAndKeep(plainUrl(server.port())));
    const auto use = zol_test::allocationsOf(
        [&]
        {
            MultipartReader reader(response.getContent());
            EXPECT_TRUE(reader.next());
            EXPECT_FALSE(reader.next());
        });
    EXPECT_LT(use.bytes, HEAP_LIMIT);
    EXPECT_TRUE(response.reusable());
}

TEST(MultipartSize, AVeryLargePartIsReadInLittleMemory)
{
    ScriptedServer server(sendingMultipart(GIBIBYTE, 0));
    const ExchangeResponse response = exchange(getAndKeep(plainUrl(server.port())));
    std::uint64_t size = 0;
    std::string buffer(65536, '\0');
    const auto use = zol_test::allocationsOf(
        [&]
        {
            MultipartReader reader(response.getContent());
            const MultipartPart part = reader.next().value();
            const auto state = part.getContent()->createInitialStreamState();
            std::size_t count = 0;
            while ((count = part.getContent()->getData(buffer.data(), buffer.size(), state)) !=
                   ZOLNS2::MIME::END_OF_DATA)
            {
                size += count;
            }
            EXPECT_FALSE(reader.next());
        });
    EXPECT_EQ(size, GIBIBYTE);
    EXPECT_LT(use.bytes, HEAP_LIMIT);
}

TEST(MultipartSize, ALimitOnBytesEndsAnEpilogue)
{
    ScriptedServer server(sendingMultipart(100, VERY_LARGE));
    const ExchangeResponse response = exchange(getAndKeep(plainUrl(server.port())));
    MultipartReader::Limits limits;
    limits.bytes = 10000000;
    MultipartReader reader(response.getContent(), limits);
    EXPECT_TRUE(reader.next());
    expectFailure([&] { reader.next(); }, ExchangeException::E_BODY, ExchangeException::E_LIMIT, "10000000");
    EXPECT_FALSE(response.reusable());
}

TEST(MultipartSize, ALimitOnBytesEndsAPart)
{
    ScriptedServer server(sendingMultipart(VERY_LARGE, 0));
    const ExchangeResponse response = exchange(getAndKeep(plainUrl(server.port())));
    MultipartReader::Limits limits;
    limits.bytes = 10000000;
    MultipartReader reader(response.getContent(), limits);
    const auto part = reader.next();
    ASSERT_TRUE(part);
    expectFailure([&] { reader.next(); }, ExchangeException::E_BODY, ExchangeException::E_LIMIT, "10000000");
}

TEST(MultipartSize, ALimitOfTheExchangeEndsAnEpilogue)
{
    ScriptedServer server(sendingMultipart(100, VERY_LARGE));
    ExchangeOptions options;
    options.bodyLimit = 10000000;
    const ExchangeResponse response = exchange(getAndKeep(plainUrl(server.port())), options);
    MultipartReader reader(response.getContent());
    EXPECT_TRUE(reader.next());
    EXPECT_FALSE(reader.next()) << "all parts have been read";
    EXPECT_EQ(response.bodyEnd(), ExchangeResponse::E_TOO_LARGE);
    EXPECT_FALSE(response.reusable());
}

TEST(MultipartSize, ADeadlineEndsAnEpilogue)
{
    ScriptedServer server(sendingMultipart(100, 1000 * GIBIBYTE));
    ExchangeOptions options;
    options.deadline = blocxx::Timeout::relative(1);
    const ExchangeResponse response = exchange(getAndKeep(plainUrl(server.port())), options);
    MultipartReader reader(response.getContent());
    EXPECT_TRUE(reader.next());
    EXPECT_FALSE(reader.next()) << "all parts have been read";
    EXPECT_EQ(response.bodyEnd(), ExchangeResponse::E_DEADLINE);
    EXPECT_FALSE(response.reusable());
}

} // namespace
