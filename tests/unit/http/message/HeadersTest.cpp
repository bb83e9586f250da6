#include "zol/http/Headers.hpp"

#include "blocxx/Format.hpp"

#include <gtest/gtest.h>

#include <iomanip>
#include <sstream>

using blocxx::String;
using namespace ZOLNS2::HTTP;

namespace
{

template <class T>
std::string textOf(const T& value)
{
    std::ostringstream out;
    out << value;
    return out.str();
}

} // namespace

TEST(Header, KeepsNameAndValueAsGiven)
{
    const Header header(" X-Name ", "\tValue ");
    EXPECT_EQ(header.name, " X-Name ");
    EXPECT_EQ(header.value, "\tValue ");
}

TEST(Header, IsWrittenWithoutLineEnd)
{
    EXPECT_EQ(textOf(Header("Accept", "text/html")), "Accept: text/html");
    EXPECT_EQ(textOf(Header()), ": ");
}

TEST(Header, WidthLeftOnTheStreamDoesNotPadIt)
{
    std::ostringstream out;
    out << std::setw(12) << std::setfill('*') << Header("A", "1");
    EXPECT_EQ(out.str(), "A: 1");
}

TEST(Header, BytesOfNameAndValueAreWrittenWhole)
{
    const std::string nul("a\0b", 3);
    EXPECT_EQ(textOf(Header("N", String(nul.data(), nul.size()))), std::string("N: a\0b", 6));
}

TEST(Headers, EmptyCollectionWritesNothing)
{
    EXPECT_EQ(textOf(Headers()), "");
    const Headers headers;
    EXPECT_TRUE(headers.begin() == headers.end());
}

TEST(Headers, LinesAreWrittenInOrderEachWithCrLf)
{
    Headers headers;
    headers.addHeader("Host", "example.com");
    headers.addHeader("Accept", "");
    EXPECT_EQ(textOf(headers), "Host: example.com\r\nAccept: \r\n");
}

TEST(Headers, NamesAreFoundInAnyCase)
{
    Headers headers;
    headers.addHeader("Content-Type", "text/plain");
    EXPECT_EQ(headers.getHeaderValue("content-type"), "text/plain");
    EXPECT_EQ(headers.getHeaderValue("CONTENT-TYPE"), "text/plain");
}

TEST(Headers, OnlyTheWholeNameMatches)
{
    Headers headers;
    headers.addHeader("Content-Type", "text/plain");
    EXPECT_EQ(headers.getHeaderValue("Content"), "");
    EXPECT_EQ(headers.getHeaderValue("Content-Type "), "");
    EXPECT_EQ(headers.getHeaderValue(""), "");
}

TEST(Headers, CaseOfLettersOutsideAsciiCounts)
{
    Headers headers;
    headers.addHeader("X-\xc3\x84", "1");
    EXPECT_EQ(headers.getHeaderValue("x-\xc3\x84"), "1");
    EXPECT_EQ(headers.getHeaderValue("x-\xc3\xa4"), "");
}

TEST(Headers, FirstOfTwoSameNamedHeadersWins)
{
    Headers headers;
    headers.addHeader("X-A", "1");
    headers.addHeader("x-a", "2");
    EXPECT_EQ(headers.getHeaderValue("X-A"), "1");
    EXPECT_EQ(headers.getHeaderValue("x-a"), "1");
    EXPECT_EQ(textOf(headers), "X-A: 1\r\nx-a: 2\r\n");
}

TEST(Headers, AbsentHeaderAndEmptyValueLookAlike)
{
    Headers headers;
    headers.addHeader("X-Empty", "");
    headers.addHeader("X-Empty", "hidden behind the empty one");
    EXPECT_EQ(headers.getHeaderValue("X-Empty"), "");
    EXPECT_EQ(headers.getHeaderValue("X-Absent"), "");
}

TEST(Headers, CopyTakenBeforeAnAdditionKeepsItsContents)
{
    Headers original;
    original.addHeader("A", "1");
    const Headers copy(original);
    original.addHeader("B", "2");
    EXPECT_EQ(textOf(copy), "A: 1\r\n");
    EXPECT_EQ(textOf(original), "A: 1\r\nB: 2\r\n");
}

TEST(Headers, AdditionToACopyLeavesTheOriginalAlone)
{
    Headers original;
    original.addHeader("A", "1");
    Headers copy;
    copy = original;
    copy.addHeader("B", "2");
    EXPECT_EQ(textOf(original), "A: 1\r\n");
    EXPECT_EQ(textOf(copy), "A: 1\r\nB: 2\r\n");
}

TEST(Headers, CopiesShareTheirLinesUntilOneIsAddedTo)
{
    Headers original;
    original.addHeader("A", "1");
    Headers copy(original);
    EXPECT_EQ(&*original.begin(), &*copy.begin());
    copy.addHeader("B", "2");
    EXPECT_NE(&*original.begin(), &*copy.begin());
}

TEST(Headers, StaysUsableAfterItsContentsWereMovedFrom)
{
    Headers original;
    original.addHeader("A", "1");
    const Headers taken(std::move(original)); // NOLINT(performance-move-const-arg): whatever it does
    original.addHeader("B", "2");             // NOLINT(bugprone-use-after-move): that is what is tested.
    EXPECT_EQ(textOf(taken), "A: 1\r\n");
    EXPECT_EQ(original.getHeaderValue("B"), "2");
}

TEST(Headers, ArgumentsMayBelongToTheCollection)
{
    Headers headers;
    headers.addHeader("A", "a value long enough to live on the heap, beyond any small-string storage");
    for (int i = 0; i < 40; ++i)
    {
        headers.addHeader(headers.begin()->name, headers.begin()->value);
    }
    EXPECT_EQ(headers.end() - headers.begin(), 41);
    for (const Header& header : headers)
    {
        EXPECT_EQ(header.name, "A");
        EXPECT_EQ(header.value, headers.begin()->value);
    }
}

TEST(Headers, IteratorsAreRandomAccess)
{
    Headers headers;
    headers.addHeader("A", "1");
    headers.addHeader("B", "2");
    headers.addHeader("C", "3");
    EXPECT_EQ(headers.end() - headers.begin(), 3);
    EXPECT_EQ(headers.begin()[2].value, "3");
}

TEST(Headers, CanBeFormatted)
{
    Headers headers;
    headers.addHeader("A", "1");
    EXPECT_EQ(blocxx::Format("[%1]", headers).toString(), "[A: 1\r\n]");
}

TEST(Headers, AreMadeOfAList)
{
    const Headers headers{{"Accept", "text/plain"}, {"X", ""}, {"x", "2"}};
    EXPECT_EQ(textOf(headers), "Accept: text/plain\r\nX: \r\nx: 2\r\n");
    EXPECT_EQ(textOf(Headers{}), "");
    const Headers copy{headers};
    EXPECT_EQ(textOf(copy), textOf(headers));
}

TEST(Headers, OfAListCanBeAddedTo)
{
    Headers headers{{"A", "1"}};
    const Headers before = headers;
    headers.addHeader("B", "2");
    EXPECT_EQ(textOf(headers), "A: 1\r\nB: 2\r\n");
    EXPECT_EQ(textOf(before), "A: 1\r\n");
}

TEST(Headers, TellAnEmptyValueFromNone)
{
    const Headers headers{{"X-Empty", ""}};
    EXPECT_TRUE(headers.has("x-empty"));
    EXPECT_FALSE(headers.has("X-Empt"));
    EXPECT_FALSE(Headers().has(""));
}

TEST(Headers, GiveAllValuesOfAName)
{
    const Headers headers{{"Set-Cookie", "a=1"}, {"Date", "today"}, {"set-cookie", "b=2"}};
    const blocxx::Array<String> all = headers.getAll("SET-COOKIE");
    ASSERT_EQ(all.size(), 2U);
    EXPECT_EQ(all[0], "a=1");
    EXPECT_EQ(all[1], "b=2");
    EXPECT_TRUE(headers.getAll("Server").empty());
}
