#include "zol/mime/ContentBIO.hpp"

#include "support/ChildProcess.hpp"
#include "support/ScriptedContent.hpp"
#include "support/TemporaryDirectory.hpp"

#include "zol/mime/ContentException.hpp"
#include "zol/mime/MultipartMixedContent.hpp"
#include "zol/mime/OctetStreamContent.hpp"
#include "zol/mime/TextContent.hpp"
#include "zol/mime/UnbufferedContent.hpp"

#include <gtest/gtest.h>
#include <openssl/bio.h>
#include <openssl/evp.h>
#include <openssl/pem.h>

#include <array>
#include <atomic>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace
{

using namespace ZOLNS2::MIME;
using blocxx::IntrusiveReference;
using zol_test::scripted;
using zol_test::ScriptedContent;

struct FreeChain
{
    void operator()(BIO* bio) const { BIO_free_all(bio); }
};
using Chain = std::unique_ptr<BIO, FreeChain>;

Chain chainOver(const ContentRef& content)
{
    return Chain(BIO_new_httpcontent(content));
}

/// A filter in front of a chain.
Chain pushed(const BIO_METHOD* filter, Chain chain)
{
    return Chain(BIO_push(BIO_new(filter), chain.release()));
}

ContentRef octets(const std::string& bytes)
{
    return ContentRef(new ApplicationOctetStreamContent(bytes.data(), bytes.size()));
}

/// All bytes up to the first result that is not positive.
std::string readAll(BIO* bio)
{
    std::string all;
    std::array<char, 1000> buffer{};
    for (int got = BIO_read(bio, buffer.data(), buffer.size()); got > 0;
         got = BIO_read(bio, buffer.data(), buffer.size()))
    {
        all.append(buffer.data(), static_cast<size_t>(got));
    }
    return all;
}

/// Counts its instances and the states it made.
class CountedContent : public ScriptedContent
{
public:
    explicit CountedContent(std::atomic<int>& count) : ScriptedContent({"text"}), m_count(count) { ++m_count; }
    ~CountedContent() override { --m_count; }
    ContentStreamStateRef createInitialStreamState() const override
    {
        const ContentStreamStateRef inner = ScriptedContent::createInitialStreamState();
        return {new CountedState(m_count)};
    }

private:
    class CountedState : public State
    {
    public:
        explicit CountedState(std::atomic<int>& count) : m_count(count) { ++m_count; }
        ~CountedState() override { --m_count; }

    private:
        std::atomic<int>& m_count;
    };

    std::atomic<int>& m_count;
};

TEST(ContentBIO, ReadsTheBytesAndThenReturnsMinusOne)
{
    const Chain bio = chainOver(octets("12345"));
    std::array<char, 100> buffer{};
    EXPECT_EQ(BIO_read(bio.get(), buffer.data(), 100), 5);
    EXPECT_EQ(std::string(buffer.data(), 5), "12345");
    EXPECT_EQ(BIO_read(bio.get(), buffer.data(), 100), -1);
    EXPECT_EQ(BIO_read(bio.get(), buffer.data(), 100), -1);
    EXPECT_FALSE(BIO_should_retry(bio.get()));
}

TEST(ContentBIO, ReadsNoMoreThanAskedFor)
{
    const Chain bio = chainOver(octets("12345"));
    std::array<char, 4> buffer{};
    EXPECT_EQ(BIO_read(bio.get(), buffer.data(), 3), 3);
    EXPECT_EQ(std::string(buffer.data(), 4), std::string("123\0", 4));
    EXPECT_EQ(BIO_read(bio.get(), buffer.data(), 3), 2);
}

TEST(ContentBIO, ReturnsZeroWhenTheContentHasNothingThisTime)
{
    const Chain bio = chainOver(scripted(zol_test::byteByByte("ab")));
    char c = 0;
    EXPECT_EQ(BIO_read(bio.get(), &c, 1), 1);
    EXPECT_EQ(BIO_read(bio.get(), &c, 1), 0);
    EXPECT_FALSE(BIO_should_retry(bio.get()));
    EXPECT_EQ(BIO_read(bio.get(), &c, 1), 1);
    EXPECT_EQ(c, 'b');
    EXPECT_EQ(BIO_read(bio.get(), &c, 1), -1);
}

TEST(ContentBIO, ANegativeLengthDoesNotReachTheContent)
{
    const Chain bio = chainOver(octets("12345"));
    char c = 'x';
    EXPECT_LE(BIO_read(bio.get(), &c, -1), 0);
    EXPECT_EQ(c, 'x');
    EXPECT_EQ(readAll(bio.get()), "12345");
}

TEST(ContentBIO, OfANullContentReadsNothing)
{
    const Chain bio = chainOver(ContentRef());
    ASSERT_TRUE(bio);
    char c = 0;
    EXPECT_EQ(BIO_read(bio.get(), &c, 1), -1);
}

TEST(ContentBIO, MadeDirectlyReadsNothing)
{
    const Chain bio(BIO_new(BIO_s_httpcontent()));
    ASSERT_TRUE(bio);
    EXPECT_EQ(BIO_get_init(bio.get()), 1);
    EXPECT_NE(BIO_get_data(bio.get()), nullptr);
    char c = 0;
    EXPECT_EQ(BIO_read(bio.get(), &c, 1), -1);
}

TEST(ContentBIO, WithoutItsRecordReadsNothingAndIsFreed)
{
    const Chain bio = chainOver(octets("12345"));
    void* const record = BIO_get_data(bio.get());
    BIO_set_data(bio.get(), nullptr);
    char c = 0;
    EXPECT_EQ(BIO_read(bio.get(), &c, 1), -1);
    const Chain empty(BIO_new(BIO_s_httpcontent()));
    void* const unused = BIO_get_data(empty.get());
    BIO_set_data(empty.get(), record);
    EXPECT_EQ(readAll(empty.get()), "12345") << "the record holds all there is to reading";
    BIO_set_data(bio.get(), unused);
}

TEST(ContentBIO, HasTheMethodsOfASourceOnly)
{
    BIO_METHOD* const method = BIO_s_httpcontent();
    const Chain bio(BIO_new(method));
    EXPECT_STREQ(BIO_method_name(bio.get()), "HTTP Content BIO");
    EXPECT_EQ(BIO_method_type(bio.get()), 0x100);
    EXPECT_NE(BIO_meth_get_read(method), nullptr);
    EXPECT_NE(BIO_meth_get_ctrl(method), nullptr);
    EXPECT_NE(BIO_meth_get_create(method), nullptr);
    EXPECT_NE(BIO_meth_get_destroy(method), nullptr);
    EXPECT_EQ(BIO_meth_get_write(method), nullptr);
    EXPECT_EQ(BIO_meth_get_puts(method), nullptr);
    EXPECT_EQ(BIO_meth_get_gets(method), nullptr);
    EXPECT_EQ(BIO_meth_get_callback_ctrl(method), nullptr);
}

TEST(ContentBIO, CallbacksTakeANullBio)
{
    BIO_METHOD* const method = BIO_s_httpcontent();
    char c = 0;
    EXPECT_EQ(BIO_meth_get_create(method)(nullptr), 0);
    EXPECT_EQ(BIO_meth_get_destroy(method)(nullptr), 0);
    EXPECT_EQ(BIO_meth_get_read(method)(nullptr, &c, 1), -1);
    EXPECT_EQ(BIO_meth_get_ctrl(method)(nullptr, BIO_CTRL_EOF, 0, nullptr), 0);
}

TEST(ContentBIO, DestroyLeavesDataPointerAndInitFlag)
{
    BIO* const bio = BIO_new(BIO_s_httpcontent());
    void* const record = BIO_get_data(bio);
    EXPECT_EQ(BIO_meth_get_destroy(BIO_s_httpcontent())(bio), 1);
    EXPECT_EQ(BIO_get_data(bio), record);
    EXPECT_EQ(BIO_get_init(bio), 1);
    BIO_set_data(bio, nullptr);
    EXPECT_EQ(BIO_meth_get_destroy(BIO_s_httpcontent())(bio), 1) << "there is nothing left to free";
    EXPECT_EQ(BIO_free(bio), 1);
}

TEST(ContentBIO, EveryControlCommandReturnsZero)
{
    const Chain bio = chainOver(octets("12345"));
    for (int command = 0; command < 256; ++command)
    {
        EXPECT_EQ(BIO_ctrl(bio.get(), command, 0, nullptr), 0) << command;
    }
    EXPECT_EQ(BIO_flush(bio.get()), 0);
    EXPECT_EQ(BIO_pending(bio.get()), 0);
    EXPECT_EQ(BIO_eof(bio.get()), 0);
    EXPECT_EQ(BIO_reset(bio.get()), 0);
    EXPECT_EQ(readAll(bio.get()), "12345");
}

TEST(ContentBIO, CannotBeWrittenTo)
{
    const Chain bio = chainOver(octets("12345"));
    EXPECT_LT(BIO_write(bio.get(), "x", 1), 0);
    EXPECT_LT(BIO_puts(bio.get(), "x"), 0);
    std::array<char, 10> line{};
    EXPECT_LT(BIO_gets(bio.get(), line.data(), line.size()), 0);
}

TEST(ContentBIO, UsesUpTheOneReadingOfAnUnbufferedContent)
{
    const ContentRef content(new UnbufferedContent(ZOLNS2::HTTP::HTTPTransferDecoderRef(), ContentTypeHeader(), 10));
    const Chain first = chainOver(content);
    EXPECT_TRUE(first);
    try
    {
        const Chain second = chainOver(content);
        FAIL() << "no exception";
    }
    catch (const ContentException& e)
    {
        EXPECT_STREQ(e.getMessage(), "Attempted reuse of a one-time http stream");
    }
}

TEST(ContentBIO, TwoOverOneContentReadIndependently)
{
    const ContentRef content = octets("12345");
    const Chain first = chainOver(content);
    const Chain second = chainOver(content);
    char c = 0;
    EXPECT_EQ(BIO_read(first.get(), &c, 1), 1);
    EXPECT_EQ(readAll(second.get()), "12345");
    EXPECT_EQ(readAll(first.get()), "2345");
}

/// What a BIO keeps, for a program that fills one itself.
struct Record
{
    ContentRef content;
    ContentStreamStateRef state;
};

TEST(ContentBIO, WithAContentAndNoStateMakesOneAtTheFirstReadAndKeepsIt)
{
    const Chain bio(BIO_new(BIO_s_httpcontent()));
    auto* const record = static_cast<Record*>(BIO_get_data(bio.get()));
    record->content = octets("12345");
    EXPECT_FALSE(record->state);
    std::array<char, 3> buffer{};
    EXPECT_EQ(BIO_read(bio.get(), buffer.data(), 3), 3);
    const ContentStreamStateRef made = record->state;
    EXPECT_TRUE(made);
    EXPECT_EQ(BIO_read(bio.get(), buffer.data(), 3), 2);
    EXPECT_EQ(record->state, made);
    EXPECT_EQ(std::string(buffer.data(), 2), "45");
}

TEST(ContentBIO, ReleasesTheStateBeforeTheContent)
{
    static std::string released;
    class NotingState : public ContentStreamState
    {
    public:
        ~NotingState() override { released += 's'; }
    };
    class NotingContent : public TextPlainContent
    {
    public:
        NotingContent() : TextPlainContent("text") {}
        ~NotingContent() override { released += 'c'; }
        ContentStreamStateRef createInitialStreamState() const override { return {new NotingState}; }
    };
    released.clear();
    Chain bio = chainOver(ContentRef(new NotingContent));
    EXPECT_EQ(released, "");
    bio.reset();
    EXPECT_EQ(released, "sc");
}

TEST(ContentBIO, HoldsContentAndStateUntilItIsFreed)
{
    std::atomic<int> alive{0};
    Chain bio = chainOver(ContentRef(new CountedContent(alive)));
    EXPECT_EQ(alive, 2);
    bio.reset();
    EXPECT_EQ(alive, 0);
}

TEST(ContentBIO, AContentThatRefusesAStateIsReleased)
{
    std::atomic<int> alive{0};
    IntrusiveReference<CountedContent> content(new CountedContent(alive));
    content->stateThrowsOnce = true;
    EXPECT_THROW(BIO_new_httpcontent(content), std::runtime_error);
    content = nullptr;
    EXPECT_EQ(alive, 0);
}

TEST(ContentBIO, IsMadeOnceUnderConcurrentFirstUse)
{
    constexpr size_t COUNT = 16;
    std::array<BIO_METHOD*, COUNT> methods{};
    std::array<std::string, COUNT> read;
    std::atomic<size_t> ready{0};
    std::vector<std::thread> threads;
    for (size_t i = 0; i < COUNT; ++i)
    {
        threads.emplace_back(
            [&, i]
            {
                for (++ready; ready < COUNT;)
                {
                    std::this_thread::yield();
                }
                methods[i] = BIO_s_httpcontent();
                read[i] = readAll(chainOver(octets("12345")).get());
            });
    }
    for (std::thread& thread : threads)
    {
        thread.join();
    }
    for (size_t i = 0; i < COUNT; ++i)
    {
        EXPECT_EQ(methods[i], methods[0]);
        EXPECT_EQ(read[i], "12345");
    }
}

TEST(ContentBIO, WhatTheContentThrowsComesOutOfBioRead)
{
    const IntrusiveReference<ScriptedContent> content = scripted({"text"});
    content->dataThrowsOnce = true;
    const Chain bio = chainOver(content);
    char c = 0;
    EXPECT_THROW(BIO_read(bio.get(), &c, 1), std::runtime_error);
    EXPECT_EQ(readAll(bio.get()), "text") << "and reading can continue";
    size_t got = 0;
    EXPECT_EQ(BIO_read_ex(bio.get(), &c, 1, &got), 0);
}

TEST(ContentBIO, WhatTheContentThrowsComesOutOfFilters)
{
    const std::string line = "QUJDREVGR0hJSktMTU5PUFFSU1RVVldYWVphYmNkZWZnaGlqa2xtbm9wcXJzdHV2\n";
    for (const BIO_METHOD* const filter : {BIO_f_base64(), BIO_f_md(), BIO_f_buffer()})
    {
        std::string text;
        for (int i = 0; i < 100; ++i)
        {
            text += line;
        }
        const IntrusiveReference<ScriptedContent> content = scripted({text});
        content->throwAtPiece = 1;
        const Chain bio = pushed(filter, chainOver(content));
        if (filter == BIO_f_md())
        {
            ASSERT_EQ(BIO_set_md(bio.get(), EVP_sha256()), 1);
        }
        EXPECT_THROW(readAll(bio.get()), std::runtime_error) << BIO_method_name(bio.get());
        char c = 0;
        EXPECT_THROW(BIO_read(bio.get(), &c, 1), std::runtime_error) << "again";
    }
}

TEST(ContentBIO, FeedsABase64Filter)
{
    const Chain bio = pushed(BIO_f_base64(), chainOver(octets("aGVsbG8sIHdvcmxk\n")));
    EXPECT_EQ(readAll(bio.get()), "hello, world");
}

TEST(ContentBIO, PemIsReadThroughABufferingFilter)
{
    EVP_PKEY* const key = EVP_EC_gen("P-256");
    ASSERT_NE(key, nullptr);
    const Chain memory(BIO_new(BIO_s_mem()));
    ASSERT_EQ(PEM_write_bio_PUBKEY(memory.get(), key), 1);
    const Chain bio = pushed(BIO_f_buffer(), chainOver(octets(readAll(memory.get()))));
    EVP_PKEY* const read = PEM_read_bio_PUBKEY(bio.get(), nullptr, nullptr, nullptr);
    ASSERT_NE(read, nullptr);
    EXPECT_EQ(EVP_PKEY_eq(key, read), 1);
    EVP_PKEY_free(read);
    EVP_PKEY_free(key);
}

std::string hex(const unsigned char* bytes, size_t length)
{
    const char* const digits = "0123456789abcdef";
    std::string text;
    for (size_t i = 0; i < length; ++i)
    {
        text += {digits[bytes[i] / 16], digits[bytes[i] % 16]};
    }
    return text;
}

TEST(ContentBIO, DigestsAMultipartBodyOfFilesAsOpensslDoes)
{
    const zol_test::TemporaryDirectory directory;
    MultipartMixedContent* const multipart = new MultipartMixedContent("boundary");
    const ContentRef content(multipart);
    for (const size_t size : {0U, 1U, 100000U})
    {
        const std::string file = directory.write("part" + std::to_string(size), std::string(size, 'x'));
        multipart->addPart(ContentRef(new FileApplicationOctetStreamContent(blocxx::String(file))));
    }

    const Chain bio = pushed(BIO_f_md(), chainOver(content));
    ASSERT_EQ(BIO_set_md(bio.get(), EVP_sha256()), 1);
    const std::string body = readAll(bio.get());
    EXPECT_EQ(body.size(), content->getContentLength());
    std::array<char, EVP_MAX_MD_SIZE> digest{};
    const int length = BIO_gets(bio.get(), digest.data(), digest.size());
    ASSERT_EQ(length, 32);

    zol_test::ChildProcess openssl({"openssl", "dgst", "-sha256", "-r", directory.write("body", body)});
    ASSERT_EQ(openssl.wait(), 0) << openssl.errorOutput();
    EXPECT_EQ(openssl.output().substr(0, 64),
              hex(reinterpret_cast<const unsigned char*>(digest.data()), static_cast<size_t>(length)));
}

} // namespace
