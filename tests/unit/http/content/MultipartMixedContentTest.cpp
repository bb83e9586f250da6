#include "zol/mime/MultipartMixedContent.hpp"

#include "support/ScriptedContent.hpp"

#include "blocxx/NULLReferenceException.hpp"
#include "zol/mime/ContentException.hpp"
#include "zol/mime/OctetStreamContent.hpp"
#include "zol/mime/TextContent.hpp"

#include <gtest/gtest.h>

#include <cstring>
#include <limits>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace
{

using namespace ZOLNS2::MIME;
using blocxx::IntrusiveReference;
using zol_test::ScriptedContent;
using State = MultipartMixedContentStreamState;

/// All bytes from the state's position on, in reads of `size`.
std::string readAll(Content& content, const ContentStreamStateRef& state, size_t size)
{
    std::string all;
    std::vector<char> buffer(size);
    for (size_t got = content.getData(buffer.data(), size, state); got != END_OF_DATA;
         got = content.getData(buffer.data(), size, state))
    {
        all.append(buffer.data(), got);
    }
    return all;
}

std::string readAll(Content& content, size_t size = 4096)
{
    return readAll(content, content.createInitialStreamState(), size);
}

ContentRef octets(const std::string& bytes)
{
    return ContentRef(new ApplicationOctetStreamContent(bytes.data(), bytes.size()));
}

const ContentTypeHeader TEXT("text", "plain", blocxx::Array<ZOLNS2::HTTP::Parameter>());

/// A part of type text/plain, without parameters.
IntrusiveReference<ScriptedContent> plain(const std::string& bytes)
{
    IntrusiveReference<ScriptedContent> part = zol_test::scripted({bytes});
    part->type = TEXT;
    return part;
}

/// Records every call but those about the length.
class RecordingContent : public ScriptedContent
{
public:
    RecordingContent(const std::string& name, std::vector<std::string>& calls)
        : ScriptedContent({name}), m_name(name), m_calls(calls)
    {
    }

    ContentTypeHeader getContentType() override
    {
        m_calls.push_back(m_name + " type");
        return ScriptedContent::getContentType();
    }
    size_t getData(char* buffer, size_t count, const ContentStreamStateRef& state) override
    {
        m_calls.push_back(m_name + " data");
        return ScriptedContent::getData(buffer, count, state);
    }
    ContentStreamStateRef createInitialStreamState() const override
    {
        m_calls.push_back(m_name + " state");
        return ScriptedContent::createInitialStreamState();
    }

private:
    std::string m_name;
    std::vector<std::string>& m_calls;
};

TEST(MultipartMixedContent, OnePartIsWrittenBetweenItsDelimiters)
{
    MultipartMixedContent content("b");
    content.addPart(plain("hi"));
    EXPECT_EQ(readAll(content), "--b\r\ncontent-type: text/plain\r\n\r\nhi\r\n--b--");
    EXPECT_EQ(content.getContentLength(), 42U);
}

TEST(MultipartMixedContent, OneDelimiterSeparatesTwoParts)
{
    Contents parts;
    parts.push_back(plain("first"));
    parts.push_back(octets("second"));
    MultipartMixedContent content(parts, "b");
    EXPECT_EQ(readAll(content), "--b\r\ncontent-type: text/plain\r\n\r\nfirst"
                                "\r\n--b\r\ncontent-type: application/octet-stream\r\n\r\nsecond"
                                "\r\n--b--");
}

TEST(MultipartMixedContent, EmptyPartsAreWrittenAsEmptyBodies)
{
    MultipartMixedContent content("b");
    content.addPart(octets(""));
    content.addPart(octets(""));
    EXPECT_EQ(readAll(content), "--b\r\ncontent-type: application/octet-stream\r\n\r\n"
                                "\r\n--b\r\ncontent-type: application/octet-stream\r\n\r\n"
                                "\r\n--b--");
    EXPECT_EQ(content.getContentLength(), readAll(content).size());
}

TEST(MultipartMixedContent, ItsTypeNamesTheBoundary)
{
    MultipartMixedContent content("a b");
    EXPECT_EQ(toString(content.getContentType()), "multipart/mixed; boundary=\"a b\"");
    EXPECT_EQ(content.getContentType().getContentTypeString(), "");
    EXPECT_EQ(content.getBoundary(), "a b");
    content.setBoundary("c");
    EXPECT_EQ(toString(content.getContentType()), "multipart/mixed; boundary=c");
    EXPECT_EQ(content.getBoundary(), "c");
}

TEST(MultipartMixedContent, WithoutPartsTheLengthIsThatOfADelimiterWhichIsNotWritten)
{
    MultipartMixedContent content("bound");
    EXPECT_TRUE(content.hasContentLength());
    EXPECT_EQ(content.getContentLength(), 5U + 4U);
    const ContentStreamStateRef state = content.createInitialStreamState();
    char buffer[16];
    EXPECT_EQ(content.getData(buffer, sizeof buffer, state), END_OF_DATA);
    EXPECT_EQ(content.getData(buffer, sizeof buffer, nullptr), END_OF_DATA) << "the state is ignored";
}

TEST(MultipartMixedContent, APartWithoutALengthLeavesTheWholeWithoutOne)
{
    const IntrusiveReference<ScriptedContent> second = plain("y");
    second->lengthIsKnown = false;
    const IntrusiveReference<ScriptedContent> third = plain("z");
    MultipartMixedContent content("b");
    content.addPart(octets("x"));
    content.addPart(second);
    content.addPart(third);
    EXPECT_FALSE(content.hasContentLength());
    EXPECT_EQ(third->lengthQuestions, 0) << "the first part without a length decides";
    try
    {
        content.getContentLength();
        FAIL() << "no exception";
    }
    catch (const ContentException& e)
    {
        EXPECT_STREQ(e.getMessage(), "No ContentLength");
        EXPECT_EQ(e.getErrorCode(), 0);
        EXPECT_STREQ(e.getFile(), "HTTPContent");
        EXPECT_EQ(e.getSubClassId(), -1);
    }
    EXPECT_NE(readAll(content).find("\r\n\r\ny\r\n--b"), std::string::npos) << "it is written all the same";
}

TEST(MultipartMixedContent, TheLengthTakesThePartsTypeBeforeItsLength)
{
    static std::string order;
    class OrderedContent : public TextPlainContent
    {
    public:
        OrderedContent() : TextPlainContent("abc") {}
        ContentTypeHeader getContentType() override
        {
            order += 't';
            return TextPlainContent::getContentType();
        }
        size_t getContentLength() override
        {
            order += 'l';
            return TextPlainContent::getContentLength();
        }
    };
    order.clear();
    MultipartMixedContent content("B");
    content.addPart(ContentRef(new OrderedContent));
    content.addPart(ContentRef(new OrderedContent));
    content.getContentLength();
    EXPECT_EQ(order, "tltl");
}

TEST(MultipartMixedContent, TheLengthIsAskedThroughTheVirtualFunction)
{
    class NeverKnown : public MultipartMixedContent
    {
    public:
        using MultipartMixedContent::MultipartMixedContent;
        bool hasContentLength() override { return false; }
    };
    NeverKnown content("b");
    content.addPart(octets("x"));
    EXPECT_THROW(content.getContentLength(), ContentException);
}

TEST(MultipartMixedContent, ARequestOfNothingReturnsTheEnd)
{
    MultipartMixedContent content("b");
    content.addPart(octets("x"));
    const ContentStreamStateRef state = content.createInitialStreamState();
    EXPECT_EQ(content.getData(nullptr, 0, state), END_OF_DATA);
    EXPECT_EQ(readAll(content, state, 10), readAll(content)) << "and takes nothing away";
}

TEST(MultipartMixedContent, TheEndIsReportedAgainAndAgain)
{
    MultipartMixedContent content("b");
    content.addPart(octets("x"));
    const ContentStreamStateRef state = content.createInitialStreamState();
    readAll(content, state, 7);
    char buffer[8];
    EXPECT_EQ(content.getData(buffer, sizeof buffer, state), END_OF_DATA);
    EXPECT_EQ(content.getData(buffer, sizeof buffer, state), END_OF_DATA);
    EXPECT_EQ(state.cast_to<State>()->phase, State::E_FINISHED);
}

TEST(MultipartMixedContent, ARequestBeyondTwoGibibytesIsTakenAsOneBelow)
{
    const IntrusiveReference<ScriptedContent> part = plain("hi");
    MultipartMixedContent content("b");
    content.addPart(part);
    std::vector<char> buffer(1000);
    const size_t got = content.getData(buffer.data(), END_OF_DATA, content.createInitialStreamState());
    EXPECT_EQ(std::string(buffer.data(), got), "--b\r\ncontent-type: text/plain\r\n\r\nhi\r\n--b--");
    const size_t header = std::strlen("--b\r\ncontent-type: text/plain\r\n\r\n");
    ASSERT_FALSE(part->requests.empty());
    EXPECT_EQ(part->requests.front(), static_cast<size_t>(std::numeric_limits<int>::max()) - header);
}

TEST(MultipartMixedContent, AStateOfAnotherKindAndANullOneAreRefused)
{
    MultipartMixedContent content("b");
    content.addPart(octets("x"));
    char buffer[8];
    EXPECT_THROW(content.getData(buffer, sizeof buffer, octets("x")->createInitialStreamState()),
                 blocxx::NULLReferenceException);
    EXPECT_THROW(content.getData(buffer, sizeof buffer, nullptr), blocxx::NULLReferenceException);
}

TEST(MultipartMixedContent, ANullPartIsRefusedEverywhere)
{
    MultipartMixedContent content("b");
    content.addPart(ContentRef());
    EXPECT_THROW(content.hasContentLength(), blocxx::NULLReferenceException);
    EXPECT_THROW(content.getContentLength(), blocxx::NULLReferenceException);
    EXPECT_THROW(content.createInitialStreamState(), blocxx::NULLReferenceException);
    content.getParts()[0] = octets("x");
    content.addPart(ContentRef());
    EXPECT_THROW(readAll(content), blocxx::NULLReferenceException);
}

TEST(MultipartMixedContent, ASetBoundaryIsUsedByAllButTheFirstDelimiterOfAnOlderState)
{
    MultipartMixedContent content("old");
    content.addPart(plain("x"));
    content.addPart(plain("y"));
    const ContentStreamStateRef state = content.createInitialStreamState();
    content.setBoundary("new");
    EXPECT_EQ(readAll(content, state, 100), "--old\r\ncontent-type: text/plain\r\n\r\nx"
                                            "\r\n--new\r\ncontent-type: text/plain\r\n\r\ny\r\n--new--");
    EXPECT_EQ(readAll(content).substr(0, 5), "--new");
}

TEST(MultipartMixedContent, ItsPartsCanBeChangedInPlace)
{
    Contents parts;
    parts.push_back(plain("x"));
    MultipartMixedContent content(parts, "b");
    content.getParts().push_back(plain("y"));
    content.addPart(plain("z"));
    EXPECT_EQ(content.getParts().size(), 3U);
    EXPECT_EQ(parts.size(), 1U) << "the array given to the constructor is a copy";
}

TEST(MultipartMixedContent, TheFirstPartIsAskedForTwoStates)
{
    std::vector<std::string> calls;
    MultipartMixedContent content("b");
    content.addPart(ContentRef(new RecordingContent("1", calls)));
    content.addPart(ContentRef(new RecordingContent("2", calls)));
    const ContentStreamStateRef state = content.createInitialStreamState();
    EXPECT_EQ(calls, (std::vector<std::string>{"1 state"}));
    readAll(content, state, 1000);
    EXPECT_EQ(calls, (std::vector<std::string>{"1 state", "1 type", "1 state", "1 data", "1 data", "2 type", "2 state",
                                               "2 data", "2 data"}));
}

TEST(MultipartMixedContent, APartThatCanBeReadOnceMayStandAnywhereButFirst)
{
    const auto readableOnce = []
    {
        IntrusiveReference<ScriptedContent> part = plain("once");
        part->refusesSecondReader = true;
        return part;
    };
    MultipartMixedContent second("b");
    second.addPart(plain("x"));
    second.addPart(readableOnce());
    EXPECT_NE(readAll(second).find("once"), std::string::npos);

    MultipartMixedContent first("b");
    first.addPart(readableOnce());
    const ContentStreamStateRef state = first.createInitialStreamState();
    EXPECT_THROW(readAll(first, state, 1000), std::runtime_error);
}

TEST(MultipartMixedContent, APartThatHasNothingThisTimeIsAskedAgain)
{
    MultipartMixedContent content("b");
    const IntrusiveReference<ScriptedContent> part = zol_test::scripted(zol_test::byteByByte("slow"));
    part->type = TEXT;
    content.addPart(part);
    char buffer[200];
    const size_t got = content.getData(buffer, sizeof buffer, content.createInitialStreamState());
    EXPECT_EQ(std::string(buffer, got), "--b\r\ncontent-type: text/plain\r\n\r\nslow\r\n--b--");
}

TEST(MultipartMixedContent, AThrowingBodyLeavesTheStateInTheBody)
{
    MultipartMixedContent content("b");
    const IntrusiveReference<ScriptedContent> part = plain("hi");
    part->dataThrowsOnce = true;
    content.addPart(part);
    const ContentStreamStateRef state = content.createInitialStreamState();
    char buffer[200];
    EXPECT_THROW(content.getData(buffer, sizeof buffer, state), std::runtime_error);
    EXPECT_EQ(state.cast_to<State>()->phase, State::E_BODY);
    EXPECT_EQ(readAll(content, state, 100), "hi\r\n--b--") << "what the failed call had copied is lost";
}

TEST(MultipartMixedContent, AThrowingTypeLeavesTheStateAfterTheHeaderLine)
{
    MultipartMixedContent content("b");
    const IntrusiveReference<ScriptedContent> part = plain("hi");
    part->typeThrowsOnce = true;
    content.addPart(part);
    const ContentStreamStateRef state = content.createInitialStreamState();
    char buffer[200];
    EXPECT_THROW(content.getData(buffer, sizeof buffer, state), std::runtime_error);
    EXPECT_EQ(state.cast_to<State>()->phase, State::E_PART_HEADER);
    EXPECT_EQ(readAll(content, state, 100), "hi\r\n--b--");
}

TEST(MultipartMixedContent, AThrowingStateLeavesTheOldOne)
{
    MultipartMixedContent content("b");
    content.addPart(plain("x"));
    const IntrusiveReference<ScriptedContent> part = plain("hi");
    part->stateThrowsOnce = true;
    content.addPart(part);
    const ContentStreamStateRef state = content.createInitialStreamState();
    char buffer[200];
    EXPECT_THROW(content.getData(buffer, sizeof buffer, state), std::runtime_error);
    EXPECT_EQ(state.cast_to<State>()->phase, State::E_BODY);
    EXPECT_EQ(state.cast_to<State>()->partIndex, 1U);
}

TEST(MultipartMixedContent, PartsThatAreRemovedWhileOneIsBeingWrittenAreNotReached)
{
    MultipartMixedContent content("b");
    content.addPart(plain("x"));
    content.addPart(plain("y"));
    const ContentStreamStateRef state = content.createInitialStreamState();
    std::vector<char> buffer(readAll(content).rfind("\r\n\r\ny") + 4);
    content.getData(buffer.data(), buffer.size(), state);
    content.getParts().pop_back();
    EXPECT_THROW(content.getData(buffer.data(), buffer.size(), state), blocxx::OutOfBoundsException);
}

} // namespace
