#include "zol/mime/Content.hpp"

#include "support/ScriptedContent.hpp"

#include "blocxx/NULLReferenceException.hpp"
#include "zol/mime/ContentException.hpp"
#include "zol/mime/TextContent.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>

using namespace ZOLNS2::MIME;
using zol_test::scripted;
using zol_test::ScriptedContent;

namespace
{

constexpr size_t EVERYTHING = std::numeric_limits<size_t>::max();

std::string textOf(const blocxx::Array<char>& bytes)
{
    return std::string(bytes.begin(), bytes.end());
}

} // namespace

TEST(ContentStreamState, CanBeCreated)
{
    const ContentStreamStateRef state(new ContentStreamState);
    EXPECT_TRUE(state);
    EXPECT_FALSE(state.cast_to<TextContentStreamState>());
}

TEST(Content, EndOfDataIsTheLargestSize)
{
    EXPECT_EQ(END_OF_DATA, std::numeric_limits<size_t>::max());
    EXPECT_EQ(END_OF_DATA, static_cast<size_t>(-1));
}

TEST(GetContentData, RequestForNothingDoesNotAskTheContent)
{
    const auto content = scripted({"abc"});
    EXPECT_TRUE(getContentData(content, 0).empty());
    ContentStreamStateRef state = content->createInitialStreamState();
    EXPECT_TRUE(getContentData(content, state, 0).empty());
    EXPECT_TRUE(content->requests.empty());
}

TEST(GetContentData, GivesExactlyAsMuchAsAskedFor)
{
    const auto content = scripted({"abcdef"});
    EXPECT_EQ(textOf(getContentData(content, 4)), "abcd");
    EXPECT_THAT(content->requests, testing::ElementsAre(4U));
}

TEST(GetContentData, GivesAllWhenMoreIsAskedForThanThereIs)
{
    EXPECT_EQ(textOf(getContentData(scripted({"abc", "def"}), 100)), "abcdef");
}

TEST(GetContentData, LargestLengthReadsToTheEnd)
{
    const std::string bytes = zol_test::distinctBytes(10000);
    EXPECT_EQ(textOf(getContentData(scripted({bytes}), EVERYTHING)), bytes);
}

TEST(GetContentData, ReadsInSlicesOf2048)
{
    const auto content = scripted({std::string(5000, 'x')});
    EXPECT_EQ(getContentData(content, 5000).size(), 5000U);
    EXPECT_THAT(content->requests, testing::ElementsAre(2048U, 2048U, 904U));
}

TEST(GetContentData, StopsWithoutAFurtherRequestWhenTheLengthIsReached)
{
    const auto content = scripted({"abc"});
    EXPECT_EQ(textOf(getContentData(content, 3)), "abc");
    EXPECT_EQ(content->requests.size(), 1U);
}

TEST(GetContentData, ReadOfNoBytesIsNotTheEnd)
{
    EXPECT_EQ(textOf(getContentData(scripted({"abc", "", "", "def"}), EVERYTHING)), "abcdef");
}

TEST(GetContentData, EmptyContentGivesNothing)
{
    EXPECT_TRUE(getContentData(scripted({}), EVERYTHING).empty());
}

TEST(GetContentData, WithoutStateEachCallReadsFromTheFirstByte)
{
    const auto content = scripted({"abcdef"});
    EXPECT_EQ(textOf(getContentData(content, 3)), "abc");
    EXPECT_EQ(textOf(getContentData(content, 3)), "abc");
}

TEST(GetContentData, WithOneStateCallsGiveConsecutiveSlices)
{
    const auto content = scripted({"abcdefgh"});
    ContentStreamStateRef state = content->createInitialStreamState();
    EXPECT_EQ(textOf(getContentData(content, state, 3)), "abc");
    EXPECT_EQ(textOf(getContentData(content, state, 3)), "def");
    EXPECT_EQ(textOf(getContentData(content, state, 3)), "gh");
    EXPECT_EQ(textOf(getContentData(content, state, 3)), "");
}

TEST(GetContentData, NullContentWithoutStateIsRefused)
{
    try
    {
        getContentData(ContentRef(), 10);
        FAIL() << "not refused";
    }
    catch (const ContentException& exception)
    {
        EXPECT_STREQ(exception.getMessage(), "Unable to get content data: Null content supplied");
        EXPECT_STREQ(exception.getFile(), "HTTPContent");
        EXPECT_GT(exception.getLine(), 0);
        EXPECT_EQ(exception.getErrorCode(), -1);
        EXPECT_EQ(exception.getSubClassId(), -1);
        EXPECT_EQ(exception.getSubException(), nullptr);
    }
}

TEST(GetContentData, NullContentWithoutStateIsRefusedEvenForNoBytes)
{
    EXPECT_THROW(getContentData(ContentRef(), 0), ContentException);
}

TEST(GetContentData, NullContentWithStateIsANullReference)
{
    ContentStreamStateRef state = scripted({})->createInitialStreamState();
    EXPECT_THROW(getContentData(ContentRef(), state, 10), blocxx::NULLReferenceException);
}

TEST(GetContentData, ExceptionOfTheContentPasses)
{
    const auto content = scripted({"abc", "def"});
    content->throwAtPiece = 1;
    EXPECT_THROW(getContentData(content, EVERYTHING), std::runtime_error);
}

TEST(Content, IsDestroyedWithItsLastHandle)
{
    struct Watched : ScriptedContent
    {
        explicit Watched(bool& gone) : ScriptedContent({}), m_gone(gone) {}
        ~Watched() override { m_gone = true; }
        bool& m_gone;
    };
    bool gone = false;
    ContentRef first(new Watched(gone));
    Contents contents;
    contents.push_back(first);
    first = nullptr;
    EXPECT_FALSE(gone);
    contents.clear();
    EXPECT_TRUE(gone);
}

TEST(GetContentData, AsksAContentOfNoBytesForItsEnd)
{
    // A content whose length is 0 may still have bytes to deliver: the length is ignored.
    const ContentRef content(new ScriptedContent({"ab"}));
    dynamic_cast<ScriptedContent&>(*content).announcedLength = 0;
    EXPECT_EQ(content->getContentLength(), 0U);
    EXPECT_EQ(getContentData(content, END_OF_DATA).size(), 2U);
    const ContentRef empty(new ScriptedContent({}));
    EXPECT_TRUE(getContentData(empty, 10).empty());
    EXPECT_EQ(dynamic_cast<ScriptedContent&>(*empty).requests.size(), 1U);
}
