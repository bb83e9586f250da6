#include "zol/mime/OctetStreamContent.hpp"

#include "support/ContentText.hpp"
#include "support/ScriptedContent.hpp"
#include "support/TemporaryDirectory.hpp"

#include "blocxx/NULLReferenceException.hpp"
#include "zol/mime/ContentException.hpp"
#include "zol/mime/TextContent.hpp"

#include <gtest/gtest.h>

#include <pthread.h>

#include <cerrno>
#include <cstddef>
#include <filesystem>
#include <iterator>
#include <limits>
#include <list>
#include <sstream>
#include <vector>

using namespace ZOLNS2::MIME;
using blocxx::Array;
using blocxx::String;
using zol_test::TemporaryDirectory;
using zol_test::textOf;

namespace
{

Array<unsigned char> bytes(const std::string& text)
{
    return Array<unsigned char>(text.begin(), text.end());
}

ContentRef files(const std::vector<std::string>& names)
{
    return ContentRef(new FileApplicationOctetStreamContent(Array<String>(names.begin(), names.end())));
}

/// What one getData() call delivers, or "END".
std::string readOnce(const ContentRef& content, size_t length, const ContentStreamStateRef& state)
{
    std::string buffer(length, '\0');
    const size_t count = content->getData(buffer.data(), length, state);
    return count == END_OF_DATA ? "END" : buffer.substr(0, count);
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

TEST(ApplicationOctetStreamContent, TypeHasNoParameters)
{
    ApplicationOctetStreamContent content("abc", 3);
    EXPECT_EQ(toString(content.getContentType()), "application/octet-stream");
    EXPECT_EQ(content.getContentType().getParameters().size(), 0U);
    EXPECT_EQ(content.getContentType().getContentTypeString(), "");
}

TEST(ApplicationOctetStreamContent, LengthIsKnown)
{
    ApplicationOctetStreamContent content(bytes("abcde"));
    EXPECT_TRUE(content.hasContentLength());
    EXPECT_EQ(content.getContentLength(), 5U);
}

TEST(ApplicationOctetStreamContent, ReadsGiveConsecutiveBytesAndThenTheEnd)
{
    const ContentRef content(new ApplicationOctetStreamContent("abcde", 5));
    const ContentStreamStateRef state = content->createInitialStreamState();
    EXPECT_EQ(readOnce(content, 2, state), "ab");
    EXPECT_EQ(readOnce(content, 2, state), "cd");
    EXPECT_EQ(readOnce(content, 2, state), "e");
    EXPECT_EQ(readOnce(content, 2, state), "END");
    EXPECT_EQ(readOnce(content, 2, state), "END");
}

TEST(ApplicationOctetStreamContent, EmptyOneIsAtItsEndAtOnce)
{
    const ContentRef empty(new ApplicationOctetStreamContent(Array<unsigned char>()));
    EXPECT_EQ(readOnce(empty, 2, empty->createInitialStreamState()), "END");
    const ContentRef null(new ApplicationOctetStreamContent(nullptr, 0));
    EXPECT_EQ(readOnce(null, 2, null->createInitialStreamState()), "END");
    EXPECT_EQ(null->getContentLength(), 0U);
}

TEST(ApplicationOctetStreamContent, RequestForNothingGivesNothing)
{
    const ContentRef content(new ApplicationOctetStreamContent("abc", 3));
    const ContentStreamStateRef state = content->createInitialStreamState();
    EXPECT_EQ(content->getData(nullptr, 0, state), 0U);
    EXPECT_EQ(readOnce(content, 3, state), "abc");
}

TEST(ApplicationOctetStreamContent, EveryByteValueIsDelivered)
{
    const std::string all = zol_test::distinctBytes(5000) + std::string("\0\xff", 2);
    EXPECT_EQ(textOf(ContentRef(new ApplicationOctetStreamContent(all.data(), all.size()))), all);
    EXPECT_EQ(textOf(ContentRef(new ApplicationOctetStreamContent(bytes(all)))), all);
}

TEST(ApplicationOctetStreamContent, KeepsTheBytesItWasGiven)
{
    Array<unsigned char> source = bytes("abc");
    const ContentRef content(new ApplicationOctetStreamContent(source));
    source[0] = 'x';
    EXPECT_EQ(textOf(content), "abc");
    source.clear();
    EXPECT_EQ(textOf(content), "abc");
}

TEST(ApplicationOctetStreamContent, NullAndForeignStatesAreRefused)
{
    ApplicationOctetStreamContent content("abc", 3);
    char buffer[3];
    EXPECT_THROW(content.getData(buffer, 3, ContentStreamStateRef()), blocxx::NULLReferenceException);
    EXPECT_THROW(content.getData(buffer, 3, TextPlainContent("x").createInitialStreamState()),
                 blocxx::NULLReferenceException);
    EXPECT_THROW(content.getData(buffer, 3, files({})->createInitialStreamState()), blocxx::NULLReferenceException);
}

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

TEST(ApplicationOctetStreamContent, KeepsItsBytesWhenTheCallersArrayIsChangedThroughAReference)
{
    Array<unsigned char> array = bytes("abc");
    unsigned char& first = array[0];
    const ContentRef content(new ApplicationOctetStreamContent(array));
    first = 'X';
    EXPECT_EQ(textOf(content), "abc");
}

TEST(ApplicationOctetStreamContent, IsMadeOfWhatGetContentDataReturns)
{
    const std::string all = zol_test::distinctBytes(40000);
    const ContentRef first(new ApplicationOctetStreamContent(all.data(), all.size()));
    const ContentRef second(new ApplicationOctetStreamContent(getContentData(first, END_OF_DATA)));
    EXPECT_EQ(textOf(second), all);
    EXPECT_EQ(second->getContentLength(), all.size());
}

TEST(ApplicationOctetStreamContent, KeepsItsBytesWhenACharArrayIsChangedThroughAReference)
{
    Array<char> array(3, 'a');
    char& first = array[0];
    const ContentRef content(new ApplicationOctetStreamContent(array));
    first = 'X';
    EXPECT_EQ(textOf(content), "aaa");
}

TEST(ApplicationOctetStreamContent, IsMadeOfTheBytesBetweenTwoIterators)
{
    const std::string text = std::string("a\0\xff", 3) + "b";
    const std::vector<unsigned char> octets(text.begin(), text.end());
    const std::list<char> list(text.begin(), text.end());
    std::istringstream stream(text);
    std::vector<std::byte> stdBytes;
    for (const char c : text)
    {
        stdBytes.push_back(static_cast<std::byte>(c));
    }
    const auto made = [](auto first, auto last)
    { return textOf(ContentRef(new ApplicationOctetStreamContent(first, last))); };
    EXPECT_EQ(made(text.begin(), text.end()), text);
    EXPECT_EQ(made(text.data(), text.data() + text.size()), text);
    EXPECT_EQ(made(octets.data(), octets.data() + octets.size()), text);
    EXPECT_EQ(made(octets.cbegin(), octets.cend()), text);
    EXPECT_EQ(made(list.begin(), list.end()), text);
    EXPECT_EQ(made(stdBytes.begin(), stdBytes.end()), text);
    EXPECT_EQ(made(std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()), text);
    EXPECT_EQ(made(text.end(), text.end()), "");
}

TEST(ApplicationOctetStreamContent, NeedsNoSpecialCaseForAnEmptyArray)
{
    const ContentRef octets(new ApplicationOctetStreamContent(Array<unsigned char>()));
    const ContentRef chars(new ApplicationOctetStreamContent(Array<char>()));
    EXPECT_EQ(octets->getContentLength(), 0U);
    EXPECT_EQ(chars->getContentLength(), 0U);
    EXPECT_EQ(textOf(octets), "");
    EXPECT_EQ(textOf(chars), "");
}

TEST(ApplicationOctetStreamContent, CopiesHoldTheBytes)
{
    const std::string all = zol_test::distinctBytes(40000);
    ContentRef assigned(new ApplicationOctetStreamContent("old", 3));
    ContentRef copied;
    {
        const ApplicationOctetStreamContent original(all.data(), all.size());
        copied = ContentRef(new ApplicationOctetStreamContent(original));
        dynamic_cast<ApplicationOctetStreamContent&>(*assigned) = original;
    }
    EXPECT_EQ(textOf(copied), all);
    EXPECT_EQ(textOf(assigned), all);
}

TEST(ApplicationOctetStreamContent, PositionPastTheSizeIsTheEnd)
{
    const ContentRef content(new ApplicationOctetStreamContent("abc", 3));
    const ContentStreamStateRef state = content->createInitialStreamState();
    auto& own = dynamic_cast<ApplicationOctetStreamContentStreamState&>(*state);
    for (const size_t position : {size_t{4}, END_OF_DATA})
    {
        own.position = position;
        EXPECT_EQ(readOnce(content, 2, state), "END");
        EXPECT_EQ(own.position, position);
    }
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
