#include "zol/http/MIMEContentIStream.hpp"

#include "support/ScriptedContent.hpp"

#include "blocxx/NULLReferenceException.hpp"
#include "zol/mime/ContentEnd.hpp"
#include "zol/mime/MultipartMixedContent.hpp"
#include "zol/mime/TextContent.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <iterator>
#include <sstream>
#include <type_traits>

using namespace ZOLNS2;
using blocxx::IntrusiveReference;
using HTTP::MIMEContentIStream;
using HTTP::PayloadIStream;
using zol_test::scripted;
using zol_test::ScriptedContent;

static_assert(std::is_convertible_v<PayloadIStream*, std::iostream*>);
static_assert(std::is_abstract_v<PayloadIStream>);
static_assert(std::is_convertible_v<MIMEContentIStream*, PayloadIStream*>);
static_assert(!std::is_convertible_v<MIMEContentIStream*, HTTP::MIMEContentIStreamBase*>);
static_assert(std::is_convertible_v<HTTP::MIMEContentIStreamBuf*, blocxx::BaseStreamBuffer*>);

namespace
{

/// Has less to deliver than it should, and says so.
class CutContent : public ScriptedContent, public MIME::ContentEnd
{
public:
    using ScriptedContent::ScriptedContent;
    bool endedBadly(const MIME::ContentStreamStateRef&) const override { return true; }
};

std::string readByByte(std::istream& in)
{
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

} // namespace

TEST(MIMEContentIStream, TextArrivesWhole)
{
    const std::string text(10000, 'x');
    MIMEContentIStream stream{MIME::ContentRef(new MIME::TextPlainContent(text))};
    EXPECT_EQ(readByByte(stream), text);
    EXPECT_FALSE(stream.bad());
}

TEST(MIMEContentIStream, RefillsAskForAsMuchAsTheBufferHolds)
{
    const std::string bytes = zol_test::distinctBytes(10000);
    const auto content = scripted({bytes});
    MIMEContentIStream stream(content);
    EXPECT_EQ(readByByte(stream), bytes);
    // The last two meet the end of the data: every read asks about the end again.
    EXPECT_THAT(content->requests, testing::Each(4096U));
    EXPECT_GE(content->requests.size(), 4U);
    EXPECT_LE(content->requests.size(), 5U);
}

TEST(MIMEContentIStream, LargeReadAsksForNoMoreThanTheBufferHoldsAtOnce)
{
    const std::string bytes = zol_test::distinctBytes(10000);
    const auto content = scripted({bytes});
    MIMEContentIStream stream(content);
    std::string read(10000, '\0');
    stream.read(read.data(), 10000);
    EXPECT_EQ(stream.gcount(), 10000);
    EXPECT_TRUE(stream.good());
    EXPECT_EQ(read, bytes);
    EXPECT_THAT(content->requests, testing::Each(testing::Le(4096U)));
}

TEST(MIMEContentIStream, LargeReadGoesStraightIntoTheCallersMemory)
{
    const auto content = scripted({zol_test::distinctBytes(5000)});
    MIMEContentIStream stream(content);
    std::string read(5000, '\0');
    stream.read(read.data(), 5000);
    // Through the buffer, the second request would be one for 4096 bytes.
    EXPECT_THAT(content->requests, testing::ElementsAre(4096U, 904U));
}

TEST(MIMEContentIStream, EmptyContentEndsAtTheFirstRead)
{
    MIMEContentIStream stream{MIME::ContentRef(new MIME::TextPlainContent(blocxx::String()))};
    EXPECT_EQ(stream.get(), std::istream::traits_type::eof());
    EXPECT_TRUE(stream.eof());
    EXPECT_FALSE(stream.bad());
}

TEST(MIMEContentIStream, EndOfTheDataIsAnEndAndNoFailure)
{
    MIMEContentIStream stream{MIME::ContentRef(new MIME::TextPlainContent("abc"))};
    char buffer[10];
    stream.read(buffer, sizeof(buffer));
    EXPECT_EQ(stream.gcount(), 3);
    EXPECT_TRUE(stream.eof());
    EXPECT_FALSE(stream.bad());
}

TEST(MIMEContentIStream, ByteWithAllBitsSetIsNotTakenForTheEnd)
{
    MIMEContentIStream stream(scripted({"\xff\xff", "x"}));
    EXPECT_EQ(readByByte(stream), "\xff\xffx");
}

TEST(MIMEContentIStream, ReadOfNoBytesEndsTheStreamUntilItIsCleared)
{
    MIMEContentIStream stream(scripted({"one", "", "two"}));
    EXPECT_EQ(readByByte(stream), "one");
    stream.clear();
    EXPECT_EQ(readByByte(stream), "two");
}

TEST(MIMEContentIStream, EachStreamReadsFromTheFirstByte)
{
    const MIME::ContentRef content(new MIME::TextPlainContent("abcdef"));
    MIMEContentIStream first(content);
    char start[3];
    first.read(start, sizeof(start));
    MIMEContentIStream second(content);
    EXPECT_EQ(readByByte(second), "abcdef");
    EXPECT_EQ(readByByte(first), "def");
}

TEST(MIMEContentIStream, NullContentIsRefused)
{
    EXPECT_THROW(MIMEContentIStream{MIME::ContentRef()}, blocxx::NULLReferenceException);
    EXPECT_THROW(HTTP::MIMEContentIStreamBuf{MIME::ContentRef()}, blocxx::NULLReferenceException);
}

TEST(MIMEContentIStream, RefusalOfAReaderPassesThrough)
{
    const auto content = scripted({"x"});
    content->refusesReaders = true;
    EXPECT_THROW(MIMEContentIStream{content}, std::runtime_error);
}

TEST(MIMEContentIStream, ExceptionOfTheContentSetsBadbit)
{
    const auto content = scripted({"abc", "def"});
    content->throwAtPiece = 1;
    MIMEContentIStream stream(content);
    char buffer[3];
    stream.read(buffer, sizeof(buffer));
    EXPECT_TRUE(stream.good());
    EXPECT_EQ(stream.get(), std::istream::traits_type::eof());
    EXPECT_TRUE(stream.bad());
}

TEST(MIMEContentIStream, WhatAThrowingContentHadDeliveredReachesTheReaderFirst)
{
    // Once read through the buffer and once straight into the reader's memory.
    for (const size_t size : {size_t{100}, size_t{5000}})
    {
        const std::string before(size, 'b');
        const auto content = scripted({before, "never"});
        content->throwAtPiece = 1;
        MIMEContentIStream stream(content);
        std::string read(10000, '\0');
        EXPECT_NO_THROW(stream.read(read.data(), 10000));
        EXPECT_EQ(stream.gcount(), static_cast<std::streamsize>(size));
        EXPECT_EQ(read.substr(0, size), before);
        EXPECT_TRUE(stream.bad());
    }
}

TEST(MIMEContentIStream, StaysBadAfterAnExceptionOfTheContent)
{
    const auto content = scripted({"abc", "def"});
    content->throwAtPiece = 1;
    MIMEContentIStream stream(content);
    char buffer[10];
    stream.read(buffer, sizeof(buffer));
    EXPECT_EQ(stream.gcount(), 3);
    content->throwAtPiece = 100;
    stream.clear();
    EXPECT_EQ(stream.get(), std::istream::traits_type::eof());
    EXPECT_TRUE(stream.bad());
}

TEST(MIMEContentIStream, IsBadAfterTheBytesOfAContentThatEndedBadly)
{
    const MIME::ContentRef content(new CutContent({"abc"}));
    MIMEContentIStream stream(content);
    char buffer[10];
    stream.read(buffer, sizeof(buffer));
    EXPECT_EQ(stream.gcount(), 3);
    EXPECT_TRUE(stream.bad());
    stream.clear();
    EXPECT_EQ(stream.get(), std::istream::traits_type::eof());
    EXPECT_TRUE(stream.bad());
}

TEST(MIMEContentIStream, BadEndIsFoundInsideAMultipartBody)
{
    const blocxx::IntrusiveReference<MIME::MultipartMixedContent> outer(new MIME::MultipartMixedContent("B"));
    outer->addPart(MIME::ContentRef(new CutContent({"abc"})));
    MIMEContentIStream stream(outer);
    EXPECT_EQ(readByByte(stream), "--B\r\ncontent-type: application/x-scripted\r\n\r\nabc\r\n--B--");
    stream.clear();
    stream.get();
    EXPECT_TRUE(stream.bad());
}

TEST(MIMEContentIStream, BufferTellsTheEndOfTheDataFromAReadOfNoBytes)
{
    HTTP::MIMEContentIStreamBuf buffer(scripted({"", "", "x", ""}));
    const auto eof = std::istream::traits_type::eof();
    EXPECT_EQ(buffer.sgetc(), eof);
    EXPECT_FALSE(buffer.reachedEndOfData());
    EXPECT_EQ(buffer.emptyReads(), 1U);
    EXPECT_EQ(buffer.sgetc(), eof);
    EXPECT_EQ(buffer.emptyReads(), 2U);
    EXPECT_EQ(buffer.sbumpc(), 'x');
    EXPECT_EQ(buffer.emptyReads(), 0U);
    EXPECT_EQ(buffer.sgetc(), eof);
    EXPECT_FALSE(buffer.reachedEndOfData());
    EXPECT_EQ(buffer.sgetc(), eof);
    EXPECT_TRUE(buffer.reachedEndOfData());
    EXPECT_EQ(buffer.emptyReads(), 0U);
}

TEST(MIMEContentIStream, AsksItsContentForOneStreamState)
{
    const auto content = scripted({"abc"});
    MIMEContentIStream stream(content);
    readByByte(stream);
    stream.clear();
    readByByte(stream);
    EXPECT_EQ(content->readers, 1U);
}

TEST(MIMEContentIStream, LengthIsThatOfTheContent)
{
    MIMEContentIStream stream{MIME::ContentRef(new MIME::TextPlainContent("abcdef"))};
    PayloadIStream& payload = stream;
    EXPECT_TRUE(payload.hasContentLength());
    EXPECT_EQ(payload.getContentLength(), 6U);
    stream.get();
    EXPECT_EQ(payload.getContentLength(), 6U);
}

TEST(MIMEContentIStream, UnknownLengthIsReportedAndItsExceptionPasses)
{
    const auto content = scripted({"x"});
    content->lengthIsKnown = false;
    MIMEContentIStream stream(content);
    EXPECT_FALSE(stream.hasContentLength());
    EXPECT_THROW(stream.getContentLength(), std::logic_error);
}

TEST(MIMEContentIStream, KeepsTheContentAlive)
{
    const std::unique_ptr<PayloadIStream> stream(
        new MIMEContentIStream(MIME::ContentRef(new MIME::TextPlainContent("alive"))));
    EXPECT_EQ(readByByte(*stream), "alive");
    EXPECT_EQ(stream->getContentLength(), 5U);
}

TEST(MIMEContentIStream, CannotBeWrittenTo)
{
    MIMEContentIStream stream{MIME::ContentRef(new MIME::TextPlainContent("abc"))};
    stream << 'x';
    EXPECT_TRUE(stream.bad());
}
