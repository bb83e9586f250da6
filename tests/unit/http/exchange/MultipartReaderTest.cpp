#include "zol/mime/MultipartReader.hpp"

#include "support/Allocations.hpp"
#include "support/ScriptedContent.hpp"
#include "support/TextOf.hpp"

#include "zol/http/ExchangeException.hpp"
#include "zol/http/MIMEContentIStream.hpp"
#include "zol/mime/ContentEnd.hpp"
#include "zol/mime/ContentException.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <sstream>
#include <string>
#include <vector>

namespace
{

using testing::ElementsAre;
using testing::HasSubstr;
using zol_test::scripted;
using ZOLNS2::HTTP::ExchangeException;
using ZOLNS2::HTTP::Parameter;
using ZOLNS2::MIME::ContentRef;
using ZOLNS2::MIME::ContentTypeHeader;
using ZOLNS2::MIME::MultipartReader;

ContentTypeHeader multipart(const char* boundary, const char* subtype = "form-data")
{
    return {"multipart", subtype, blocxx::Array<Parameter>(1, Parameter("boundary", boundary))};
}

ContentRef body(std::vector<std::string> pieces, const char* boundary = "b")
{
    const auto content = scripted(std::move(pieces));
    content->type = multipart(boundary);
    return content;
}

std::string bytesOf(const ContentRef& content, size_t blockSize = 1000)
{
    const auto state = content->createInitialStreamState();
    std::string bytes;
    std::string block(blockSize, '\0');
    for (size_t count = 0; (count = content->getData(block.data(), blockSize, state)) != ZOLNS2::MIME::END_OF_DATA;)
    {
        bytes.append(block, 0, count);
    }
    return bytes;
}

std::vector<std::string> partsOf(MultipartReader reader, size_t blockSize = 1000)
{
    std::vector<std::string> parts;
    while (const auto part = reader.next())
    {
        parts.push_back(bytesOf(part->getContent(), blockSize));
    }
    return parts;
}

std::vector<std::string> partsOf(const std::string& wire)
{
    return partsOf(MultipartReader(body({wire})));
}

void expectFailure(const std::string& wire, ExchangeException::ECause cause, const std::string& words,
                   const MultipartReader::Limits& limits = MultipartReader::Limits())
{
    SCOPED_TRACE(wire.substr(0, 200));
    try
    {
        partsOf(MultipartReader(body({wire}), limits));
        ADD_FAILURE() << "no exception";
    }
    catch (const ExchangeException& failure)
    {
        EXPECT_EQ(failure.phase(), ExchangeException::E_BODY);
        EXPECT_EQ(failure.cause(), cause) << failure.getMessage();
        EXPECT_THAT(failure.getMessage(), HasSubstr(words));
    }
}

const std::string WIRE = "preamble\r\n--b\r\nX-One: 1\r\nContent-Type: text/html; Charset=x\r\n\r\nfirst\r\npart\r\n"
                         "--b \t\r\n\r\n\r\n--b\r\n\r\nlast\r\n--b--\r\nepilogue";

TEST(MultipartReader, YieldsPartAfterPart)
{
    EXPECT_THAT(partsOf(WIRE), ElementsAre("first\r\npart", "", "last"));
}

TEST(MultipartReader, YieldsTheSameHoweverTheBodyArrives)
{
    EXPECT_THAT(partsOf(MultipartReader(body(zol_test::byteByByte(WIRE)))), ElementsAre("first\r\npart", "", "last"));
    for (size_t cut = 1; cut < WIRE.size(); ++cut)
    {
        EXPECT_THAT(partsOf(MultipartReader(body({WIRE.substr(0, cut), WIRE.substr(cut)}))),
                    ElementsAre("first\r\npart", "", "last"))
            << cut;
    }
}

TEST(MultipartReader, GivesHeadersAndTypeOfAPart)
{
    MultipartReader reader(body({WIRE}));
    const auto first = reader.next();
    ASSERT_TRUE(first);
    EXPECT_EQ(first->getHeaders().getHeaderValue("x-one"), "1");
    EXPECT_EQ(toString(first->getContentType()), "text/html; charset=x");
    EXPECT_EQ(toString(first->getContent()->getContentType()), "text/html; charset=x");
    EXPECT_FALSE(first->getContent()->hasContentLength());
    EXPECT_THROW(first->getContent()->getContentLength(), ZOLNS2::MIME::ContentException);
    const auto second = reader.next();
    ASSERT_TRUE(second);
    EXPECT_EQ(toString(second->getContentType()), "text/plain");
    EXPECT_TRUE(second->getHeaders().begin() == second->getHeaders().end());
}

TEST(MultipartReader, TakesLineFeedsAlone)
{
    EXPECT_THAT(partsOf("--b\nA: 1\n\none\n--b\n\ntwo\n--b--"), ElementsAre("one", "two"));
}

TEST(MultipartReader, TakesAPartThatEndsBehindItsHeaderLines)
{
    EXPECT_THAT(partsOf("--b\r\nA: 1\r\n--b\r\nA: 2\r\n\r\n--b--\r\n"), ElementsAre("", ""));
    MultipartReader reader(body({"--b\r\nA: 1\r\nB: 2\r\n--b--"}));
    const auto part = reader.next();
    ASSERT_TRUE(part);
    EXPECT_EQ(part->getHeaders().getHeaderValue("B"), "2");
}

TEST(MultipartReader, KeepsLineEndsThatBelongToThePart)
{
    EXPECT_THAT(partsOf("--b\r\n\r\na\r\n\r\n\r\n--b\r\n\r\nb\r\r\n--b\r\n\r\n\n\n--b--"),
                ElementsAre("a\r\n\r\n", "b\r", "\n"));
}

TEST(MultipartReader, TakesNoLongerBoundaryAndNoneWithinALine)
{
    EXPECT_THAT(partsOf("--b\r\n\r\n--bb\r\n--b-\r\n--b x\r\nx--b\r\n--b--x\r\n --b\r\n--b\rx\r\n--b--"),
                ElementsAre("--bb\r\n--b-\r\n--b x\r\nx--b\r\n--b--x\r\n --b\r\n--b\rx"));
}

TEST(MultipartReader, HasNoPartsWhenTheClosingDelimiterComesFirst)
{
    EXPECT_THAT(partsOf("--b--"), ElementsAre());
    EXPECT_THAT(partsOf("preamble\r\n--b--\r\n"), ElementsAre());
}

TEST(MultipartReader, PassesOverWhatWasNotRead)
{
    MultipartReader reader(body({WIRE}));
    const auto first = reader.next();
    ASSERT_TRUE(first);
    const auto state = first->getContent()->createInitialStreamState();
    char block[2];
    EXPECT_EQ(first->getContent()->getData(block, 2, state), 2U);
    ASSERT_TRUE(reader.next());
    const auto third = reader.next();
    ASSERT_TRUE(third);
    EXPECT_EQ(bytesOf(third->getContent()), "last");
}

TEST(MultipartReader, AnEarlierPartThrowsInsteadOfReadingOn)
{
    MultipartReader reader(body({WIRE}));
    const auto first = reader.next();
    ASSERT_TRUE(first);
    reader.next();
    const auto state = first->getContent()->createInitialStreamState();
    char block[10];
    EXPECT_THROW(first->getContent()->getData(block, sizeof block, state), ZOLNS2::MIME::ContentException);
}

TEST(MultipartReader, APartThatWasReadToItsEndStaysAtItsEnd)
{
    MultipartReader reader(body({WIRE}));
    const auto first = reader.next();
    ASSERT_TRUE(first);
    const auto state = first->getContent()->createInitialStreamState();
    char block[100];
    while (first->getContent()->getData(block, sizeof block, state) != ZOLNS2::MIME::END_OF_DATA)
    {
    }
    reader.next();
    EXPECT_EQ(first->getContent()->getData(block, sizeof block, state), ZOLNS2::MIME::END_OF_DATA);
    EXPECT_FALSE(ZOLNS2::MIME::endedBadly(first->getContent(), state));
}

TEST(MultipartReader, APartIsReadOnce)
{
    MultipartReader reader(body({WIRE}));
    const auto part = reader.next();
    part->getContent()->createInitialStreamState();
    EXPECT_THROW(part->getContent()->createInitialStreamState(), ZOLNS2::MIME::ContentException);
}

TEST(MultipartReader, APartKeepsAliveWhatItReadsFrom)
{
    ContentRef content;
    {
        MultipartReader reader(body({WIRE}));
        content = reader.next()->getContent();
    }
    EXPECT_EQ(bytesOf(content), "first\r\npart");
}

TEST(MultipartReader, ReadsNestedOnes)
{
    const std::string inner = "--bb\r\n\r\nin one\r\n--bb\r\n\r\nin two\r\n--bb--";
    MultipartReader reader(
        body({"--b\r\nContent-Type: multipart/mixed; BOUNDARY=bb\r\n\r\n" + inner + "\r\n--b\r\n\r\nout\r\n--b--"}));
    const auto outer = reader.next();
    ASSERT_TRUE(outer);
    EXPECT_THAT(partsOf(MultipartReader(outer->getContent())), ElementsAre("in one", "in two"));
    const auto next = reader.next();
    ASSERT_TRUE(next);
    EXPECT_EQ(bytesOf(next->getContent()), "out");
}

TEST(MultipartReader, DoesNotUndoAContentTransferEncoding)
{
    EXPECT_THAT(partsOf("--b\r\nContent-Transfer-Encoding: base64\r\n\r\neHg=\r\n--b--"), ElementsAre("eHg="));
}

TEST(MultipartReader, ReadsStreams)
{
    std::istringstream stream(WIRE);
    EXPECT_THAT(partsOf(MultipartReader(stream, "b", MultipartReader::Limits())),
                ElementsAre("first\r\npart", "", "last"));
}

TEST(MultipartReader, EveryCutIsTold)
{
    const size_t closed = WIRE.find("--b--") + 5;
    for (size_t length = 0; length < closed; ++length)
    {
        expectFailure(WIRE.substr(0, length), ExchangeException::E_CUT, "ended before its closing delimiter");
    }
    for (size_t length = closed; length <= WIRE.size(); ++length)
    {
        EXPECT_EQ(partsOf(WIRE.substr(0, length)).size(), 3U) << length;
    }
}

TEST(MultipartReader, ACutPartEndsBadly)
{
    MultipartReader reader(body({"--b\r\n\r\ncut pa"}));
    const auto part = reader.next();
    ASSERT_TRUE(part);
    ZOLNS2::HTTP::MIMEContentIStream stream(part->getContent());
    std::ostringstream bytes;
    bytes << stream.rdbuf();
    EXPECT_EQ(bytes.str(), "cut pa");
    EXPECT_TRUE(stream.bad());
    EXPECT_THROW(reader.next(), ExchangeException);
    EXPECT_THROW(reader.next(), ExchangeException);
}

TEST(MultipartReader, PassesOverPreambleAndEpilogueOfManyBlocks)
{
    const std::string lines = zol_test::distinctBytes(300000);
    const std::vector<std::string> pieces{lines, "\r\n--b\r\n\r\npart\r\n--b--\r\n", lines, lines};
    const auto content = scripted(pieces);
    content->type = multipart("b");
    EXPECT_THAT(partsOf(MultipartReader(content)), ElementsAre("part"));
    content->throwAtPiece = pieces.size() - 1;
    EXPECT_THROW(partsOf(MultipartReader(content)), std::runtime_error) << "the epilogue was not read";
}

TEST(MultipartReader, ByteLimitHoldsInTheEpilogueAndAgainOnEveryCall)
{
    MultipartReader::Limits limits;
    limits.bytes = 200000;
    MultipartReader reader(body({"--b--\r\n" + std::string(300000, 'x')}), limits);
    EXPECT_THROW(reader.next(), ExchangeException);
    EXPECT_THROW(reader.next(), ExchangeException);
}

TEST(MultipartReader, BehindAPartWithMalformedFieldsTheNextOneIsRead)
{
    MultipartReader reader(body({"--b\r\nno colon\r\n\r\n1\r\n--b\r\n\r\n2\r\n--b--"}));
    EXPECT_THROW(reader.next(), ExchangeException);
    const auto part = reader.next();
    ASSERT_TRUE(part);
    EXPECT_EQ(bytesOf(part->getContent()), "2");
    EXPECT_FALSE(reader.next());
}

TEST(MultipartReader, APartMayEndBehindAMalformedLine)
{
    expectFailure("--b\r\nno colon\r\n--b--", ExchangeException::E_MALFORMED, "line 1 has no colon: \"no colon\"");
}

TEST(MultipartPart, IsWrittenToAStream)
{
    MultipartReader reader(body({"--b\r\n\r\n\r\n--b\r\n\r\none\r\n--b--"}));
    std::ostringstream out;
    while (const auto part = reader.next())
    {
        part->writeTo(out);
    }
    EXPECT_EQ(out.str(), "one");
    EXPECT_TRUE(out.good());
}

TEST(MultipartPart, ThatIsCutIsWrittenAsFarAsItArrivedAndThrows)
{
    MultipartReader reader(body({"--b\r\n\r\ncut pa"}));
    const auto part = reader.next();
    ASSERT_TRUE(part);
    std::ostringstream out;
    EXPECT_THROW(part->writeTo(out), ExchangeException);
    EXPECT_EQ(out.str(), "cut pa");
}

TEST(MultipartReader, StaysAtItsEnd)
{
    MultipartReader reader(body({WIRE}));
    while (reader.next())
    {
    }
    EXPECT_FALSE(reader.next());
}

TEST(MultipartReader, PartLimitHoldsOnBothSides)
{
    MultipartReader::Limits limits;
    limits.parts = 3;
    EXPECT_EQ(partsOf(MultipartReader(body({WIRE}), limits)).size(), 3U);
    limits.parts = 2;
    expectFailure(WIRE, ExchangeException::E_LIMIT, "more than 2 parts", limits);
    EXPECT_EQ(MultipartReader::Limits().parts, 1000U);
}

TEST(MultipartReader, HeadLimitHoldsOnBothSides)
{
    MultipartReader::Limits limits;
    EXPECT_EQ(limits.partHeadBytes, 65536U);
    limits.partHeadBytes = 8;
    EXPECT_EQ(partsOf(MultipartReader(body({"--b\r\nA: 1\r\n\r\nx\r\n--b--"}), limits)).size(), 1U);
    expectFailure("--b\r\nA: 12\r\n\r\nx\r\n--b--", ExchangeException::E_LIMIT, "part 1 are too large", limits);
}

TEST(MultipartReader, ByteLimitHoldsOnBothSides)
{
    MultipartReader::Limits limits;
    limits.bytes = WIRE.size();
    EXPECT_EQ(partsOf(MultipartReader(body({WIRE}), limits)).size(), 3U);
    limits.bytes = WIRE.size() - 1;
    expectFailure(WIRE, ExchangeException::E_LIMIT, "larger than", limits);
}

TEST(MultipartReader, MalformedHeaderFieldsNamePartAndLine)
{
    expectFailure("--b\r\n\r\n\r\n--b\r\nA: 1\r\nno colon\r\n\r\nx\r\n--b--", ExchangeException::E_MALFORMED,
                  "part 2 are malformed: line 2 has no colon: \"no colon\"");
}

TEST(MultipartReader, RefusesWhatIsNotMultipartAndWhatNamesNoBoundary)
{
    const auto text = scripted({WIRE});
    EXPECT_THROW(MultipartReader{ContentRef(text)}, ExchangeException);
    text->type = ContentTypeHeader("multipart", "mixed", blocxx::Array<Parameter>());
    EXPECT_THROW(MultipartReader{ContentRef(text)}, ExchangeException);
    EXPECT_THROW(MultipartReader(ContentRef(text), "", MultipartReader::Limits()), ExchangeException);
}

TEST(MultipartReader, WhatTheContentThrowsPassesThrough)
{
    const auto content = scripted({"--b\r\n\r\nx", "more"});
    content->type = multipart("b");
    content->throwAtPiece = 1;
    MultipartReader reader{ContentRef(content)};
    EXPECT_THROW(
        {
            const auto part = reader.next();
            bytesOf(part->getContent());
        },
        std::runtime_error);
}

TEST(MultipartReader, LargePartsArriveWholeBetweenNearDelimiters)
{
    std::string large;
    while (large.size() < 500000)
    {
        large += zol_test::distinctBytes(997) + "\r\n--boundar\r\n--boundary7";
    }
    const std::string wire = "--boundary\r\n\r\n" + large + "\r\n--boundary\r\n\r\n" + large + "\r\n--boundary--\r\n";
    for (const size_t blockSize : {size_t{1000}, size_t{8192}, size_t{20000}, size_t{65536}, size_t{1000000}})
    {
        SCOPED_TRACE(blockSize);
        const std::vector<std::string> parts = partsOf(MultipartReader(body({wire}, "boundary")), blockSize);
        ASSERT_EQ(parts.size(), 2U);
        EXPECT_TRUE(parts[0] == large);
        EXPECT_TRUE(parts[1] == large);
    }
}

TEST(MultipartReader, LargeReadsEndAtADelimiterWhereverItStands)
{
    constexpr size_t SIZE = 140000; // two large reads, and some
    for (size_t size = SIZE; size < SIZE + 60; ++size)
    {
        const std::string large = zol_test::distinctBytes(size);
        const std::string wire = "--boundary\r\n\r\n" + large + "\r\n--boundary\r\n\r\n\r\n--boundary--";
        for (const size_t cut : {size_t{65536}, size_t{65600}, wire.size() - 30, wire.size() - 20, wire.size() - 1})
        {
            const ContentRef split = body({wire.substr(0, cut), wire.substr(cut)}, "boundary");
            const std::vector<std::string> parts = partsOf(MultipartReader(split), 65536);
            ASSERT_EQ(parts.size(), 2U);
            ASSERT_TRUE(parts[0] == large) << size << ", " << cut;
            ASSERT_EQ(parts[1], "");
        }
    }
}

TEST(MultipartReader, LargeReadsTellACut)
{
    MultipartReader reader(body({"--b\r\n\r\n" + zol_test::distinctBytes(200000)}));
    const auto part = reader.next();
    ASSERT_TRUE(part);
    std::ostringstream out;
    EXPECT_THROW(part->writeTo(out), ExchangeException);
    EXPECT_TRUE(out.str() == zol_test::distinctBytes(200000));
}

} // namespace
