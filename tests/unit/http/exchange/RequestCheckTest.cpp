#include "exchange/RequestCheck.hpp"

#include "ReadContent.hpp"
#include "support/ScriptedContent.hpp"

#include "zol/http/ChunkedContent.hpp"
#include "zol/mime/MultipartContent.hpp"
#include "zol/mime/TextContent.hpp"
#include "zol/mime/TypedContent.hpp"

#include <gmock/gmock.h>

#include <initializer_list>
#include <stdexcept>
#include <utility>

namespace
{

using namespace ZOLNS2;
using blocxx::String;
using HTTP::Header;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

/// Why the request is refused; empty if it is not.
std::string refusal(const HTTP::RequestLine& line, std::initializer_list<Header> lines,
                    const MIME::ContentRef& content = MIME::ContentRef())
{
    HTTP::Headers headers;
    for (const Header& header : lines)
    {
        headers.addHeader(header.name, header.value);
    }
    return zol_test::requestRefusal(
        [&] { checkRequest(HTTP::Request(line, headers, content, HTTP::Request::SSLContextRef())); });
}

std::string refusalOf(const String& method, const String& target)
{
    return refusal(HTTP::RequestLine(method, target, "h", HTTP::HTTP_1_1), {});
}

const HTTP::RequestLine POST("POST", "/", "h", HTTP::HTTP_1_1);

std::string refusalOfPost(std::initializer_list<Header> lines, const MIME::ContentRef& content = MIME::ContentRef())
{
    return refusal(POST, lines, content);
}

MIME::ContentRef bytes(const char* text)
{
    return MIME::ContentRef(new MIME::TypedContent(text, "a/b"));
}

blocxx::IntrusiveReference<zol_test::ScriptedContent> unsized()
{
    auto content = zol_test::scripted({"abc"});
    content->lengthIsKnown = false;
    return content;
}

TEST(RequestCheck, LetsOrdinaryRequestsPass)
{
    EXPECT_EQ(refusalOf("GET", "/a/b?c=%20&d"), "");
    EXPECT_EQ(refusalOf("X-OWN", "/"), "");
    EXPECT_EQ(refusalOf("OPTIONS", "*"), "");
    EXPECT_EQ(refusalOf("GET", "http://example.com/"), "") << "to a proxy";
    EXPECT_EQ(refusalOf("GET", "HTTPS://example.com/"), "");
    EXPECT_EQ(refusalOf("TRACE", "/"), "");
    EXPECT_EQ(refusalOfPost({{"Host", "h"}, {"Cookie", "a=b"}, {"Cookie", "c"}, {"X", ""}, {"Y", "\t\xc3\xa4"}}), "");
}

TEST(RequestCheck, AMethodThatIsNoTokenIsRefused)
{
    for (const String& method : {String(""), String("GET "), String("GET /x"), String("G\r\nT"), String("G\0T", 3),
                                 String("\xc3\xa4"), String("G:T")})
    {
        EXPECT_THAT(refusalOf(method, "/"), HasSubstr("is not a token"));
    }
}

TEST(RequestCheck, ConnectIsRefused)
{
    EXPECT_THAT(refusalOf("CONNECT", "/"), HasSubstr("CONNECT is not supported"));
    EXPECT_THAT(refusalOf("connect", "/"), HasSubstr("CONNECT is not supported"));
}

TEST(RequestCheck, ATargetThatWouldBreakTheRequestLineIsRefused)
{
    for (const String& target : {String("/a b"), String("/a\r\nX: y"), String("/a\n"), String("/a\0", 3), String("/\t"),
                                 String("/\x7f"), String("/\xc3\xa4"), String("/#f")})
    {
        EXPECT_THAT(refusalOf("GET", target), AllOf(HasSubstr("target"), HasSubstr("blanks"), Not(HasSubstr("\n"))));
    }
}

TEST(RequestCheck, ATargetOfAnotherFormIsRefused)
{
    for (const char* target : {"", "a", "?q", "example.com:80", "ftp://h/", "*", "http:/h"})
    {
        EXPECT_THAT(refusalOf("GET", target), HasSubstr("does not begin with \"/\"")) << target;
    }
    EXPECT_THAT(refusalOf("OPTIONS", "**"), HasSubstr("does not begin with \"/\""));
}

TEST(RequestCheck, NamesOfHeadersThatAreNoTokensAreRefused)
{
    for (const String& name :
         {String(""), String("A B"), String("A:"), String("A\r\nB"), String("A\0", 2), String("\xc3\xa4")})
    {
        EXPECT_THAT(refusalOfPost({{name, "x"}}), HasSubstr("is not the name of a header"));
    }
}

TEST(RequestCheck, ValuesOfHeadersWithControlCharactersAreRefusedAndNotShown)
{
    for (const String& value : {String("secret\r\nX: y"), String("secret\n"), String("secret\r"), String("secret\0", 7),
                                String("secret\x1b"), String("secret\x7f")})
    {
        EXPECT_THAT(refusalOfPost({{"Cookie", value}}),
                    AllOf(HasSubstr("value of the header Cookie holds control characters"), Not(HasSubstr("secret"))));
    }
}

TEST(RequestCheck, HeadersThatStandAloneAreRefusedTwice)
{
    for (const char* name : {"Host", "Authorization", "Content-Length", "Content-Type", "Transfer-Encoding"})
    {
        EXPECT_EQ(refusalOfPost({{name, "0"}, {String(name).toLowerCase(), "0"}}),
                  std::string("The header ") + name + " is given twice");
    }
}

TEST(RequestCheck, ATraceWithContentIsRefused)
{
    const HTTP::RequestLine line("TRACE", "/", "h", HTTP::HTTP_1_1);
    EXPECT_THAT(refusal(line, {{"Content-Length", "1"}}, bytes("x")), HasSubstr("TRACE request has no content"));
}

TEST(RequestCheck, TheContentLengthIsThatOfTheContent)
{
    EXPECT_EQ(refusalOfPost({{"Content-Length", "3"}}, bytes("abc")), "");
    EXPECT_EQ(refusalOfPost({{"content-length", " 3\t"}}, bytes("abc")), "");
    EXPECT_EQ(refusalOfPost({{"Content-Length", "4"}}, bytes("abc")),
              "The Content-Length is 4, but the content has 3 bytes");
    EXPECT_NE(refusalOfPost({{"Content-Length", "0"}}, bytes("abc")), "");
    EXPECT_EQ(refusalOfPost({{"Content-Length", "0"}}, bytes("")), "");
    EXPECT_EQ(refusalOfPost({{"Content-Length", "0"}}), "");
    EXPECT_EQ(refusalOfPost({{"Content-Length", "1"}}), "The Content-Length is 1, but the content has 0 bytes");
    EXPECT_EQ(refusalOfPost({{"Content-Length", "7"}}, unsized()), "") << "whoever sends it counts";
}

TEST(RequestCheck, AContentLengthThatIsNoNumberIsRefused)
{
    for (const char* length : {"", "x", "-1", "+0", "0x0", "0, 0", "0 0", "0.0", "18446744073709551616"})
    {
        EXPECT_THAT(refusalOfPost({{"Content-Length", length}}), HasSubstr("is not a number of bytes")) << length;
    }
}

TEST(RequestCheck, OnlyTheTransferEncodingChunkedIsKnown)
{
    EXPECT_EQ(refusalOfPost({{"Transfer-Encoding", "Chunked"}}, unsized()), "");
    for (const char* coding : {"", "gzip", "gzip, chunked", "chunked, chunked", "identity", "xchunked"})
    {
        EXPECT_THAT(refusalOfPost({{"Transfer-Encoding", coding}}, unsized()), HasSubstr("is not chunked")) << coding;
    }
}

TEST(RequestCheck, FramingThatContradictsItselfIsRefused)
{
    EXPECT_THAT(refusalOfPost({{"Transfer-Encoding", "chunked"}, {"Content-Length", "3"}}, unsized()),
                HasSubstr("both Content-Length and Transfer-Encoding"));
    EXPECT_THAT(refusalOfPost({{"Transfer-Encoding", "chunked"}}), HasSubstr("but no content"));
    EXPECT_THAT(
        refusal(HTTP::RequestLine("POST", "/", "h", HTTP::HTTP_1_0), {{"Transfer-Encoding", "chunked"}}, unsized()),
        HasSubstr("HTTP/1.0 has no Transfer-Encoding"));
    const MIME::ContentRef chunked(new HTTP::ChunkedContent(bytes("abc")));
    EXPECT_EQ(refusalOfPost({{"Transfer-Encoding", "chunked"}}, chunked), "");
    EXPECT_THAT(refusalOfPost({{"Content-Length", "13"}}, chunked), HasSubstr("but there is no Transfer-Encoding"));
    EXPECT_THAT(refusalOfPost({}, chunked), HasSubstr("but there is no Transfer-Encoding"));
}

TEST(RequestCheck, AContentWhoseEndTheServerCannotSeeIsRefused)
{
    EXPECT_THAT(refusalOfPost({}, bytes("abc")), HasSubstr("neither Content-Length nor Transfer-Encoding"));
    EXPECT_THAT(refusalOfPost({}, unsized()), HasSubstr("neither Content-Length nor Transfer-Encoding"));
    EXPECT_EQ(refusalOfPost({}, bytes("")), "") << "an empty one has no end to be seen";
}

TEST(RequestCheck, AContentTypeWithoutTheBoundaryOfTheContentIsRefused)
{
    const MIME::ContentRef form(new MIME::MultipartContent("form-data", "xyz"));
    const auto refusalOfType = [&form](const char* type) {
        return refusalOfPost({{"Content-Length", "9"}, {"Content-Type", type}}, form);
    };
    EXPECT_EQ(refusalOfType("multipart/form-data; boundary=xyz"), "");
    EXPECT_EQ(refusalOfType("Multipart/Related; Boundary=\"xyz\"; type=\"a/b\""), "");
    EXPECT_THAT(refusalOfType("multipart/form-data"), HasSubstr("does not name the boundary"));
    EXPECT_THAT(refusalOfType("multipart/form-data; boundary=XYZ"), HasSubstr("does not name the boundary"));
    EXPECT_THAT(refusalOfType("application/octet-stream"), HasSubstr("does not name the boundary"));
    EXPECT_THAT(refusalOfType("multipart"), HasSubstr("The Content-Type is malformed"));
}

TEST(RequestCheck, AContentTypeWithAnotherCharsetThanTheContentIsRefused)
{
    const MIME::ContentRef text(new MIME::TextPlainContent("x"));
    const auto refusalOfType = [&text](const char* type) {
        return refusalOfPost({{"Content-Length", "1"}, {"Content-Type", type}}, text);
    };
    EXPECT_EQ(refusalOfType("application/json"), "") << "the same bytes under another type";
    EXPECT_EQ(refusalOfType("text/html; charset=utf-8"), "");
    EXPECT_THAT(refusalOfType("text/html; charset=iso-8859-1"),
                HasSubstr("charset iso-8859-1, but the content is in UTF-8"));
    EXPECT_EQ(refusalOfPost({{"Content-Length", "3"}, {"Content-Type", "anything"}}, bytes("abc")), "")
        << "nothing is known of the content";
    EXPECT_EQ(refusalOfPost({{"Content-Type", "text/html; charset=x"}}), "") << "no content, no contradiction";
}

TEST(RequestCheck, WhatTheContentThrowsPassesThrough)
{
    const auto content = zol_test::scripted({"x"});
    content->typeThrowsOnce = true;
    EXPECT_THROW(refusalOfPost({{"Content-Length", "1"}, {"Content-Type", "a/b"}}, content), std::runtime_error);
}

} // namespace
