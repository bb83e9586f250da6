#include "response/CreateContent.hpp"

#include "RandomHeads.hpp"
#include "response/PartHeaders.hpp"
#include "support/LogCapture.hpp"
#include "support/LogLines.hpp"
#include "support/TextOf.hpp"

#include "zol/mime/OctetStreamContent.hpp"
#include "zol/mime/TextContent.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <typeinfo>
#include <vector>

namespace
{

using testing::ElementsAre;
using zol_test::logLines;
using zol_test::textOf;
using ZOLNS2::HTTP::HTTPResponseUnit::createContent;
using ZOLNS2::HTTP::HTTPResponseUnit::takePartHeadersInPlace;
using ZOLNS2::MIME::ApplicationOctetStreamContent;
using ZOLNS2::MIME::ContentRef;
using ZOLNS2::MIME::ContentTypeHeader;
using ZOLNS2::MIME::ReceivedBytes;
using ZOLNS2::MIME::TextPlainContent;

const char* const RESPONSE = "zol.common.http.response";

ContentTypeHeader multipart(const char* parameters = "boundary=B")
{
    ContentTypeHeader type;
    type.setContentTypeString((std::string("Content-Type: Multipart/mixed; ") + parameters).c_str());
    return type;
}

ContentRef contentOf(const std::string& part, const ContentTypeHeader& type = multipart())
{
    ReceivedBytes data;
    data.append(part.data(), part.size());
    return createContent(data, type);
}

bool isText(const ContentRef& content)
{
    return static_cast<bool>(content.cast_to<TextPlainContent>());
}

bool isOctetStream(const ContentRef& content)
{
    return static_cast<bool>(content.cast_to<ApplicationOctetStreamContent>());
}

TEST(CreateContent, PartIsOfTheTypeItDeclares)
{
    const ContentRef text = contentOf("X: y\r\nContent-Type: text/html\r\n\r\nhello");
    EXPECT_TRUE(isText(text));
    EXPECT_EQ(textOf(text), "hello");
    const ContentRef bytes = contentOf("CONTENT-TYPE: application/pdf\r\n\r\nhello");
    EXPECT_TRUE(isOctetStream(bytes));
    EXPECT_EQ(textOf(bytes), "hello");
}

TEST(CreateContent, PartWithoutATypeIsAnOctetStream)
{
    const ContentRef content = contentOf("X: y\r\n\r\nhello");
    EXPECT_TRUE(isOctetStream(content));
    EXPECT_EQ(textOf(content), "hello");
}

TEST(CreateContent, PartThatBeginsWithTheEmptyLineIsAnOctetStream)
{
    const ContentRef content = contentOf("\r\nhello");
    EXPECT_TRUE(isOctetStream(content));
    EXPECT_EQ(textOf(content), "hello");
}

TEST(CreateContent, PartWithoutHeadersKeepsAllItsBytes)
{
    const ContentRef content = contentOf("no header line\r\n\r\nhello");
    EXPECT_TRUE(isOctetStream(content));
    EXPECT_EQ(textOf(content), "no header line\r\n\r\nhello");
}

TEST(CreateContent, PartWithUnreadableHeadersKeepsAllItsBytes)
{
    const std::string part = "Content-Type: text/plain\r\nno header line\r\n\r\nhello";
    const ContentRef content = contentOf(part);
    EXPECT_TRUE(isText(content)) << "the type was named before the unreadable line";
    EXPECT_EQ(textOf(content), part);
}

TEST(CreateContent, PartMayEndRightAfterItsHeaderLines)
{
    for (const char* const part :
         {"Content-Type: text/plain", "Content-Type: text/plain\r\n", "Content-Type: text/plain\r\n\r\n"})
    {
        const ContentRef content = contentOf(part);
        EXPECT_TRUE(isText(content)) << part;
        EXPECT_EQ(textOf(content), "") << part;
    }
}

TEST(CreateContent, PartBodyOfOneByteIsKept)
{
    EXPECT_EQ(textOf(contentOf("Content-Type: text/plain\r\n\r\nx")), "x");
}

TEST(CreateContent, PartOfFewerThanTwoBytesIsEmptyText)
{
    for (const char* const part : {"", "x"})
    {
        EXPECT_TRUE(isText(contentOf(part)));
        EXPECT_EQ(textOf(contentOf(part)), "");
    }
}

TEST(CreateContent, PartBodyLongerThanItsHeadersIsKeptWhole)
{
    std::string body;
    for (int i = 0; i < 10000; ++i)
    {
        body += std::to_string(i);
    }
    for (const char* const type : {"application/x", "text/plain"})
    {
        EXPECT_TRUE(textOf(contentOf(std::string("Content-Type: ") + type + "\r\n\r\n" + body)) == body) << type;
    }
}

TEST(CreateContent, PartHeadersOfAnyLengthAreTakenOffTheFront)
{
    const std::string body = "a body";
    for (const size_t lines : {1U, 39U, 40U, 41U, 50U, 100U, 500U})
    {
        std::string fields;
        for (size_t i = 0; i < lines; ++i)
        {
            fields += "X-" + std::to_string(i) + ": " + std::string(390 + i % 20, 'x') + "\r\n";
        }
        for (const char* const type : {"application/x", "text/plain"})
        {
            const ContentRef content = contentOf(fields + "Content-Type: " + type + "\r\n\r\n" + body);
            EXPECT_EQ(textOf(content), body) << lines;
            EXPECT_EQ(content->getContentLength(), body.size());
        }
    }
}

TEST(CreateContent, SixteenBitPart)
{
    const ContentRef content = contentOf(std::string("Content-Type: text/plain; charset=UTF-16\r\n\r\na\0b\0c", 49));
    EXPECT_TRUE(isText(content));
    EXPECT_EQ(textOf(content), std::string("a\0b\0", 4));

    std::string body;
    for (int i = 0; i < 30000; ++i)
    {
        body += std::to_string(i);
    }
    body.resize(body.size() / 2 * 2);
    EXPECT_TRUE(textOf(contentOf("Content-Type: text/plain; charset=UTF-16\r\n\r\n" + body + "x")) == body);
}

TEST(CreateContent, OuterCharsetComesFirst)
{
    const ContentRef content =
        contentOf("Content-Type: text/plain; charset=UTF-16\r\n\r\nabc", multipart("boundary=B; charset=UTF-8"));
    EXPECT_EQ(textOf(content), "abc");
}

TEST(CreateContent, HeaderOfTheCallerIsLeftAlone)
{
    const ContentTypeHeader type = multipart();
    contentOf("Content-Type: text/plain; a=b\r\n\r\nhello", type);
    EXPECT_EQ(toString(type), "Multipart/mixed; boundary=B");
    EXPECT_EQ(type.getContentTypeString(), "Content-Type: Multipart/mixed; boundary=B");
}

TEST(CreateContent, UnsupportedPartIsNull)
{
    const zol_test::LogCapture log(blocxx::E_ERROR_LEVEL);
    EXPECT_FALSE(contentOf("Content-Type: image/png\r\n\r\nhello"));
    EXPECT_THAT(logLines(log, RESPONSE),
                ElementsAre("ERROR response: Invalid header type given to createContent(): image"));
}

TEST(CreateContent, NestedMultipartIsUnsupported)
{
    EXPECT_FALSE(contentOf("Content-Type: multipart/mixed; boundary=C\r\n\r\n--C\r\n\r\nx\r\n--C--"));
}

TEST(CreateContent, LogsEveryStepOfAPart)
{
    const ContentTypeHeader type = multipart();
    const zol_test::LogCapture log(blocxx::E_DEBUG3_LEVEL);
    contentOf("X: y\r\nContent-Type: text/plain\r\n\r\nhello", type);
    EXPECT_THAT(logLines(log, RESPONSE),
                ElementsAre("DEBUG3 response: createContent(): Extracting content for 39 bytes of data.",
                            "DEBUG3 response: Headers parsed correctly...", "DEBUG3 header: [content-type,text/plain]",
                            "DEBUG3 header: [x,y]", "DEBUG3 response: Read 5 bytes of data from data stream.",
                            "DEBUG2 response: Setting section type to be: Content-type: text/plain",
                            "DEBUG2 response: Creating a TextPlainContent type for the given data (8 bit)."));
}

TEST(CreateContent, LogsThatAPartHasNoHeaders)
{
    const ContentTypeHeader type = multipart();
    const zol_test::LogCapture log(blocxx::E_DEBUG3_LEVEL);
    contentOf("hello", type);
    EXPECT_THAT(logLines(log, RESPONSE),
                ElementsAre("DEBUG3 response: createContent(): Extracting content for 5 bytes of data.",
                            "DEBUG response: Failed parsing headers (no content-type supplied)...",
                            "DEBUG2 response: Setting section type to be: Content-type: application/octet-stream",
                            "DEBUG2 response: Creating an ApplicationOctetStreamContent type for the given data."));
}

/// What was made of a part.
std::string made(const std::string& part, const ContentTypeHeader& type)
{
    const ContentRef content = contentOf(part, type);
    return !content ? "nothing"
                    : (isText(content)          ? "text "
                       : isOctetStream(content) ? "octets "
                                                : "") +
                          textOf(content);
}

/// A part whose head is like those of responses, at times behind a line that does not lie in one piece, and at times cut.
std::string randomPart(zol_test::RandomHeads& random)
{
    std::string part = random.next();
    part.erase(0, part.find('\n') + 1);
    part += std::string(random.below(30), 'b');
    if (random.oneIn(10))
    {
        part.insert(0, "Long: " + std::string(16384 - random.below(200), 'x') + "\r\n");
    }
    if (random.oneIn(5))
    {
        const std::size_t cut = random.below(part.size() + 1);
        // A type that ends behind a semicolon is not read in any useful time.
        if (part.find(';', part.substr(0, cut).rfind('\n') + 1) >= cut)
        {
            part.resize(cut);
        }
    }
    return part;
}

TEST(CreateContent, MakesTheSameOfAPartWhetherItIsLoggedOrNot)
{
    zol_test::RandomHeads random(5);
    const std::vector<ContentTypeHeader> types{multipart(), multipart("charset=UTF-16; boundary=B")};
    std::vector<std::string> parts;
    std::vector<std::string> logged;
    int inPlace = 0;
    {
        const zol_test::LogCapture log("ERROR");
        for (std::size_t i = 0; i < 8000; ++i)
        {
            parts.push_back(randomPart(random));
            logged.push_back(made(parts.back(), types[i % 2]));
        }
    }
    for (std::size_t i = 0; i < parts.size(); ++i)
    {
        ASSERT_EQ(made(parts[i], types[i % 2]), logged[i]) << parts[i];
        ReceivedBytes data;
        data.append(parts[i].data(), parts[i].size());
        std::string_view type;
        inPlace += data.size() > 0 && takePartHeadersInPlace(data, type) ? 1 : 0;
    }
    EXPECT_GT(inPlace, 3000);
    EXPECT_LT(inPlace, 7500);
}

TEST(CreateContent, TypeOfAPartWithParametersIsReadAsAWholeLine)
{
    EXPECT_TRUE(isText(contentOf("Content-Type: text /plain;charset=x/y\r\n\r\nhello")));
    EXPECT_FALSE(contentOf("Content-Type: x;charset=text/y\r\n\r\nhello"));
    EXPECT_FALSE(contentOf("Content-Type: text\r\n\r\nhello"));
    EXPECT_FALSE(contentOf("Content-Type: /text\r\n\r\nhello"));
    EXPECT_TRUE(isOctetStream(contentOf("Content-Type: Application \t/x/y\r\n\r\nhello")));
}

} // namespace

TEST(CreateContent, ReceivedOctetStreamIsAnOrdinaryOneWhoseCopiesHoldTheBytes)
{
    const std::string body(40000, 'b');
    ContentRef received = contentOf("Content-Type: application/octet-stream\r\n\r\n" + body);
    ASSERT_TRUE(received.cast_to<ApplicationOctetStreamContent>());
    const auto& octets = dynamic_cast<const ApplicationOctetStreamContent&>(*received);
    EXPECT_EQ(typeid(octets), typeid(ApplicationOctetStreamContent));

    const ContentRef kept(new ApplicationOctetStreamContent(octets));
    const ContentRef assigned(new ApplicationOctetStreamContent("old", 3));
    dynamic_cast<ApplicationOctetStreamContent&>(*assigned) = octets;
    received = ContentRef();
    EXPECT_EQ(textOf(kept), body);
    EXPECT_EQ(textOf(assigned), body);
}
