#include "zol/mime/TypedContent.hpp"

#include "ReadContent.hpp"
#include "support/ScriptedContent.hpp"
#include "support/TextOf.hpp"

#include "blocxx/NULLReferenceException.hpp"
#include "zol/mime/ContentBIO.hpp"
#include "zol/mime/MultipartMixedContent.hpp"
#include "zol/mime/OctetStreamContent.hpp"
#include "zol/mime/TextContent.hpp"

#include <gmock/gmock.h>

#include <stdexcept>

namespace
{

using namespace ZOLNS2::MIME;
using testing::HasSubstr;
using zol_test::contentRefusal;
using zol_test::readAll;
using zol_test::readOnce;

TEST(TypedContent, IsBytesUnderATypeOfOnesOwn)
{
    const ContentRef content(new TypedContent("{\"a\": 1}", "application/json"));
    EXPECT_EQ(toString(content->getContentType()), "application/json");
    EXPECT_TRUE(content->hasContentLength());
    EXPECT_EQ(content->getContentLength(), 8U);
    EXPECT_EQ(readAll(content, 3), "{\"a\": 1}");
    EXPECT_EQ(readAll(content, 4096), "{\"a\": 1}");
}

TEST(TypedContent, NulIsAByteLikeAnyOther)
{
    const ContentRef content(new TypedContent(blocxx::String("\0a\0", 3), "image/png"));
    EXPECT_EQ(content->getContentLength(), 3U);
    EXPECT_EQ(readAll(content, 4096), std::string("\0a\0", 3));
}

TEST(TypedContent, IsAnotherContentUnderATypeOfOnesOwn)
{
    const auto inner = zol_test::scripted({"ab", "", "cde"});
    const ContentRef content(new TypedContent(inner, "text/csv; charset=UTF-8"));
    EXPECT_EQ(toString(content->getContentType()), "text/csv; charset=UTF-8");
    EXPECT_EQ(content->getContentLength(), 5U);
    EXPECT_EQ(readAll(content, 1), "abcde");
    inner->lengthIsKnown = false;
    EXPECT_FALSE(content->hasContentLength());
    const ContentTypeHeader type("a", "b", blocxx::Array<ZOLNS2::HTTP::Parameter>());
    EXPECT_EQ(toString(TypedContent(inner, type).getContentType()), "a/b");
}

TEST(TypedContent, IsReadByTwoReadersAtOnce)
{
    const ContentRef content(new TypedContent("abcdef", "a/b"));
    const ContentStreamStateRef one = content->createInitialStreamState();
    const ContentStreamStateRef two = content->createInitialStreamState();
    EXPECT_EQ(readOnce(content, 2, one), "ab");
    EXPECT_EQ(readOnce(content, 4, two), "abcd");
    EXPECT_EQ(readOnce(content, 9, one), "cdef");
    EXPECT_EQ(readOnce(content, 9, two), "ef");
    EXPECT_EQ(readOnce(content, 9, two), "END");
}

TEST(TypedContent, ATypeThatIsNoneIsRefused)
{
    EXPECT_THAT(contentRefusal([] { TypedContent("x", "json"); }), HasSubstr("\"json\" is not a media type"));
    EXPECT_THAT(contentRefusal([] { TypedContent("x", "a/b\r\nX: y"); }), HasSubstr("is not a media type"));
    EXPECT_THAT(contentRefusal([] { TypedContent("application/json", "{}"); }), HasSubstr("is not a media type"))
        << "the arguments the wrong way round";
    EXPECT_THAT(contentRefusal([] { TypedContent(zol_test::scripted({}), ContentTypeHeader()); }),
                HasSubstr("is not a media type"));
}

TEST(TypedContent, ANullContentIsRefused)
{
    EXPECT_THAT(contentRefusal([] { TypedContent(ContentRef(), "a/b"); }), HasSubstr("no content"));
}

TEST(TypedContent, ANullStateAndOneOfAnotherKindAreRefused)
{
    TypedContent content("abc", "a/b");
    char byte = 0;
    EXPECT_THROW(content.getData(&byte, 1, ContentStreamStateRef()), blocxx::NULLReferenceException);
    EXPECT_THROW(content.getData(&byte, 1, TextPlainContent("x").createInitialStreamState()),
                 blocxx::NULLReferenceException);
}

TEST(TypedContent, TellsHowTheContentWithinEnded)
{
    const ContentRef missing(
        new TypedContent(ContentRef(new FileApplicationOctetStreamContent("/nonexistent")), "a/b"));
    const ContentStreamStateRef state = missing->createInitialStreamState();
    EXPECT_EQ(readOnce(missing, 1, state), "");
    EXPECT_TRUE(endedBadly(missing, state));
    const ContentRef whole(new TypedContent("", "a/b"));
    EXPECT_FALSE(endedBadly(whole, whole->createInitialStreamState()));
}

TEST(TypedContent, WhatTheContentWithinThrowsPassesThrough)
{
    const auto inner = zol_test::scripted({"ab"});
    inner->throwAtPiece = 0;
    const ContentRef content(new TypedContent(inner, "a/b"));
    EXPECT_THROW(readAll(content, 4), std::runtime_error);
}

TEST(TypedContent, IsAPartAndABio)
{
    const ContentRef content(new TypedContent("abc", "a/b"));
    const blocxx::IntrusiveReference<MultipartMixedContent> mixed(new MultipartMixedContent("x"));
    mixed->addPart(content);
    EXPECT_EQ(readAll(mixed, 7), "--x\r\ncontent-type: a/b\r\n\r\nabc\r\n--x--");
    BIO* const bio = BIO_new_httpcontent(content);
    char buffer[8];
    EXPECT_EQ(BIO_read(bio, buffer, sizeof(buffer)), 3);
    EXPECT_EQ(BIO_read(bio, buffer, sizeof(buffer)), -1);
    BIO_free(bio);
}

} // namespace
