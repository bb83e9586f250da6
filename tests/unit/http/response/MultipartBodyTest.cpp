#include "MultipartBodies.hpp"
#include "support/LogLines.hpp"

#include "zol/http/Response.hpp"
#include "zol/mime/ContentException.hpp"
#include "zol/mime/TextContent.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

namespace
{

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using zol_test::described;
using zol_test::logLines;
using zol_test::multipartResponse;
using zol_test::TWO_PARTS;
using namespace ZOLNS2;
using HTTP::Response;

const char* const RESPONSE = "zol.common.http.response";

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
        << "unless a type precedes the line that cannot be read";
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

} // namespace
