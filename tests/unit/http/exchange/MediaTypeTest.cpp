#include "exchange/MediaType.hpp"

#include "ReadContent.hpp"

#include <gmock/gmock.h>

namespace
{

using namespace ZOLNS2::MIME;
using testing::HasSubstr;
using zol_test::contentRefusal;
using ZOLNS2::HTTP::Parameter;

std::string parsed(const char* text)
{
    return toString(parseMediaType(text)).c_str();
}

TEST(MediaType, IsReadWithItsParameters)
{
    EXPECT_EQ(parsed("image/png"), "image/png");
    EXPECT_EQ(parsed(" Text/HTML \t"), "Text/HTML");
    EXPECT_EQ(parsed("text/csv;charset=UTF-8"), "text/csv; charset=UTF-8");
    EXPECT_EQ(parsed("text/csv \t; \tcharset=UTF-8 ; header=present"), "text/csv; charset=UTF-8; header=present");
    EXPECT_EQ(parsed("a/b; c=\"d e;f=\\\"g\\\"\"; h=i"), "a/b; c=\"d e;f=\\\"g\\\"\"; h=i");
    const ContentTypeHeader header = parseMediaType("a/b; c=\"d;e\"");
    EXPECT_EQ(header.getParameterValue("c"), "d;e");
    EXPECT_EQ(header.getParameters().size(), 1U);
}

TEST(MediaType, EmptyParametersArePassedOver)
{
    EXPECT_EQ(parsed("text/html;"), "text/html");
    EXPECT_EQ(parsed("text/html; ;; charset=UTF-8 ;"), "text/html; charset=UTF-8");
}

TEST(MediaType, WhatIsNotOneIsRefused)
{
    for (const char* text : {"",
                             "json",
                             "/",
                             "a/",
                             "/b",
                             "a/b/c",
                             "a b/c",
                             "a/b c",
                             "a/b, c/d",
                             "a/b; c",
                             "a/b; c=",
                             "a/b; =d",
                             "a/b; c=\"\"",
                             "a/b; c=\"d",
                             "a/b; c=\"d\\",
                             "a/b; c=\"d\"e",
                             "a/b; c=d e",
                             "a/b\r\nX: y",
                             "a/b; c=\"d\r\nX: y\"",
                             "a/b; c=\"d\\\\e\"",
                             "{\"a\": 1}",
                             "a/b c=d",
                             "a/b; c=\"\"d",
                             "a/b; c=d e=f",
                             "a/b; c=\"d\"e=f",
                             "a/b; c\"d\"",
                             "a/b; c=\"; d=e"})
    {
        EXPECT_THAT(contentRefusal([text] { parseMediaType(text); }), HasSubstr("is not a media type")) << text;
    }
    EXPECT_EQ(contentRefusal([] { parseMediaType("a\n/b"); }), "\"a\\x0a/b\" is not a media type such as text/html");
}

TEST(MediaType, IsWrittenOnlyIfItCanStandInAField)
{
    const auto textOf = [](const char* type, const char* subtype, const Parameter& parameter)
    { return mediaTypeText(ContentTypeHeader(type, subtype, blocxx::Array<Parameter>(1, parameter))); };
    EXPECT_EQ(textOf("a", "b", Parameter("c", "d e\xc3\xa4")), "a/b; c=\"d e\xc3\xa4\"");
    EXPECT_NE(contentRefusal([] { mediaTypeText(ContentTypeHeader()); }), "");
    EXPECT_NE(contentRefusal([&] { textOf("a b", "c", Parameter("d", "e")); }), "");
    EXPECT_NE(contentRefusal([&] { textOf("a", "b\r\nc: d", Parameter("d", "e")); }), "");
    EXPECT_NE(contentRefusal([&] { textOf("a", "b", Parameter("c d", "e")); }), "");
    EXPECT_NE(contentRefusal([&] { textOf("a", "b", Parameter("c", "d\ne")); }), "");
    EXPECT_NE(contentRefusal([&] { textOf("a", "b", Parameter("c", "d\\e")); }), "");
    EXPECT_NE(contentRefusal([&] { textOf("a", "b", Parameter("c", "")); }), "");
}

} // namespace
