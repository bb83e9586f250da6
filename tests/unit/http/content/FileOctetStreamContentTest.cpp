#include "ReadOnce.hpp"
#include "support/ScriptedContent.hpp"
#include "support/TemporaryDirectory.hpp"
#include "support/TextOf.hpp"

#include "blocxx/NULLReferenceException.hpp"
#include "zol/mime/ContentException.hpp"
#include "zol/mime/OctetStreamContent.hpp"

#include <gtest/gtest.h>

#include <pthread.h>

#include <cerrno>
#include <filesystem>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

using namespace ZOLNS2::MIME;
using blocxx::Array;
using blocxx::String;
using zol_test::readOnce;
using zol_test::TemporaryDirectory;
using zol_test::textOf;

namespace
{

ContentRef files(const std::vector<std::string>& names)
{
    return ContentRef(new FileApplicationOctetStreamContent(Array<String>(names.begin(), names.end())));
}

/// How many descriptors of this process refer to the file.
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

} // namespace

TEST(FileApplicationOctetStreamContent, TypeHasNoParameters)
{
    EXPECT_EQ(toString(files({"/nowhere"})->getContentType()), "application/octet-stream");
}

TEST(FileApplicationOctetStreamContent, FilesFollowEachOther)
{
    const TemporaryDirectory folder;
    const ContentRef content = files({folder.write("a", "abc"), folder.write("b", "defg")});
    EXPECT_TRUE(content->hasContentLength());
    EXPECT_EQ(content->getContentLength(), 7U);
    const ContentStreamStateRef state = content->createInitialStreamState();
    EXPECT_EQ(readOnce(content, 100, state), "abc");
    EXPECT_EQ(readOnce(content, 100, state), "defg");
    EXPECT_EQ(readOnce(content, 100, state), "END");
    EXPECT_EQ(readOnce(content, 100, state), "END");
}

TEST(FileApplicationOctetStreamContent, OneFileCanBeGivenByItsName)
{
    const TemporaryDirectory folder;
    const ContentRef content(new FileApplicationOctetStreamContent(String(folder.write("a", "abc"))));
    EXPECT_EQ(textOf(content), "abc");
}

TEST(FileApplicationOctetStreamContent, ReadNeverCrossesTheEndOfAFile)
{
    const TemporaryDirectory folder;
    const ContentRef content = files({folder.write("a", "abc"), folder.write("b", "defg")});
    const ContentStreamStateRef state = content->createInitialStreamState();
    EXPECT_EQ(readOnce(content, 2, state), "ab");
    EXPECT_EQ(readOnce(content, 2, state), "c");
    EXPECT_EQ(readOnce(content, 2, state), "de");
    EXPECT_EQ(readOnce(content, 2, state), "fg");
    EXPECT_EQ(readOnce(content, 2, state), "");
    EXPECT_EQ(readOnce(content, 2, state), "END");
}

TEST(FileApplicationOctetStreamContent, ReadThatEndsExactlyWithTheFileIsFollowedByOneOfNoBytes)
{
    const TemporaryDirectory folder;
    const std::string text(100, 'x');
    const ContentRef content = files({folder.write("a", text)});
    const ContentStreamStateRef state = content->createInitialStreamState();
    EXPECT_EQ(readOnce(content, 100, state), text);
    EXPECT_EQ(readOnce(content, 100, state), "");
    EXPECT_EQ(readOnce(content, 100, state), "END");
}

TEST(FileApplicationOctetStreamContent, EmptyFilesAreReadsOfNoBytes)
{
    const TemporaryDirectory folder;
    const ContentRef content = files({folder.write("a", ""), folder.write("b", "x"), folder.write("c", "")});
    const ContentStreamStateRef state = content->createInitialStreamState();
    EXPECT_EQ(readOnce(content, 10, state), "");
    EXPECT_EQ(readOnce(content, 10, state), "x");
    EXPECT_EQ(readOnce(content, 10, state), "");
    EXPECT_EQ(readOnce(content, 10, state), "END");
    EXPECT_EQ(content->getContentLength(), 1U);
}

TEST(FileApplicationOctetStreamContent, RequestForNothingGivesNothing)
{
    const TemporaryDirectory folder;
    const ContentRef content = files({folder.write("a", "abc")});
    const ContentStreamStateRef state = content->createInitialStreamState();
    EXPECT_EQ(readOnce(content, 0, state), "");
    EXPECT_EQ(readOnce(content, 3, state), "abc");
}

TEST(FileApplicationOctetStreamContent, LargestRequestGivesTheRestOfTheFile)
{
    const TemporaryDirectory folder;
    const ContentRef content = files({folder.write("a", "abc")});
    char buffer[8];
    EXPECT_EQ(content->getData(buffer, END_OF_DATA, content->createInitialStreamState()), 3U);
}

TEST(FileApplicationOctetStreamContent, LargeRequestIsFilledInOneCall)
{
    const TemporaryDirectory folder;
    const std::string text = zol_test::distinctBytes(300000);
    const ContentRef content = files({folder.write("a", text)});
    const ContentStreamStateRef state = content->createInitialStreamState();
    EXPECT_EQ(readOnce(content, 300000, state), text);
    EXPECT_EQ(readOnce(content, 300000, state), "");
    EXPECT_EQ(readOnce(content, 300000, state), "END");
}

TEST(FileApplicationOctetStreamContent, LargeFilesArriveWhole)
{
    const TemporaryDirectory folder;
    const std::string first = zol_test::distinctBytes(50000);
    const std::string second = zol_test::distinctBytes(4096);
    EXPECT_EQ(textOf(files({folder.write("a", first), folder.write("b", second), folder.write("c", first)})),
              first + second + first);
}

TEST(FileApplicationOctetStreamContent, NoFilesGiveNoBytes)
{
    const ContentRef content = files({});
    EXPECT_EQ(content->getContentLength(), 0U);
    const ContentStreamStateRef state = content->createInitialStreamState();
    EXPECT_EQ(readOnce(content, 10, state), "");
    EXPECT_EQ(readOnce(content, 10, state), "END");
    EXPECT_EQ(readOnce(content, 10, state), "END");
}

TEST(FileApplicationOctetStreamContent, LengthOfAMissingFileThrowsTheSystemsError)
{
    const TemporaryDirectory folder;
    const ContentRef content = files({folder.write("a", "abc"), folder.file("missing")});
    try
    {
        content->getContentLength();
        FAIL() << "nothing thrown";
    }
    catch (const ContentException& exception)
    {
        EXPECT_STREQ(exception.getMessage(), "stat: 2(No such file or directory)");
        EXPECT_EQ(exception.getErrorCode(), ENOENT);
        EXPECT_EQ(exception.getSubClassId(), -1);
        EXPECT_EQ(exception.getSubException(), nullptr);
        EXPECT_STREQ(exception.getFile(), "HTTPContent");
        EXPECT_GT(exception.getLine(), 0);
    }
}

TEST(FileApplicationOctetStreamContent, LengthIsThatOfTheFilesNow)
{
    const TemporaryDirectory folder;
    const ContentRef content = files({folder.write("a", "abc")});
    EXPECT_EQ(content->getContentLength(), 3U);
    folder.write("a", "abcdef");
    EXPECT_EQ(content->getContentLength(), 6U);
}

TEST(FileApplicationOctetStreamContent, LengthsBeyondFourGigabytesAddUp)
{
    const TemporaryDirectory folder;
    const std::string large = folder.writeSparse("large", 3ULL << 30U);
    EXPECT_EQ(files({large, large})->getContentLength(), 6ULL << 30U);
}

TEST(FileApplicationOctetStreamContent, EveryReadingOpensTheFilesAgain)
{
    const TemporaryDirectory folder;
    const ContentRef content = files({folder.write("a", "old")});
    EXPECT_EQ(textOf(content), "old");
    folder.write("a", "new bytes");
    EXPECT_EQ(textOf(content), "new bytes");
}

TEST(FileApplicationOctetStreamContent, ReadingsAreIndependent)
{
    const TemporaryDirectory folder;
    const ContentRef content = files({folder.write("a", "abc")});
    const ContentStreamStateRef first = content->createInitialStreamState();
    const ContentStreamStateRef second = content->createInitialStreamState();
    EXPECT_EQ(readOnce(content, 2, first), "ab");
    EXPECT_EQ(readOnce(content, 2, second), "ab");
}

TEST(FileApplicationOctetStreamContent, FileIsOpenOnlyWhileAReadingLives)
{
    const TemporaryDirectory folder;
    const std::string name = folder.write("a", "abc");
    const ContentRef content = files({name});
    EXPECT_EQ(timesOpen(name), 0);
    ContentStreamStateRef state = content->createInitialStreamState();
    EXPECT_EQ(timesOpen(name), 1);
    state = nullptr;
    EXPECT_EQ(timesOpen(name), 0);
}

TEST(FileApplicationOctetStreamContent, FileIsClosedWhenTheNextIsOpened)
{
    const TemporaryDirectory folder;
    const std::string first = folder.write("a", "abc");
    const std::string second = folder.write("b", "def");
    const ContentRef content = files({first, second});
    const ContentStreamStateRef state = content->createInitialStreamState();
    readOnce(content, 10, state);
    readOnce(content, 10, state);
    EXPECT_EQ(timesOpen(first), 0);
    EXPECT_EQ(timesOpen(second), 1);
}

TEST(FileApplicationOctetStreamContent, FirstFileThatCannotBeOpenedNeverEnds)
{
    const TemporaryDirectory folder;
    const ContentRef content = files({folder.file("missing"), folder.write("b", "never reached")});
    const ContentStreamStateRef state = content->createInitialStreamState();
    for (int i = 0; i < 100; ++i)
    {
        EXPECT_EQ(readOnce(content, 10, state), "");
    }
}

TEST(FileApplicationOctetStreamContent, LaterFileThatCannotBeOpenedEndsTheBodyOnce)
{
    const TemporaryDirectory folder;
    const ContentRef content = files({folder.write("a", "abc"), folder.file("missing"), folder.write("c", "def")});
    const ContentStreamStateRef state = content->createInitialStreamState();
    EXPECT_EQ(readOnce(content, 10, state), "abc");
    EXPECT_EQ(readOnce(content, 10, state), "END");
    for (int i = 0; i < 100; ++i)
    {
        EXPECT_EQ(readOnce(content, 10, state), "");
    }
}

TEST(FileApplicationOctetStreamContent, ReadErrorIsNotThrownAndNeverEnds)
{
    const TemporaryDirectory folder;
    const ContentRef content = files({folder.path().string()});
    const ContentStreamStateRef state = content->createInitialStreamState();
    EXPECT_EQ(readOnce(content, 10, state), "");
    EXPECT_EQ(readOnce(content, 10, state), "");
}

TEST(FileApplicationOctetStreamContent, NullAndForeignStatesAreRefused)
{
    const ContentRef content = files({});
    char buffer[3];
    EXPECT_THROW(content->getData(buffer, 3, ContentStreamStateRef()), blocxx::NULLReferenceException);
    EXPECT_THROW(content->getData(buffer, 3, ApplicationOctetStreamContent("x", 1).createInitialStreamState()),
                 blocxx::NULLReferenceException);
}

TEST(FileApplicationOctetStreamContent, FileOfNoBytesAtABorderGivesOneEmptyRead)
{
    const TemporaryDirectory directory;
    const ContentRef content =
        files({directory.write("a", "abc"), directory.write("empty", ""), directory.write("b", "de")});
    const ContentStreamStateRef state = content->createInitialStreamState();
    EXPECT_EQ(readOnce(content, 100, state), "abc");
    EXPECT_EQ(readOnce(content, 100, state), "");
    EXPECT_EQ(readOnce(content, 100, state), "de");
    EXPECT_EQ(readOnce(content, 100, state), "END");
}

TEST(FileApplicationOctetStreamContent, LengthSaysWhyAFileCannotBeExamined)
{
    const TemporaryDirectory directory;
    const std::string file = directory.write("file", "x");
    for (const auto& [path, error] :
         {std::pair(file + "/below", ENOTDIR), std::pair(std::string(5000, 'n'), ENAMETOOLONG)})
    {
        try
        {
            files({path})->getContentLength();
            FAIL() << path;
        }
        catch (const ContentException& exception)
        {
            EXPECT_EQ(exception.getErrorCode(), error);
            EXPECT_EQ(std::string(exception.getMessage()).rfind("stat: " + std::to_string(error) + "(", 0), 0U)
                << exception.getMessage();
        }
    }
}

TEST(FileApplicationOctetStreamContent, OpensOnlyTheFirstFileAtFirst)
{
    const TemporaryDirectory directory;
    const std::string first = directory.write("a", "abc");
    const std::string second = directory.write("b", "de");
    const ContentRef content = files({first, second});
    const ContentStreamStateRef state = content->createInitialStreamState();
    EXPECT_EQ(timesOpen(first), 1);
    EXPECT_EQ(timesOpen(second), 0);
    readOnce(content, 100, state);
    EXPECT_EQ(timesOpen(second), 0);
    readOnce(content, 100, state);
    EXPECT_EQ(timesOpen(first), 0);
    EXPECT_EQ(timesOpen(second), 1);
}

TEST(FileApplicationOctetStreamContent, ReadingIsReleasedInAThreadThatIsBeingCancelled)
{
    const TemporaryDirectory directory;
    const std::string path = directory.write("file", "abc");
    struct Plan
    {
        const std::string& path;
        bool released;
    } plan{path, false};
    pthread_t thread{};
    ASSERT_EQ(pthread_create(
                  &thread, nullptr,
                  [](void* argument) -> void*
                  {
                      auto& own = *static_cast<Plan*>(argument);
                      ContentStreamStateRef state = files({own.path})->createInitialStreamState();
                      pthread_cancel(pthread_self());
                      state = ContentStreamStateRef();
                      own.released = true;
                      pthread_testcancel();
                      return nullptr;
                  },
                  &plan),
              0);
    void* result = nullptr;
    ASSERT_EQ(pthread_join(thread, &result), 0);
    EXPECT_EQ(result, PTHREAD_CANCELED);
    EXPECT_TRUE(plan.released);
    EXPECT_EQ(timesOpen(path), 0);
}
