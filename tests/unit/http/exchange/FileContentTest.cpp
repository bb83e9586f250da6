#include "zol/mime/FileContent.hpp"

#include "ReadContent.hpp"
#include "support/ScriptedContent.hpp"
#include "support/TemporaryDirectory.hpp"

#include "blocxx/NULLReferenceException.hpp"
#include "zol/http/MIMEContentIStream.hpp"
#include "zol/mime/ContentBIO.hpp"
#include "zol/mime/MultipartMixedContent.hpp"
#include "zol/mime/TextContent.hpp"

#include <gmock/gmock.h>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <limits>
#include <thread>
#include <vector>

namespace
{

using namespace ZOLNS2::MIME;
using testing::AllOf;
using testing::HasSubstr;
using zol_test::contentRefusal;
using zol_test::readAll;
using zol_test::readOnce;
using zol_test::TemporaryDirectory;

ContentRef file(const std::string& path)
{
    return ContentRef(new FileContent(path));
}

ContentRef range(const std::string& path, size_t offset, size_t length)
{
    return ContentRef(new FileContent(path, offset, length));
}

/// The error code of the ContentException that `action` throws.
template <typename Action>
int errorCodeOf(Action action)
{
    try
    {
        action();
    }
    catch (const ContentException& e)
    {
        return e.getErrorCode();
    }
    ADD_FAILURE() << "no exception";
    return 0;
}

long timesOpen(const std::string& path)
{
    long times = 0;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd"))
    {
        std::error_code gone;
        times += std::filesystem::read_symlink(entry.path(), gone) == path ? 1 : 0;
    }
    return times;
}

TEST(FileContent, IsTheBytesOfTheFileUnderItsType)
{
    const TemporaryDirectory directory;
    const std::string bytes = zol_test::distinctBytes(200001);
    const std::string path = directory.write("a", bytes);
    const ContentRef content(new FileContent(path, "image/jpeg"));
    EXPECT_EQ(toString(content->getContentType()), "image/jpeg");
    EXPECT_EQ(toString(file(path)->getContentType()), "application/octet-stream");
    EXPECT_TRUE(content->hasContentLength());
    EXPECT_EQ(content->getContentLength(), bytes.size());
    for (const size_t size : {1U, 7U, 4096U, 65535U, 65536U, 65537U, 1000000U})
    {
        EXPECT_EQ(readAll(content, size), bytes) << size;
    }
}

TEST(FileContent, ARequestForEverythingIsNoMoreThanTheFile)
{
    const TemporaryDirectory directory;
    const ContentRef content = file(directory.write("a", "abc"));
    const ContentStreamStateRef state = content->createInitialStreamState();
    std::string buffer(3, '\0');
    EXPECT_EQ(content->getData(buffer.data(), std::numeric_limits<size_t>::max(), state), 3U);
    EXPECT_EQ(buffer, "abc");
}

TEST(FileContent, AnEmptyFileIsAnEmptyContent)
{
    const TemporaryDirectory directory;
    const ContentRef content = file(directory.write("a", ""));
    EXPECT_TRUE(content->hasContentLength());
    EXPECT_EQ(content->getContentLength(), 0U);
    EXPECT_EQ(readAll(content, 4096), "");
    EXPECT_EQ(readAll(content, 65536), "");
    EXPECT_EQ(readOnce(content, 0, content->createInitialStreamState()), "END");
}

TEST(FileContent, ARangeIsJustItsBytes)
{
    const TemporaryDirectory directory;
    const std::string bytes = zol_test::distinctBytes(200000);
    const std::string path = directory.write("a", bytes);
    const ContentRef content(new FileContent(path, 70000, 100001, "image/png"));
    EXPECT_EQ(toString(content->getContentType()), "image/png");
    EXPECT_EQ(content->getContentLength(), 100001U);
    for (const size_t size : {1U, 4096U, 65536U, 1000000U})
    {
        EXPECT_EQ(readAll(content, size), bytes.substr(70000, 100001)) << size;
    }
    EXPECT_EQ(readAll(range(path, 0, 200000), 4096), bytes);
    EXPECT_EQ(readAll(range(path, 199999, 1), 4096), bytes.substr(199999));
    EXPECT_EQ(readAll(range(path, 200000, 0), 4096), "");
}

TEST(FileContent, ARangeBeyondTheFileIsRefused)
{
    const TemporaryDirectory directory;
    const std::string path = directory.write("a", "abcde");
    EXPECT_THAT(contentRefusal([&] { range(path, 0, 6); }),
                AllOf(HasSubstr("6 bytes at offset 0 of " + path), HasSubstr("it has 5")));
    EXPECT_NE(contentRefusal([&] { range(path, 5, 1); }), "");
    EXPECT_NE(contentRefusal([&] { range(path, 6, 0); }), "");
    EXPECT_NE(contentRefusal([&] { range(path, 1, std::numeric_limits<size_t>::max()); }), "") << "a sum that wraps";
}

TEST(FileContent, LiesBeyondFourGibibytesToo)
{
    const TemporaryDirectory directory;
    const std::string path = directory.writeSparse("a", (std::uint64_t{5} << 30U) + 3);
    std::fstream(path, std::ios::in | std::ios::out).seekp(std::streamoff{5} << 30) << "end";
    EXPECT_EQ(readAll(range(path, (std::uint64_t{5} << 30U) - 1, 4), 4096), std::string("\0end", 4));
    EXPECT_EQ(file(path)->getContentLength(), (std::uint64_t{5} << 30U) + 3);
}

TEST(FileContent, AFileThatCannotBeOpenedIsRefusedWithItsPathAndTheSystemsReason)
{
    const TemporaryDirectory directory;
    const std::string path = directory.file("missing");
    EXPECT_EQ(contentRefusal([&] { file(path); }), "Cannot open " + path + ": 2(No such file or directory)");
    EXPECT_EQ(errorCodeOf([&] { file(path); }), ENOENT);
    EXPECT_EQ(errorCodeOf([] { file(""); }), ENOENT);
    EXPECT_THAT(contentRefusal([] { file("a\nb\x1b"); }), HasSubstr("Cannot open a\\x0ab\\x1b: 2("));
}

TEST(FileContent, APathWithANulIsNotThePathInFrontOfIt)
{
    const TemporaryDirectory directory;
    const std::string path = directory.write("a", "abc") + std::string("\0.png", 5);
    EXPECT_EQ(errorCodeOf([&] { file(path); }), ENOENT);
}

TEST(FileContent, WhatIsNotARegularFileIsRefusedAndNotWaitedFor)
{
    const TemporaryDirectory directory;
    EXPECT_EQ(errorCodeOf([&] { file(directory.path().string()); }), EISDIR);
    const std::string fifo = directory.file("fifo");
    ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
    EXPECT_THAT(contentRefusal([&] { file(fifo); }), AllOf(HasSubstr(fifo), HasSubstr("not a regular file")));
    EXPECT_THAT(contentRefusal([] { file("/dev/zero"); }), HasSubstr("not a regular file"));
}

TEST(FileContent, AFileOfTheKernelsHasNoLengthAndIsReadToItsEnd)
{
    std::ifstream stream("/proc/self/cmdline", std::ios::binary);
    const std::string expected((std::istreambuf_iterator<char>(stream)), std::istreambuf_iterator<char>());
    const ContentRef content = file("/proc/self/cmdline");
    EXPECT_FALSE(content->hasContentLength());
    EXPECT_THAT(contentRefusal([&] { content->getContentLength(); }), HasSubstr("/proc/self/cmdline"));
    EXPECT_EQ(readAll(content, 3), expected);
    EXPECT_EQ(readAll(content, 100000), expected);
    const ContentStreamStateRef state = content->createInitialStreamState();
    EXPECT_EQ(readOnce(content, 0, state), "");
    EXPECT_EQ(readAll(range("/proc/self/cmdline", 1, 2), 9), expected.substr(1, 2));
}

TEST(FileContent, RemovingAndReplacingTheFileChangesNothing)
{
    const TemporaryDirectory directory;
    const std::string path = directory.write("a", "before");
    const ContentRef content = file(path);
    std::filesystem::remove(path);
    directory.write("a", "another file");
    EXPECT_EQ(content->getContentLength(), 6U);
    EXPECT_EQ(readAll(content, 4), "before");
    EXPECT_EQ(readAll(content, 65536), "before");
}

TEST(FileContent, WhatIsAppendedLaterIsNotDelivered)
{
    const TemporaryDirectory directory;
    const std::string path = directory.write("a", "abc");
    const ContentRef content = file(path);
    const ContentStreamStateRef state = content->createInitialStreamState();
    EXPECT_EQ(readOnce(content, 1, state), "a");
    std::ofstream(path, std::ios::app) << "def";
    EXPECT_EQ(content->getContentLength(), 3U);
    EXPECT_EQ(readOnce(content, 100000, state), "bc");
    EXPECT_EQ(readOnce(content, 100000, state), "END");
    EXPECT_EQ(readAll(content, 100000), "abc");
    EXPECT_EQ(readAll(content, 10), "abc");
}

TEST(FileContent, AFileThatHasBecomeShorterEndsBadlyAndSaysSo)
{
    const TemporaryDirectory directory;
    for (const size_t size : {4096U, 65536U})
    {
        const std::string path = directory.write("a", std::string(200000, 'x'));
        const ContentRef content = file(path);
        const ContentStreamStateRef state = content->createInitialStreamState();
        std::filesystem::resize_file(path, 100000);
        EXPECT_FALSE(endedBadly(content, state));
        size_t total = 0;
        const std::string message = contentRefusal(
            [&]
            {
                for (std::string piece; (piece = readOnce(content, size, state)) != "END";)
                {
                    total += piece.size();
                }
            });
        EXPECT_EQ(message, path + " has become shorter: it ended behind 100000 of 200000 bytes");
        EXPECT_EQ(total, 100000U) << "what was there was delivered";
        EXPECT_TRUE(endedBadly(content, state));
        EXPECT_NE(contentRefusal([&] { readOnce(content, size, state); }), "") << "it never turns into an end";
    }
}

/// Memory that nobody may write to: a read into it fails.
class ForbiddenMemory
{
public:
    static constexpr size_t SIZE = 65536;

    ForbiddenMemory() : m_memory(::mmap(nullptr, SIZE, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0)) {}
    ForbiddenMemory(const ForbiddenMemory&) = delete;
    ForbiddenMemory& operator=(const ForbiddenMemory&) = delete;
    ~ForbiddenMemory() { ::munmap(m_memory, SIZE); }

    char* get() const { return static_cast<char*>(m_memory); }

private:
    void* const m_memory;
};

TEST(FileContent, AFileThatCannotBeReadThrowsTheSystemsReason)
{
    const TemporaryDirectory directory;
    const std::string path = directory.write("a", "abc");
    const ContentRef content = file(path);
    const ContentStreamStateRef state = content->createInitialStreamState();
    const ForbiddenMemory memory;
    EXPECT_EQ(contentRefusal([&] { content->getData(memory.get(), ForbiddenMemory::SIZE, state); }),
              "Cannot read " + path + ": 14(Bad address)");
    EXPECT_EQ(errorCodeOf([&] { content->getData(memory.get(), ForbiddenMemory::SIZE, state); }), EFAULT);
    EXPECT_TRUE(endedBadly(content, state));
    EXPECT_EQ(readOnce(content, 3, state), "abc") << "nothing was lost";
    EXPECT_FALSE(endedBadly(content, state));
    EXPECT_EQ(errorCodeOf([] { file("/proc/self/mem"); }), EIO) << "the first page is never there";
}

TEST(FileContent, KeepsErrno)
{
    const TemporaryDirectory directory;
    const std::string path = directory.write("a", "abc");
    errno = EXDEV;
    EXPECT_NE(contentRefusal([&] { file(path + "missing"); }), "");
    EXPECT_EQ(errno, EXDEV);
    const ContentRef content = file(path);
    const ContentStreamStateRef state = content->createInitialStreamState();
    const ForbiddenMemory memory;
    errno = EXDEV;
    EXPECT_NE(contentRefusal([&] { content->getData(memory.get(), ForbiddenMemory::SIZE, state); }), "");
    EXPECT_EQ(errno, EXDEV);
}

TEST(FileContent, IsReadByManyReadersOnManyThreadsAtOnce)
{
    const TemporaryDirectory directory;
    const std::string bytes = zol_test::distinctBytes(300000);
    const ContentRef content = file(directory.write("a", bytes));
    std::vector<std::string> results(4);
    std::vector<std::thread> threads;
    for (size_t i = 0; i < results.size(); ++i)
    {
        threads.emplace_back([&content, &results, i] { results[i] = readAll(content, i % 2 == 0 ? 1000 : 70000); });
    }
    for (std::thread& thread : threads)
    {
        thread.join();
    }
    for (const std::string& result : results)
    {
        EXPECT_EQ(result, bytes);
    }
}

TEST(FileContent, KeepsOneDescriptorHoweverManyReadersThereAre)
{
    const TemporaryDirectory directory;
    const std::string path = std::filesystem::canonical(directory.write("a", "abc")).string();
    {
        const ContentRef content = file(path);
        const ContentRef copy(new FileContent(dynamic_cast<FileContent&>(*content)));
        EXPECT_EQ(readAll(content, 2), "abc");
        const ContentStreamStateRef one = content->createInitialStreamState();
        const ContentStreamStateRef two = copy->createInitialStreamState();
        EXPECT_EQ(readOnce(content, 2, one), "ab");
        EXPECT_EQ(readOnce(copy, 9, two), "abc");
        EXPECT_EQ(timesOpen(path), 1);
    }
    EXPECT_EQ(timesOpen(path), 0);
    EXPECT_NE(contentRefusal([&] { range(path, 4, 1); }), "");
    EXPECT_EQ(timesOpen(path), 0) << "a refused one keeps none";
}

TEST(FileContent, TheDescriptorIsNotInherited)
{
    const TemporaryDirectory directory;
    const std::string path = std::filesystem::canonical(directory.write("a", "abc")).string();
    const ContentRef content = file(path);
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd"))
    {
        std::error_code gone;
        if (std::filesystem::read_symlink(entry.path(), gone) == path)
        {
            const int flags = ::fcntl(std::stoi(entry.path().filename()), F_GETFD);
            EXPECT_NE(flags & FD_CLOEXEC, 0);
        }
    }
}

TEST(FileContent, ATypeThatIsNoneIsRefused)
{
    const TemporaryDirectory directory;
    const std::string path = directory.write("a", "abc");
    EXPECT_THAT(contentRefusal([&] { FileContent(path, "jpeg"); }), HasSubstr("is not a media type"));
}

TEST(FileContent, ANullStateAndOneOfAnotherKindAreRefused)
{
    const TemporaryDirectory directory;
    const ContentRef content = file(directory.write("a", "abc"));
    const ContentStreamStateRef foreign = TextPlainContent("x").createInitialStreamState();
    char byte = 0;
    EXPECT_THROW(content->getData(&byte, 1, ContentStreamStateRef()), blocxx::NULLReferenceException);
    EXPECT_THROW(content->getData(&byte, 1, foreign), blocxx::NULLReferenceException);
    EXPECT_THROW(endedBadly(content, ContentStreamStateRef()), blocxx::NULLReferenceException);
}

TEST(FileContent, IsAStreamAPartAndABio)
{
    const TemporaryDirectory directory;
    const std::string bytes = zol_test::distinctBytes(100000);
    const std::string path = directory.write("a", bytes);
    const ContentRef content = file(path);
    ZOLNS2::HTTP::MIMEContentIStream stream(content);
    EXPECT_EQ(std::string((std::istreambuf_iterator<char>(stream)), std::istreambuf_iterator<char>()), bytes);
    EXPECT_FALSE(stream.bad());
    const blocxx::IntrusiveReference<MultipartMixedContent> mixed(new MultipartMixedContent("x"));
    mixed->addPart(content);
    EXPECT_EQ(readAll(mixed, 5000), "--x\r\ncontent-type: application/octet-stream\r\n\r\n" + bytes + "\r\n--x--");
    BIO* const bio = BIO_new_httpcontent(content);
    std::string read(200000, '\0');
    EXPECT_EQ(BIO_read(bio, read.data(), 200000), 100000);
    BIO_free(bio);
    std::filesystem::resize_file(path, 50000);
    ZOLNS2::HTTP::MIMEContentIStream cut(content);
    cut.read(read.data(), 200000);
    EXPECT_EQ(read.substr(0, static_cast<size_t>(cut.gcount())), bytes.substr(0, 50000));
    EXPECT_TRUE(cut.bad()) << "a file that was cut does not look whole";
}

} // namespace
