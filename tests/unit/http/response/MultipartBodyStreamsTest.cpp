// Multipart bodies as streams deliver them: in pieces, with failures, and large ones.

#include "MultipartBodies.hpp"

#include "blocxx/BaseStreamBuffer.hpp"
#include "blocxx/NULLReferenceException.hpp"
#include "zol/http/Response.hpp"
#include "zol/mime/MultipartMixedContent.hpp"
#include "zol/mime/OctetStreamContent.hpp"
#include "zol/mime/TextContent.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <istream>
#include <random>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace
{

using testing::ElementsAre;
using zol_test::described;
using zol_test::multipartResponse;
using zol_test::TWO_PARTS;
using namespace ZOLNS2;
using HTTP::Response;

/// Delivers text in pieces, and then throws or reports an error.
class PieceBuffer : public blocxx::BaseStreamBuffer
{
public:
    PieceBuffer(std::string text, size_t piece, bool throwsAtTheEnd = false)
        : BaseStreamBuffer(E_IN, 1024), m_text(std::move(text)), m_piece(piece), m_throws(throwsAtTheEnd)
    {
    }

protected:
    int buffer_from_device(char* to, int room) override
    {
        const size_t count = std::min({static_cast<size_t>(room), m_piece, m_text.size() - m_at});
        if (count == 0 && m_throws)
        {
            throw std::runtime_error("the device broke");
        }
        std::memcpy(to, m_text.data() + m_at, count);
        m_at += count;
        return static_cast<int>(count);
    }

private:
    std::string m_text;
    size_t m_piece;
    bool m_throws;
    size_t m_at = 0;
};

TEST(MultipartBody, TheClosingDashesMayArriveOneByOne)
{
    const std::string body = "--B\r\n\r\none\r\n--B--epilogue";
    for (size_t size = 1; size < body.size(); ++size)
    {
        PieceBuffer pieces(body, size);
        std::istream in(&pieces);
        Response response = multipartResponse();
        response.parseResponseData(in);
        EXPECT_THAT(described(response.contents), testing::ElementsAre("octets:one")) << size;
        EXPECT_TRUE(response.bodyIsComplete()) << size;
    }
}

TEST(MultipartBody, IsReadTheSameInPiecesOfEverySize)
{
    for (size_t piece = 1; piece < TWO_PARTS.size(); ++piece)
    {
        PieceBuffer buffer(TWO_PARTS, piece);
        std::istream in(&buffer);
        Response response = multipartResponse();
        response.parseResponseData(in);
        ASSERT_THAT(described(response.contents), ElementsAre("text:one", "octets:two")) << piece;
    }
}

TEST(MultipartBody, ALargeOctetStreamIsReadByTwoCursorsInReadsOfAnySize)
{
    std::string bytes;
    for (int i = 0; bytes.size() < 70000; ++i)
    {
        bytes += std::to_string(i);
    }
    PieceBuffer buffer("--B\r\nContent-Type: application/x\r\n\r\n" + bytes + "\r\n--B--", 1000);
    std::istream in(&buffer);
    Response response = multipartResponse();
    response.parseResponseData(in);
    ASSERT_EQ(response.contents.size(), 1U);
    const MIME::ContentRef content = response.contents[0];
    EXPECT_EQ(toString(content->getContentType()), "application/octet-stream");
    EXPECT_TRUE(content->hasContentLength());
    EXPECT_EQ(content->getContentLength(), bytes.size());
    for (const size_t size : {1000U, 16383U, 16384U, 16385U, 50000U, 70000U, 100000U})
    {
        const MIME::ContentStreamStateRef one = content->createInitialStreamState();
        const MIME::ContentStreamStateRef other = content->createInitialStreamState();
        std::string fromOne;
        std::string fromOther;
        std::vector<char> read(size);
        EXPECT_EQ(content->getData(read.data(), 0, one), 0U);
        for (size_t count = 0; (count = content->getData(read.data(), size, one)) != MIME::END_OF_DATA;)
        {
            fromOne.append(read.data(), count);
            if (content->getData(read.data(), 7, other) == 7)
            {
                fromOther.append(read.data(), 7);
            }
        }
        EXPECT_TRUE(fromOne == bytes) << size;
        EXPECT_GE(fromOther.size(), 7U) << size;
        EXPECT_TRUE(fromOther == bytes.substr(0, fromOther.size())) << size;
        EXPECT_EQ(content->getData(read.data(), size, one), MIME::END_OF_DATA) << "the end stays the end";
    }
    EXPECT_THROW(content->getData(nullptr, 0, MIME::ContentStreamStateRef()), blocxx::NULLReferenceException);
}

TEST(MultipartBody, AStreamThatThrowsLeavesThePartsBeforeIt)
{
    PieceBuffer buffer(TWO_PARTS.substr(0, TWO_PARTS.find("two")), 1000, true);
    std::istream in(&buffer);
    in.exceptions(std::ios::badbit);
    Response response = multipartResponse();
    EXPECT_THROW(response.parseResponseData(in), std::runtime_error);
    EXPECT_THAT(described(response.contents), ElementsAre("text:one"));
}

TEST(MultipartBody, WhatAFailingStreamDeliveredIsTheLastPart)
{
    PieceBuffer buffer(TWO_PARTS.substr(0, TWO_PARTS.find("wo\r\n")), 1000, true);
    std::istream in(&buffer);
    Response response = multipartResponse();
    response.parseResponseData(in);
    EXPECT_TRUE(in.bad());
    EXPECT_THAT(described(response.contents), ElementsAre("text:one", "octets:t"));
}

TEST(MultipartBody, AFailedStreamHasNoParts)
{
    std::istringstream in(TWO_PARTS);
    in.setstate(std::ios::failbit);
    Response response = multipartResponse();
    response.parseResponseData(in);
    EXPECT_TRUE(response.contents.empty());
}

TEST(MultipartBody, WhatTheWriterWritesTheReaderReads)
{
    std::mt19937 random(42);
    for (int round = 0; round < 200; ++round)
    {
        MIME::MultipartMixedContent written("a boundary");
        std::vector<std::string> expected;
        for (size_t parts = 1 + random() % 6; parts > 0; --parts)
        {
            std::string bytes(random() % 200, '\0');
            std::generate(bytes.begin(), bytes.end(), [&] { return "\r\n- ab\xff\0"[random() % 8]; });
            if (random() % 2 == 0)
            {
                written.addPart(MIME::ContentRef(new MIME::TextPlainContent(blocxx::String(bytes))));
                expected.push_back("text:" + bytes);
            }
            else
            {
                written.addPart(MIME::ContentRef(new MIME::ApplicationOctetStreamContent(bytes.data(), bytes.size())));
                expected.push_back("octets:" + bytes);
            }
        }
        std::string wire(written.getContentLength(), '\0');
        const size_t got = written.getData(wire.data(), wire.size(), written.createInitialStreamState());
        ASSERT_EQ(got, wire.size());

        Response response;
        response.contentType.setContentTypeString("Content-Type: " + toString(written.getContentType()));
        std::istringstream in(wire);
        response.parseResponseData(in);
        ASSERT_EQ(described(response.contents), expected);
        ASSERT_TRUE(response.bodyIsComplete());
    }
}

TEST(MultipartBody, AHundredThousandTinyPartsAreAllRead)
{
    std::string body;
    for (int i = 0; i < 100000; ++i)
    {
        body += "--B\r\n\r\n" + std::to_string(i % 10) + "\r\n";
    }
    std::istringstream in(body + "--B--");
    Response response = multipartResponse();
    response.parseResponseData(in);
    ASSERT_EQ(response.contents.size(), 100000U);
    EXPECT_EQ(described(response.contents[99999]), "octets:9");
}

TEST(MultipartBody, AMillionBeginningsOfABoundaryAreJustBytes)
{
    std::string body;
    for (int i = 0; i < 1000000; ++i)
    {
        body += "\r\n--boundar";
    }
    Response response = multipartResponse("; boundary=boundary");
    std::istringstream in("--boundary\r\n\r\n" + body + "\r\n--boundary--");
    response.parseResponseData(in);
    ASSERT_EQ(response.contents.size(), 1U);
    EXPECT_EQ(response.contents[0]->getContentLength(), body.size());
    std::istringstream preambleOnly(body);
    response.parseResponseData(preambleOnly);
    EXPECT_EQ(response.contents.size(), 1U);
}

TEST(MultipartBody, AHeaderOfTenMegabytesMakesAnOctetStreamAndNothingElseIsLost)
{
    const std::string header =
        "Content-Type: text/plain; x=" + std::string(10000000, 'y'); // NOLINT(bugprone-string-constructor)
    const std::string lines = []
    {
        std::string all;
        while (all.size() < 10000000)
        {
            all += "A: b\r\n";
        }
        return all;
    }();
    const std::string body = "--B\r\n" + header + "\r\n\r\none\r\n--B\r\n" + lines + "\r\ntwo\r\n" +
                             "--B\r\nContent-Type: text/plain\r\n\r\nthree\r\n--B--";
    std::istringstream in(body);
    Response response = multipartResponse();
    response.parseResponseData(in);
    ASSERT_EQ(response.contents.size(), 3U);
    EXPECT_EQ(described(response.contents[0]), "octets:" + header + "\r\n\r\none");
    EXPECT_EQ(described(response.contents[1]), "octets:" + lines + "\r\ntwo");
    EXPECT_EQ(described(response.contents[2]), "text:three");
    EXPECT_TRUE(response.bodyIsComplete());
}

TEST(MultipartBody, APreambleOfSixteenMegabytesIsSkipped)
{
    std::string body;
    body.resize(16 << 20, '-');
    PieceBuffer buffer(body + TWO_PARTS, 1 << 20);
    std::istream in(&buffer);
    Response response = multipartResponse();
    response.parseResponseData(in);
    EXPECT_THAT(described(response.contents), ElementsAre("text:one", "octets:two"));
}

} // namespace
