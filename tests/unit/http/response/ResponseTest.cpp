#include "zol/http/Response.hpp"

#include "support/LogLines.hpp"
#include "support/TextOf.hpp"

#include "blocxx/LogAppender.hpp"
#include "blocxx/LogMessage.hpp"
#include "zol/http/HTTPException.hpp"
#include "zol/mime/TextContent.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <typeinfo>
#include <vector>

namespace
{

using testing::ElementsAre;
using testing::IsEmpty;
using zol_test::logLines;
using zol_test::textOf;
using ZOLNS2::HTTP::HTTPException;
using ZOLNS2::HTTP::Response;
using ZOLNS2::MIME::ContentRef;
using ZOLNS2::MIME::TextPlainContent;

Response responseOfThreeParts()
{
    Response response;
    for (const char* const text : {"one", "two", "three"})
    {
        response.contents.push_back(ContentRef(new TextPlainContent(text)));
    }
    return response;
}

std::vector<char> byteArrayOf(const char* text, size_t length)
{
    blocxx::StringBuffer buffer;
    for (size_t i = 0; i < length; ++i)
    {
        buffer.append(text[i]);
    }
    const blocxx::Array<char> bytes = Response().convertToByteArray(buffer);
    return {bytes.begin(), bytes.end()};
}

TEST(Response, FreshOneHasNoPartsAndIsAnOctetStream)
{
    Response response;
    EXPECT_FALSE(response.getNextPart());
    EXPECT_EQ(response.currentPart, 0U);
    EXPECT_TRUE(response.contents.empty());
    EXPECT_EQ(response.headers.begin(), response.headers.end());
    EXPECT_EQ(response.statusLine.reasonPhrase, "");
    EXPECT_EQ(response.contentType.getType(), "application");
    EXPECT_EQ(response.contentType.getSubType(), "octet-stream");
    EXPECT_TRUE(response.contentType.getParameters().empty());
    EXPECT_EQ(response.contentType.getContentTypeString(), "Content-type: application/octet-stream");
    EXPECT_EQ(response.reserved1, "");
    EXPECT_EQ(response.reserved2, "");
    EXPECT_TRUE(response.reserved3.empty());
}

TEST(Response, PartsComeInOrderAndThenNullForGood)
{
    Response response = responseOfThreeParts();
    EXPECT_EQ(textOf(response.getNextPart()), "one");
    EXPECT_EQ(textOf(response.getNextPart()), "two");
    EXPECT_EQ(textOf(response.getNextPart()), "three");
    EXPECT_FALSE(response.getNextPart());
    EXPECT_FALSE(response.getNextPart());
    EXPECT_EQ(response.currentPart, 3U);
}

TEST(Response, CopyContinuesWhereTheOriginalWasAndAdvancesByItself)
{
    Response response = responseOfThreeParts();
    const ContentRef first = response.getNextPart();
    Response copy = response;
    EXPECT_EQ(textOf(copy.getNextPart()), "two");
    EXPECT_EQ(textOf(copy.getNextPart()), "three");
    EXPECT_EQ(textOf(response.getNextPart()), "two");
}

TEST(Response, NextPartUnsharesTheListOfContents)
{
    Response response;
    response.contents.push_back(ZOLNS2::MIME::ContentRef(new ZOLNS2::MIME::TextPlainContent("text")));
    const Response copy(response);
    const ZOLNS2::MIME::Contents& list = response.contents;
    ASSERT_EQ(&*list.begin(), &*copy.contents.begin()) << "a copy shares the list";
    const ZOLNS2::MIME::ContentRef part = response.getNextPart();
    EXPECT_NE(&*list.begin(), &*copy.contents.begin());
    EXPECT_EQ(part, copy.contents[0]) << "the contents themselves stay shared";
}

TEST(Response, CopiesShareTheContents)
{
    Response response = responseOfThreeParts();
    Response copy = response;
    EXPECT_EQ(copy.getNextPart(), response.getNextPart());
}

TEST(Response, ConvertToByteArrayPutsZeroBytesFirst)
{
    EXPECT_THAT(byteArrayOf("ab", 2), ElementsAre('\0', '\0', '\0', 'a', 'b'));
    EXPECT_THAT(byteArrayOf("a\0b", 3), ElementsAre('\0', '\0', '\0', '\0', 'a', '\0', 'b'));
    EXPECT_THAT(byteArrayOf("", 0), ElementsAre('\0'));
}

TEST(Response, ExtractionReadsHeadAndBodyAndReturnsTheStream)
{
    std::istringstream input("HTTP/1.1 200 OK\r\nContent-Type: text/plain\r\n\r\nhello");
    Response response;
    EXPECT_EQ(&(input >> response), &input);
    EXPECT_EQ(response.statusLine.statusCode, 200);
    ASSERT_EQ(response.contents.size(), 1U);
    EXPECT_EQ(textOf(response.contents[0]), "hello");
}

TEST(Response, ExtractingTwiceAppends)
{
    std::istringstream first("HTTP/1.1 200 OK\r\nContent-Type: text/plain; charset=x\r\nB: 1\r\n\r\nhello");
    std::istringstream second("HTTP/1.1 201 Made\r\nContent-Type: text/xml; charset=y\r\nA: 2\r\n\r\nworld");
    Response response;
    first >> response;
    second >> response;
    EXPECT_EQ(response.statusLine.statusCode, 201);
    EXPECT_EQ(response.headers.getHeaderValue("b"), "1");
    EXPECT_EQ(response.headers.getHeaderValue("a"), "2");
    EXPECT_EQ(response.contentType.getSubType(), "xml");
    EXPECT_EQ(response.contentType.getParameters().size(), 2U);
    ASSERT_EQ(response.contents.size(), 2U);
    EXPECT_EQ(textOf(response.contents[0]), "hello");
    EXPECT_EQ(textOf(response.contents[1]), "world");
}

TEST(Response, FailedExtractionKeepsTheHeadLogsAndThrowsOn)
{
    const zol_test::LogCapture log(blocxx::E_ERROR_LEVEL);
    std::istringstream input("HTTP/1.1 500 Oh No\r\nA: 1\r\nContent-Type: text/html\r\n\r\nbody");
    Response response;
    std::string printed;
    try
    {
        input >> response;
        FAIL() << "a 500 response is not a success";
    }
    catch (const HTTPException& e)
    {
        EXPECT_EQ(e.getErrorCode(), 500);
        std::ostringstream text;
        text << e;
        printed = text.str();
    }
    EXPECT_EQ(response.statusLine.statusCode, 500);
    EXPECT_EQ(response.headers.getHeaderValue("A"), "1");
    EXPECT_EQ(response.contentType.getSubType(), "html");
    EXPECT_TRUE(response.contents.empty());
    EXPECT_THAT(logLines(log, "zol.common.http.response"),
                ElementsAre("ERROR response: Error retrieving http response: " + printed));
    EXPECT_THAT(printed, testing::MatchesRegex("HTTPResponse: [0-9]+ HTTPException: 500: "
                                               "Error response from http server: HTTP/1.1 500 Oh No"));
}

TEST(Response, FailedExtractionIsSilentBelowTheErrorLevel)
{
    const zol_test::LogCapture log(blocxx::E_FATAL_ERROR_LEVEL);
    std::istringstream input("HTTP/1.1 500 Oh\r\n\r\n");
    Response response;
    EXPECT_THROW(input >> response, HTTPException);
    EXPECT_THAT(logLines(log, "zol.common.http.response"), IsEmpty());
}

struct SpecialException : HTTPException
{
    SpecialException() : HTTPException("special", 1, "special", 7, nullptr, -1) {}
};

/// Makes reading a head fail with an exception of its choice, and keeps the errors that are logged.
template <class Thrown>
class ThrowingAppender : public blocxx::LogAppender
{
public:
    const std::vector<std::string>& errors() const { return m_errors; }

private:
    void doProcessLogMessage(const blocxx::String&, const blocxx::LogMessage& record) const override
    {
        if (record.message == "response: Checking request status line.")
        {
            throw Thrown();
        }
        if (record.category == "ERROR")
        {
            m_errors.push_back(record.message.c_str());
        }
    }

    mutable std::vector<std::string> m_errors;
};

template <class Thrown>
std::vector<std::string> errorsLoggedWhenReadingThrows()
{
    const blocxx::IntrusiveReference<ThrowingAppender<Thrown>> appender(new ThrowingAppender<Thrown>);
    const blocxx::LogAppenderScope scope(appender);
    std::istringstream input("HTTP/1.1 200 OK\r\n\r\n");
    Response response;
    EXPECT_THROW(input >> response, Thrown);
    return appender->errors();
}

TEST(Response, RethrowsTheVeryObjectThatWasThrown)
{
    EXPECT_THAT(errorsLoggedWhenReadingThrows<SpecialException>(),
                ElementsAre("response: Error retrieving http response: special: 1 HTTPException: 7: special"));
}

TEST(Response, OtherExceptionsPassWithoutALog)
{
    EXPECT_THAT(errorsLoggedWhenReadingThrows<std::bad_cast>(), IsEmpty());
}

} // namespace
