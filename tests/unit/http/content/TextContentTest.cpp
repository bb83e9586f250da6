#include "zol/mime/TextContent.hpp"

#include "support/LogCapture.hpp"
#include "support/ScriptedContent.hpp"
#include "support/TextOf.hpp"

#include "blocxx/NULLReferenceException.hpp"
#include "zol/mime/OctetStreamContent.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <thread>

using namespace ZOLNS2::MIME;
using blocxx::Array;
using blocxx::String;
using zol_test::LogCapture;
using zol_test::textOf;

namespace
{

Array<unsigned short> units(std::initializer_list<unsigned short> values)
{
    return Array<unsigned short>(values.begin(), values.end());
}

ContentRef utf16(const Array<unsigned short>& text, unsigned int order)
{
    return ContentRef(new TextPlainContent(text, static_cast<TextContent::EByteOrderingFlag>(order)));
}

} // namespace

TEST(TextContent, StringIsAnUtf8Body)
{
    TextPlainContent content("hi");
    EXPECT_EQ(toString(content.getContentType()), "text/plain; charset=UTF-8");
    EXPECT_TRUE(content.hasContentLength());
    EXPECT_EQ(content.getContentLength(), 2U);
    EXPECT_EQ(content.getSubtype(), "plain");
}

TEST(TextContent, XmlDiffersInItsSubtypeAlone)
{
    TextXMLContent content("<a/>");
    EXPECT_EQ(content.getSubtype(), "xml");
    EXPECT_EQ(toString(content.getContentType()), "text/xml; charset=UTF-8");
    EXPECT_EQ(textOf(ContentRef(new TextXMLContent("<a/>"))), "<a/>");
    EXPECT_EQ(toString(TextXMLContent(units({1}), TextContent::E_BIG_ENDIAN).getContentType()),
              "text/xml; charset=UTF-16");
}

TEST(TextContent, TypeHasOneParameterAndNoHeaderText)
{
    const ContentTypeHeader type = TextPlainContent("hi").getContentType();
    EXPECT_EQ(type.getType(), "text");
    EXPECT_EQ(type.getSubType(), "plain");
    ASSERT_EQ(type.getParameters().size(), 1U);
    EXPECT_EQ(type.getParameterValue("charset"), "UTF-8");
    EXPECT_EQ(type.getContentTypeString(), "");
}

TEST(TextContent, ReadGivesTheBytesAndThenTheEnd)
{
    TextPlainContent content("hi");
    const ContentStreamStateRef state = content.createInitialStreamState();
    char buffer[10];
    EXPECT_EQ(content.getData(buffer, sizeof(buffer), state), 2U);
    EXPECT_EQ(std::string(buffer, 2), "hi");
    EXPECT_EQ(content.getData(buffer, sizeof(buffer), state), END_OF_DATA);
    EXPECT_EQ(content.getData(buffer, sizeof(buffer), state), END_OF_DATA);
}

TEST(TextContent, ReadsGiveConsecutiveBytes)
{
    TextPlainContent content("abcde");
    const ContentStreamStateRef state = content.createInitialStreamState();
    char buffer[2];
    EXPECT_EQ(content.getData(buffer, 2, state), 2U);
    EXPECT_EQ(content.getData(buffer, 2, state), 2U);
    EXPECT_EQ(std::string(buffer, 2), "cd");
    EXPECT_EQ(content.getData(buffer, 2, state), 1U);
    EXPECT_EQ(buffer[0], 'e');
}

TEST(TextContent, EmptyTextIsAtItsEndAtOnce)
{
    TextPlainContent content((String()));
    EXPECT_EQ(content.getContentLength(), 0U);
    char buffer[1];
    EXPECT_EQ(content.getData(buffer, 1, content.createInitialStreamState()), END_OF_DATA);
    EXPECT_EQ(utf16(Array<unsigned short>(), 0)->getContentLength(), 0U);
}

TEST(TextContent, RequestForNothingGivesNothingAndMovesNothing)
{
    TextPlainContent content("abc");
    const ContentStreamStateRef state = content.createInitialStreamState();
    EXPECT_EQ(content.getData(nullptr, 0, state), 0U);
    char buffer[3];
    EXPECT_EQ(content.getData(buffer, 3, state), 3U);
    EXPECT_EQ(content.getData(nullptr, 0, state), END_OF_DATA);
}

TEST(TextContent, LargestRequestGivesTheRest)
{
    TextPlainContent content("abc");
    char buffer[3];
    EXPECT_EQ(content.getData(buffer, END_OF_DATA, content.createInitialStreamState()), 3U);
}

TEST(TextContent, ZeroBytesInsideTheTextAreKept)
{
    EXPECT_EQ(textOf(ContentRef(new TextPlainContent(String("a\0b", 3)))), std::string("a\0b", 3));
}

TEST(TextContent, TextIsNotChecked)
{
    EXPECT_EQ(textOf(ContentRef(new TextPlainContent("\xff\xfe"))), "\xff\xfe");
}

TEST(TextContent, LittleEndianUnitsHaveTheLowByteFirst)
{
    const ContentRef content = utf16(units({0x0041, 0x00E9, 0xD83D}), TextContent::E_LITTLE_ENDIAN);
    EXPECT_EQ(textOf(content), std::string("\x41\x00\xE9\x00\x3D\xD8", 6));
    EXPECT_EQ(content->getContentLength(), 6U);
    EXPECT_EQ(toString(content->getContentType()), "text/plain; charset=UTF-16");
}

TEST(TextContent, BigEndianUnitsHaveTheHighByteFirst)
{
    const ContentRef content = utf16(units({0x0041, 0x00E9, 0xD83D}), TextContent::E_BIG_ENDIAN);
    EXPECT_EQ(textOf(content), std::string("\x00\x41\x00\xE9\xD8\x3D", 6));
    EXPECT_EQ(toString(content->getContentType()), "text/plain; charset=UTF-16");
}

TEST(TextContent, AnyOtherOrderIsThatOfTheHostsMemory)
{
    const Array<unsigned short> text = units({0x0041, 0xD83D});
    std::string inMemory(4, '\0');
    std::memcpy(inMemory.data(), &text[0], 4);
    EXPECT_EQ(textOf(utf16(text, 2)), inMemory);
    EXPECT_EQ(textOf(utf16(text, 4000000000U)), inMemory);
}

TEST(TextContent, OrderFlagHasTheValuesZeroAndOne)
{
    EXPECT_EQ(static_cast<int>(TextContent::E_LITTLE_ENDIAN), 0);
    EXPECT_EQ(static_cast<int>(TextContent::E_BIG_ENDIAN), 1);
}

TEST(TextContent, NullStateIsRefused)
{
    TextPlainContent content("abc");
    char buffer[3];
    EXPECT_THROW(content.getData(buffer, 3, ContentStreamStateRef()), blocxx::NULLReferenceException);
    const LogCapture log;
    EXPECT_THROW(content.getData(buffer, 3, ContentStreamStateRef()), blocxx::NULLReferenceException);
    EXPECT_TRUE(log.records().empty());
}

TEST(TextContent, StateOfAnotherKindIsRefused)
{
    TextPlainContent content("abc");
    const ContentStreamStateRef foreign = ApplicationOctetStreamContent("abc", 3).createInitialStreamState();
    char buffer[3];
    EXPECT_THROW(content.getData(buffer, 3, foreign), blocxx::NULLReferenceException);
}

TEST(TextContent, StateOutlivesItsContent)
{
    ContentStreamStateRef state;
    {
        const ContentRef content(new TextPlainContent("abc"));
        state = content->createInitialStreamState();
    }
    TextPlainContent other("xyz");
    char buffer[3];
    EXPECT_EQ(other.getData(buffer, 3, state), 3U);
}

TEST(TextContent, ReadIsLoggedAtDebug2)
{
    const LogCapture log;
    TextPlainContent content("abcde");
    const ContentStreamStateRef state = content.createInitialStreamState();
    char buffer[3];
    content.getData(buffer, 3, state);
    content.getData(buffer, 3, state);
    content.getData(buffer, 3, state);
    EXPECT_THAT(log.messages("zol.common.http.content"),
                testing::ElementsAre(
                    "HTTP Content: TextContent::getData() called for 3 bytes at position 0.  Content length=5",
                    "HTTP Content: Read 3 bytes.  2 bytes remain.",
                    "HTTP Content: TextContent::getData() called for 3 bytes at position 3.  Content length=5",
                    "HTTP Content: Read 2 bytes.  0 bytes remain.",
                    "HTTP Content: TextContent::getData() called for 3 bytes at position 5.  Content length=5"));
    for (const zol_test::LogRecord& record : log.records())
    {
        EXPECT_EQ(record.category, "DEBUG2");
        EXPECT_EQ(record.file, "HTTPContent");
        EXPECT_GT(record.line, 0);
        EXPECT_THAT(record.method, testing::ContainsRegex("TextContent::getData\\(char ?\\*, size_t"));
    }
}

TEST(TextContent, ReadIsNotLoggedBelowDebug2)
{
    const LogCapture log(blocxx::E_DEBUG_LEVEL);
    getContentData(ContentRef(new TextPlainContent("abc")), 3);
    EXPECT_TRUE(log.records().empty());
}

TEST(TextContent, ReadLeavesErrnoAlone)
{
    const LogCapture log;
    TextPlainContent content("abc");
    const ContentStreamStateRef state = content.createInitialStreamState();
    char buffer[3];
    errno = ENOTTY;
    content.getData(buffer, 3, state);
    EXPECT_EQ(errno, ENOTTY);
    EXPECT_EQ(log.records().size(), 2U);
}

TEST(TextContent, CanBeReadOnSeveralThreads)
{
    const std::string bytes = zol_test::distinctBytes(100000);
    const ContentRef content(new TextPlainContent(String(bytes.data(), bytes.size())));
    std::string first;
    std::string second;
    std::thread reader([&] { first = textOf(content); });
    second = textOf(content);
    reader.join();
    EXPECT_EQ(first, bytes);
    EXPECT_EQ(second, bytes);
}

TEST(TextContent, PositionPastTheSizeIsTheEnd)
{
    const ContentRef content(new TextPlainContent("abc"));
    const ContentStreamStateRef state = content->createInitialStreamState();
    auto& own = dynamic_cast<TextContentStreamState&>(*state);
    char buffer[4];
    for (const size_t position : {size_t{4}, END_OF_DATA})
    {
        own.position = position;
        EXPECT_EQ(content->getData(buffer, 2, state), END_OF_DATA);
        EXPECT_EQ(own.position, position);
    }
}
