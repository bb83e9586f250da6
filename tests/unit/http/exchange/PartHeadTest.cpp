#include "exchange/PartHead.hpp"

#include "ReadContent.hpp"

#include <gmock/gmock.h>

namespace
{

using namespace ZOLNS2::MIME;
using blocxx::String;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;
using zol_test::contentRefusal;
using ZOLNS2::HTTP::Headers;

Headers headers(const String& name, const String& value)
{
    Headers result;
    result.addHeader(name, value);
    return result;
}

TEST(PartHead, HasTheLinesAndTheTypeAndAnEmptyLine)
{
    EXPECT_EQ(partHead(headers("Content-ID", "<a>"), "text/html"),
              "Content-ID: <a>\r\nContent-Type: text/html\r\n\r\n");
    EXPECT_EQ(partHead(Headers(), "a/b"), "Content-Type: a/b\r\n\r\n");
    EXPECT_EQ(partHead(Headers(), ""), "\r\n");
}

TEST(PartHead, AGivenTypeStandsInsteadOfTheContents)
{
    EXPECT_EQ(partHead(headers("content-type", "a/b"), "c/d"), "content-type: a/b\r\n\r\n");
    Headers two = headers("Content-Type", "a/b");
    two.addHeader("content-type", "a/b");
    EXPECT_THAT(contentRefusal([&] { partHead(two, "a/b"); }), HasSubstr("two headers Content-Type"));
}

TEST(PartHead, NamesAndValuesThatWouldBreakALineAreRefused)
{
    for (const char* name : {"", "a b", "a:b", "a\r\nb", "\xc3\xa4"})
    {
        EXPECT_THAT(contentRefusal([&] { partHead(headers(name, "x"), ""); }),
                    HasSubstr("is not the name of a header"));
    }
    for (const String& value : {String("a\r\nb"), String("a\n"), String("\r"), String("a\0b", 3)})
    {
        EXPECT_THAT(contentRefusal([&] { partHead(headers("X", value), ""); }),
                    HasSubstr("value of the header X holds control characters"));
    }
    EXPECT_EQ(partHead(headers("X", "a\tb \xc3\xa4"), ""), "X: a\tb \xc3\xa4\r\n\r\n");
}

TEST(FormData, ADispositionNamesTheFieldAndTheFile)
{
    const String fileName = "sea.jpg";
    EXPECT_EQ(formDataDisposition("title", nullptr), "form-data; name=\"title\"");
    EXPECT_EQ(formDataDisposition("photo", &fileName), "form-data; name=\"photo\"; filename=\"sea.jpg\"");
    const String none;
    EXPECT_EQ(formDataDisposition("", &none), "form-data; name=\"\"; filename=\"\"");
}

TEST(FormData, QuotesAndLineEndsInNamesAreEscapedAsBrowsersDo)
{
    const String fileName = "a\"b\r\nc.txt";
    EXPECT_EQ(formDataDisposition("x\"\r\n", &fileName),
              "form-data; name=\"x%22%0D%0A\"; filename=\"a%22b%0D%0Ac.txt\"");
    EXPECT_EQ(formDataDisposition("100% a\\b;c", nullptr), "form-data; name=\"100% a\\b;c\"") << "nothing else is";
}

TEST(FormData, NamesBeyondAsciiStayInUtf8)
{
    const String fileName = "\xe2\x82\xac.txt";
    EXPECT_EQ(formDataDisposition("gr\xc3\xb6\xc3\x9f"
                                  "e",
                                  &fileName),
              "form-data; name=\"gr\xc3\xb6\xc3\x9f"
              "e\"; filename=\"\xe2\x82\xac.txt\"");
}

TEST(FormData, OtherControlCharactersInNamesAreRefused)
{
    for (const String& name : {String("a\0b", 3), String("\t"), String("\x1b"), String("\x7f")})
    {
        EXPECT_THAT(contentRefusal([&] { formDataDisposition(name, nullptr); }), HasSubstr("control characters"));
        EXPECT_THAT(contentRefusal([&] { formDataDisposition("x", &name); }),
                    AllOf(HasSubstr("control characters"), Not(HasSubstr("\x1b"))));
    }
}

} // namespace
