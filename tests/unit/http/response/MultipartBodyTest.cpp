#include "support/ContentText.hpp"
#include "support/LogLines.hpp"

#include "blocxx/BaseStreamBuffer.hpp"
#include "blocxx/NULLReferenceException.hpp"
#include "zol/http/Response.hpp"
#include "zol/mime/ContentException.hpp"
#include "zol/mime/MultipartMixedContent.hpp"
#include "zol/mime/OctetStreamContent.hpp"
#include "zol/mime/TextContent.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <istream>
#include <limits>
#include <random>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace
{

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using zol_test::logLines;
using namespace ZOLNS2;
using HTTP::Response;

const char* const RESPONSE = "zol.common.http.response";

Response multipartResponse(const char* parameters = "; boundary=B")
{
    Response response;
    response.contentType.setContentTypeString(blocxx::String("Content-Type: multipart/mixed") + parameters);
    return response;
}

/// What became of a part: its kind, a colon, its bytes.
std::string described(const MIME::ContentRef& content)
{
    return (content.cast_to<MIME::TextPlainContent>()                ? "text:"
            : content.cast_to<MIME::ApplicationOctetStreamContent>() ? "octets:"
                                                                     : "other:") +
           zol_test::textOf(content);
}

std::vector<std::string> described(const MIME::Contents& contents)
{
    std::vector<std::string> all;
    for (const MIME::ContentRef& content : contents)
    {
        all.push_back(described(content));
    }
    return all;
}

std::vector<std::string> partsOf(const std::string& body)
{
    std::istringstream in(body);
    Response response = multipartResponse();
    response.parseResponseData(in);
    EXPECT_TRUE(in.eof());
    return described(response.contents);
}

std::vector<std::string> errorsIn(const std::string& body)
{
    const zol_test::LogCapture log("ERROR");
    partsOf(body);
    return logLines(log, RESPONSE);
}

const std::string TWO_PARTS = "a preamble\r\n"
                              "--B\r\nContent-Type: text/plain\r\n\r\none\r\n"
                              "--B\r\nContent-Type: application/octet-stream\r\n\r\ntwo\r\n"
                              "--B--\r\nan epilogue\r\n";

TEST(MultipartBody, PartsComeInOrderWithoutTheLineEndBeforeABoundary)
{
    EXPECT_THAT(partsOf(TWO_PARTS), ElementsAre("text:one", "octets:two"));
}

TEST(MultipartBody, APreambleIsNotNeeded)
{
    EXPECT_THAT(partsOf(TWO_PARTS.substr(TWO_PARTS.find("--B"))), ElementsAre("text:one", "octets:two"));
}

TEST(MultipartBody, APartKeepsItsOwnLineEndsAndDashes)
{
    EXPECT_THAT(partsOf("--B\r\nContent-Type: text/plain\r\n\r\n\r\n--A\r\n--\r\n\r\n--B--"),
                ElementsAre("text:\r\n--A\r\n--\r\n"));
}

TEST(MultipartBody, BlanksAfterABoundaryAreDiscarded)
{
    const zol_test::LogCapture log;
    const std::string tabbed = "--B \t\r\nContent-Type: text/plain\r\n\r\none\r\n--B--";
    EXPECT_THAT(partsOf(tabbed), ElementsAre("text:one"));
    EXPECT_THAT(logLines(log, RESPONSE),
                Contains("DEBUG3 response: Discarding 4 bytes (whitespace) attached to the boundary line."));
    EXPECT_THAT(errorsIn(tabbed), IsEmpty());
}

TEST(MultipartBody, AMissingLineEndIsReportedBeforeTheDiscard)
{
    for (const auto& [body, error] :
         {std::pair("--B X\r\n\r\nbody", "ERROR response: No trailing \\r\\n located after boundary."),
          std::pair("--B  ", "ERROR response: No trailing \\r\\n located after boundary (.")})
    {
        const zol_test::LogCapture log;
        partsOf(body);
        const std::vector<std::string> lines = logLines(log, RESPONSE);
        const auto reported = std::find(lines.begin(), lines.end(), error);
        ASSERT_NE(reported, lines.end()) << body;
        ASSERT_NE(reported + 1, lines.end()) << body;
        EXPECT_EQ((reported + 1)->rfind("DEBUG3 response: Discarding ", 0), 0U) << *(reported + 1);
    }
}

TEST(MultipartBody, WithoutABoundaryParameterNothingIsLogged)
{
    std::istringstream in("--B\r\n\r\nbody\r\n--B--");
    Response response = multipartResponse("");
    const zol_test::LogCapture log;
    EXPECT_THROW(response.parseResponseData(in), MIME::ContentException);
    EXPECT_TRUE(log.records().empty());
}

TEST(MultipartBody, ABoundaryWithoutItsLineEndIsReportedAndItsPartKept)
{
    const std::string body = "--BContent-Type: text/plain\r\n\r\none\r\n--B--";
    EXPECT_THAT(partsOf(body), ElementsAre("text:one"));
    EXPECT_THAT(errorsIn(body), ElementsAre("ERROR response: No trailing \\r\\n located after boundary."));
}

TEST(MultipartBody, ALoneLineFeedAfterABoundaryIsNotItsLineEnd)
{
    const std::string body = "--B\nContent-Type: text/plain\n\none\r\n--B--";
    EXPECT_THAT(partsOf(body), ElementsAre("octets:Content-Type: text/plain\n\none"))
        << "the part begins with an empty line, so it has no header lines";
    EXPECT_THAT(errorsIn(body), ElementsAre("ERROR response: No trailing \\r\\n located after boundary."));
}

TEST(MultipartBody, ACarriageReturnAsTheLastByteIsNotALineEnd)
{
    const std::string body = "--B \r";
    EXPECT_THAT(errorsIn(body), ElementsAre("ERROR response: No trailing \\r\\n located after boundary."));
    EXPECT_THAT(partsOf(body), ElementsAre("text:")) << "the byte that is left is too little for a part";
}

TEST(MultipartBody, APartOfBlanksIsReportedAndBecomesEmpty)
{
    for (const std::string body : {"--B \t ", "--B \t \r\n--B--"}) // the line end belongs to the second boundary
    {
        EXPECT_THAT(errorsIn(body), ElementsAre("ERROR response: No trailing \\r\\n located after boundary (."));
        EXPECT_THAT(partsOf(body), ElementsAre("text:"));
    }
}

TEST(MultipartBody, APartOfALineEndAloneIsEmpty)
{
    EXPECT_THAT(errorsIn("--B\r\n\r\n--B--"), IsEmpty());
    EXPECT_THAT(partsOf("--B\r\n\r\n--B--"), ElementsAre("text:"));
}

TEST(MultipartBody, PartsBelowTwoBytesAreTakenAsTheyAre)
{
    EXPECT_THAT(partsOf("--B\r\n--Bx\r\n--B-\r\n--B--"), ElementsAre("text:", "text:", "text:"));
    EXPECT_THAT(errorsIn("--B\r\n--Bx\r\n--B-\r\n--B--"), IsEmpty());
}

TEST(MultipartBody, WithoutAClosingBoundaryTheRestIsTheLastPart)
{
    EXPECT_THAT(partsOf("--B\r\nContent-Type: text/plain\r\n\r\none\r\n"
                        "--B\r\nContent-Type: text/plain\r\n\r\nunfinished\r\n--"),
                ElementsAre("text:one", "text:unfinished\r\n--"));
}

TEST(MultipartBody, WithoutAnyBoundaryThereIsNothing)
{
    EXPECT_THAT(partsOf("some text\r\n--A\r\n-B\r\n"), IsEmpty());
    EXPECT_THAT(errorsIn("some text\r\n--A\r\n-B\r\n"), IsEmpty());
    EXPECT_THAT(partsOf(""), IsEmpty());
}

TEST(MultipartBody, TheFirstBoundaryNeedNotBeginALine)
{
    EXPECT_THAT(partsOf("preamble--B\r\nContent-Type: text/plain\r\n\r\none--B two\r\n--B--"),
                ElementsAre("text:one--B two"))
        << "every later one needs to";
}

TEST(MultipartBody, WhatBeginsWithTwoDashesIsTheEnd)
{
    std::istringstream in("--B\r\nContent-Type: text/plain\r\n\r\none\r\n"
                          "--B--not the end\r\n\r\ntwo\r\n--B\r\n\r\nthree");
    Response response = multipartResponse();
    response.parseResponseData(in);
    EXPECT_THAT(described(response.contents), ElementsAre("text:one"));
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(in), {}), "\r\n\r\nthree")
        << "a boundary after the end is where reading stops";
}

TEST(MultipartBody, APartOfAnotherTypeIsReportedUnderTheOuterTypeAndSkipped)
{
    const std::string body = "--B\r\nContent-Type: text/plain\r\n\r\none\r\n"
                             "--B\r\nContent-Type: image/png\r\n\r\npicture\r\n"
                             "--B\r\nContent-Type: Multipart/mixed; boundary=C\r\n\r\n--C\r\n\r\nx\r\n--C--\r\n"
                             "--B\r\nContent-Type: text/xml\r\n\r\ntwo\r\n--B--";
    EXPECT_THAT(partsOf(body), ElementsAre("text:one", "text:two"));
    EXPECT_THAT(
        errorsIn(body),
        ElementsAre("ERROR response: Invalid header type given to createContent(): image",
                    "ERROR response: Failed to create content for part .. (FIXME: Bad error message).: multipart",
                    "ERROR response: Invalid header type given to createContent(): Multipart",
                    "ERROR response: Failed to create content for part .. (FIXME: Bad error message).: multipart"));
}

TEST(MultipartBody, APartWhoseHeadersCannotBeReadIsAnOctetStreamOfAllItsBytes)
{
    EXPECT_THAT(partsOf("--B\r\nno header line\r\n\r\none\r\n--B\r\nContent-Type: text/plain\r\n\r\ntwo\r\n--B--"),
                ElementsAre("octets:no header line\r\n\r\none", "text:two"));
    EXPECT_THAT(partsOf("--B\r\nContent-Type: text/plain\r\nno header line\r\n\r\none\r\n--B--"),
                ElementsAre("text:Content-Type: text/plain\r\nno header line\r\n\r\none"))
        << "unless a type stands before the line that cannot be read";
}

TEST(MultipartBody, APartWithoutATypeIsAnOctetStream)
{
    EXPECT_THAT(partsOf("--B\r\n\r\none\r\n--B\r\nX: y\r\n\r\ntwo\r\n--B--"), ElementsAre("octets:one", "octets:two"));
}

TEST(MultipartBody, WithoutABoundaryParameterNothingIsRead)
{
    for (const char* const parameters : {"", "; boundary=", "; Boundary=B"})
    {
        std::istringstream in(TWO_PARTS);
        Response response = multipartResponse(parameters);
        try
        {
            response.parseResponseData(in);
            FAIL() << "no exception";
        }
        catch (const MIME::ContentException& e)
        {
            EXPECT_EQ(std::string(e.getMessage()),
                      std::string("Content-Type says multipart, but no boundary supplied.  "
                                  "Content-Type: multipart/mixed") +
                          parameters + ",");
            EXPECT_EQ(e.getErrorCode(), -1);
            EXPECT_EQ(e.getSubClassId(), -1);
            EXPECT_EQ(e.getSubException(), nullptr);
            EXPECT_STREQ(e.getFile(), "HTTPResponse");
        }
        EXPECT_EQ(in.tellg(), std::streampos(0));
        EXPECT_TRUE(response.contents.empty());
    }
}

TEST(MultipartBody, TheBoundaryIsUsedExactlyAsTheParameterHoldsIt)
{
    std::istringstream in("-- (B)+\r\nContent-Type: text/plain\r\n\r\none\r\n-- (B)+--");
    Response response = multipartResponse("; boundary=\" (B)+\"");
    response.parseResponseData(in);
    EXPECT_THAT(described(response.contents), ElementsAre("text:one"));
}

TEST(MultipartBody, ItsPartsAreAppendedToWhatTheResponseHolds)
{
    std::istringstream in(TWO_PARTS);
    Response response = multipartResponse();
    response.contents.push_back(MIME::ContentRef(new MIME::TextPlainContent("zero")));
    response.parseResponseData(in);
    EXPECT_THAT(described(response.contents), ElementsAre("text:zero", "text:one", "octets:two"));
    EXPECT_EQ(response.contentType.getContentTypeString(), "Content-Type: multipart/mixed; boundary=B")
        << "the type of the body is left alone";
}

TEST(MultipartBody, AnyMultipartSubtypeIsSplit)
{
    std::istringstream in(TWO_PARTS);
    Response response;
    response.contentType.setContentTypeString("Content-Type: MULTIPART/related; boundary=B");
    response.parseResponseData(in);
    EXPECT_EQ(response.contents.size(), 2U);
}

TEST(MultipartBody, EveryStepIsLogged)
{
    const zol_test::LogCapture log;
    partsOf("pre--B \r\nContent-Type: text/plain\r\n\r\none\r\n--Bx\r\n--B--");
    EXPECT_THAT(
        logLines(log, RESPONSE),
        ElementsAre(
            "DEBUG3 response: Getting parts for multi-part content", "DEBUG3 response: Snagged a part: 3 bytes long",
            "DEBUG3 response: This part will be ignored: No prior parts.", "DEBUG3 response: More parts will follow.",
            "DEBUG3 response: Discarding 3 bytes (whitespace) attached to the boundary line.",
            "DEBUG3 response: Snagged a part: 31 bytes long", "DEBUG3 response: More parts will follow.",
            "DEBUG3 response: createContent(): Extracting content for 31 bytes of data.",
            "DEBUG3 response: Headers parsed correctly...", "DEBUG3 header: [content-type,text/plain]",
            "DEBUG3 response: Read 3 bytes of data from data stream.",
            "DEBUG2 response: Setting section type to be: Content-type: text/plain",
            "DEBUG2 response: Creating a TextPlainContent type for the given data (8 bit).",
            "DEBUG3 response: Snagged a part: 1 bytes long", "DEBUG3 response: More parts will follow.",
            "DEBUG response: createContent(): Length of content (1) is too short.  Returning an empty "
            "text/plain type",
            "DEBUG3 response: Snagged a part: 2 bytes long",
            "DEBUG3 response: This part will be ignored: End of parts marker found.",
            "DEBUG3 response: This is the last part."));
}

TEST(MultipartBody, APartWithoutBlanksLogsADiscardOfItsLineEndAlone)
{
    const zol_test::LogCapture log;
    partsOf("--Bab\r\n--B\r\ncd\r\n--B--");
    EXPECT_THAT(logLines(log, RESPONSE),
                Contains("DEBUG3 response: Discarding 0 bytes (whitespace) attached to the boundary line."));
    EXPECT_THAT(logLines(log, RESPONSE),
                Contains("DEBUG3 response: Discarding 2 bytes (whitespace) attached to the boundary line."));
}

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

TEST(MultipartBody, IsReadAlikeInPiecesOfEverySize)
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
