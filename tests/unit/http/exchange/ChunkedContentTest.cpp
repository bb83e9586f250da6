#include "zol/http/ChunkedContent.hpp"

#include "ReadContent.hpp"
#include "support/ScriptedContent.hpp"

#include "blocxx/NULLReferenceException.hpp"
#include "openwbem/OW_HTTPChunkedIStream.hpp"
#include "zol/http/MIMEContentIStream.hpp"
#include "zol/mime/ContentBIO.hpp"
#include "zol/mime/ContentEnd.hpp"
#include "zol/mime/MultipartMixedContent.hpp"
#include "zol/mime/OctetStreamContent.hpp"
#include "zol/mime/TextContent.hpp"

#include <gmock/gmock.h>

#include <iterator>
#include <limits>
#include <sstream>
#include <stdexcept>
#include <vector>

namespace
{

using namespace ZOLNS2::MIME;
using testing::HasSubstr;
using zol_test::contentRefusal;
using zol_test::readAll;
using zol_test::readOnce;
using zol_test::scripted;
using ZOLNS2::HTTP::ChunkedContent;

ContentRef chunked(const ContentRef& content)
{
    return ContentRef(new ChunkedContent(content));
}

ContentRef octets(const std::string& bytes)
{
    return ContentRef(new ApplicationOctetStreamContent(bytes.data(), bytes.size()));
}

/// What the library's own reader makes of chunked coding.
std::string decoded(const std::string& wire)
{
    std::istringstream in(wire);
    OpenWBEM::HTTPChunkedIStream body(in);
    std::string text((std::istreambuf_iterator<char>(body)), std::istreambuf_iterator<char>());
    EXPECT_FALSE(body.bad());
    EXPECT_EQ(in.get(), std::char_traits<char>::eof()) << "nothing is left behind the last chunk";
    return text;
}

TEST(ChunkedContent, WritesEachReadAsAChunkAndALastChunk)
{
    const ContentRef content = chunked(scripted({"hello, ", "", "world"}));
    EXPECT_EQ(readAll(content, 2000), "7\r\nhello, \r\n5\r\nworld\r\n0\r\n\r\n");
    EXPECT_EQ(readAll(content, 1), "7\r\nhello, \r\n5\r\nworld\r\n0\r\n\r\n");
}

TEST(ChunkedContent, AnEmptyContentIsTheLastChunk)
{
    EXPECT_EQ(readAll(chunked(octets("")), 2000), "0\r\n\r\n");
    EXPECT_EQ(readAll(chunked(octets("")), 2), "0\r\n\r\n");
}

TEST(ChunkedContent, RequestsOfAnySizeGiveTheSameBytes)
{
    const std::string bytes = zol_test::distinctBytes(200000);
    const ContentRef content = chunked(octets(bytes));
    for (const size_t size :
         {1U,    2U,     3U,     100U,   1023U,  1024U,  1025U,  4095U,   4096U,   4104U,   4105U,
          4106U, 65535U, 65536U, 65543U, 65544U, 65545U, 65546U, 199999U, 200000U, 200020U, 1000000U})
    {
        EXPECT_EQ(decoded(readAll(content, size)), bytes) << size;
    }
}

TEST(ChunkedContent, ChangingSizesOfRequestsGiveTheSameBytes)
{
    const std::string bytes = zol_test::distinctBytes(100000);
    const ContentRef content = chunked(scripted({bytes.substr(0, 3), bytes.substr(3, 5000), bytes.substr(5003)}));
    const ContentStreamStateRef state = content->createInitialStreamState();
    std::string wire;
    std::string piece;
    for (size_t size = 1; piece != "END"; size = size * 7 % 5003)
    {
        wire += piece;
        piece = readOnce(content, size, state);
    }
    EXPECT_EQ(decoded(wire), bytes);
}

TEST(ChunkedContent, LargeRequestsReachTheContentWhole)
{
    const auto inner = scripted({zol_test::distinctBytes(70000)});
    const ContentRef content = chunked(inner);
    const ContentStreamStateRef state = content->createInitialStreamState();
    EXPECT_EQ(readOnce(content, 65536, state).size(), 65536U);
    ASSERT_EQ(inner->requests.size(), 1U);
    EXPECT_EQ(inner->requests[0], 65536U - 8U) << "less size, two line ends";
}

TEST(ChunkedContent, ARequestOfNothingIsNotTheEnd)
{
    const ContentRef content = chunked(octets("abc"));
    const ContentStreamStateRef state = content->createInitialStreamState();
    EXPECT_EQ(readOnce(content, 0, state), "");
    EXPECT_EQ(readOnce(content, 2000, state), "3\r\nabc\r\n");
    EXPECT_EQ(readOnce(content, 2000, state), "0\r\n\r\n");
    EXPECT_EQ(readOnce(content, 0, state), "END");
}

TEST(ChunkedContent, ARequestForEverythingIsServed)
{
    const ContentRef content = chunked(octets("abc"));
    const ContentStreamStateRef state = content->createInitialStreamState();
    std::string buffer(64, '\0');
    EXPECT_EQ(content->getData(buffer.data(), std::numeric_limits<size_t>::max(), state), 8U);
    EXPECT_EQ(buffer.substr(0, 8), "3\r\nabc\r\n");
}

TEST(ChunkedContent, HasTheTypeOfTheContentAndNoLength)
{
    const ContentRef content = chunked(ContentRef(new TextPlainContent("x")));
    EXPECT_EQ(toString(content->getContentType()), "text/plain; charset=UTF-8");
    EXPECT_FALSE(content->hasContentLength());
    EXPECT_THAT(contentRefusal([&] { content->getContentLength(); }), HasSubstr("no length"));
}

TEST(ChunkedContent, WhatTheContentThrowsPassesThroughAndNoLastChunkFollows)
{
    for (const size_t size : {100U, 2000U})
    {
        const auto inner = scripted({"abc", "def"});
        inner->throwAtPiece = 1;
        const ContentRef content = chunked(inner);
        const ContentStreamStateRef state = content->createInitialStreamState();
        EXPECT_EQ(readOnce(content, size, state), "3\r\nabc\r\n");
        EXPECT_THROW(readOnce(content, size, state), std::runtime_error);
        EXPECT_THROW(readOnce(content, size, state), std::runtime_error);
        inner->throwAtPiece = 5;
        EXPECT_EQ(readOnce(content, size, state), "3\r\ndef\r\n") << "what was delivered before is not delivered again";
    }
}

class CutContent : public zol_test::ScriptedContent, public ContentEnd
{
public:
    using ScriptedContent::ScriptedContent;
    bool endedBadly(const ContentStreamStateRef&) const override { return true; }
};

TEST(ChunkedContent, AContentThatEndsBadlyGetsNoLastChunk)
{
    const ContentRef content = chunked(ContentRef(new CutContent({"abc"})));
    const ContentStreamStateRef state = content->createInitialStreamState();
    EXPECT_EQ(readOnce(content, 100, state), "3\r\nabc\r\n");
    for (int i = 0; i < 3; ++i)
    {
        EXPECT_THAT(contentRefusal([&] { readOnce(content, 100, state); }), HasSubstr("ended before all of its data"));
    }
    EXPECT_TRUE(endedBadly(content, state));
    const ContentRef missing = chunked(ContentRef(new FileApplicationOctetStreamContent("/nonexistent")));
    EXPECT_NE(contentRefusal([&] { readAll(missing, 100); }), "") << "one that returns 0 for ever";
    const ContentRef whole = chunked(octets("abc"));
    EXPECT_FALSE(endedBadly(whole, whole->createInitialStreamState()));
}

TEST(ChunkedContent, IsReadByTwoReadersAtOnce)
{
    const ContentRef content = chunked(octets("abc"));
    const ContentStreamStateRef one = content->createInitialStreamState();
    const ContentStreamStateRef two = content->createInitialStreamState();
    EXPECT_EQ(readOnce(content, 4, one), "3\r\na");
    EXPECT_EQ(readOnce(content, 2000, two), "3\r\nabc\r\n");
    EXPECT_EQ(readOnce(content, 2000, one), "bc\r\n");
    EXPECT_EQ(readOnce(content, 2000, one), "0\r\n\r\n");
}

TEST(ChunkedContent, ANullContentAndForeignStatesAreRefused)
{
    EXPECT_THAT(contentRefusal([] { chunked(ContentRef()); }), HasSubstr("no content"));
    const ContentRef content = chunked(octets("abc"));
    char byte = 0;
    EXPECT_THROW(content->getData(&byte, 1, ContentStreamStateRef()), blocxx::NULLReferenceException);
    EXPECT_THROW(content->getData(&byte, 1, octets("x")->createInitialStreamState()), blocxx::NULLReferenceException);
    EXPECT_THROW(endedBadly(content, ContentStreamStateRef()), blocxx::NULLReferenceException);
}

TEST(ChunkedContent, IsAStreamAPartAndABio)
{
    const std::string bytes = zol_test::distinctBytes(10000);
    const ContentRef content = chunked(octets(bytes));
    ZOLNS2::HTTP::MIMEContentIStream stream(content);
    EXPECT_EQ(decoded(std::string((std::istreambuf_iterator<char>(stream)), std::istreambuf_iterator<char>())), bytes);
    const blocxx::IntrusiveReference<MultipartMixedContent> mixed(new MultipartMixedContent("x"));
    mixed->addPart(chunked(octets("abc")));
    EXPECT_THAT(readAll(mixed, 100), HasSubstr("\r\n\r\n3\r\nabc\r\n0\r\n\r\n\r\n--x--"));
    BIO* const bio = BIO_new_httpcontent(chunked(octets("abc")));
    char buffer[8];
    EXPECT_EQ(BIO_read(bio, buffer, sizeof(buffer)), 8);
    EXPECT_EQ(std::string(buffer, 8), "3\r\nabc\r\n");
    BIO_free(bio);
}

} // namespace
