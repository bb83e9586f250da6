#include "zol/mime/OctetStreamContent.hpp"

#include "ReadOnce.hpp"
#include "support/ScriptedContent.hpp"
#include "support/TextOf.hpp"

#include "blocxx/NULLReferenceException.hpp"
#include "zol/mime/TextContent.hpp"

#include <gtest/gtest.h>

#include <cstddef>
#include <iterator>
#include <list>
#include <sstream>
#include <string>
#include <vector>

using namespace ZOLNS2::MIME;
using blocxx::Array;
using blocxx::String;
using zol_test::readOnce;
using zol_test::textOf;

namespace
{

Array<unsigned char> bytes(const std::string& text)
{
    return Array<unsigned char>(text.begin(), text.end());
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
    const FileApplicationOctetStreamContent noFiles((Array<String>()));
    EXPECT_THROW(content.getData(buffer, 3, noFiles.createInitialStreamState()), blocxx::NULLReferenceException);
}

TEST(ApplicationOctetStreamContent, TakesAStateThatAProgramDerivedFromItsOwn)
{
    class Marked : public ApplicationOctetStreamContentStreamState
    {
    };
    ApplicationOctetStreamContent content("abc", 3);
    const blocxx::IntrusiveReference<Marked> state(new Marked);
    state->position = 1;
    char buffer[3];
    ASSERT_EQ(content.getData(buffer, 3, state), 2U);
    EXPECT_EQ(std::string(buffer, 2), "bc");
    EXPECT_EQ(state->position, 3U);
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
