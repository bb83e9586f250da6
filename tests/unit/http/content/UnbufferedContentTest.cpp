#include "zol/mime/UnbufferedContent.hpp"

#include "support/ConnectTo.hpp"
#include "support/LogLines.hpp"
#include "support/ScriptedServer.hpp"

#include "blocxx/NULLReferenceException.hpp"
#include "zol/http/HTTPTransferDecoder.hpp"
#include "zol/mime/ContentException.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <limits>
#include <string>

namespace
{

using blocxx::IntrusiveReference;
using testing::ElementsAre;
using testing::IsEmpty;
using zol_test::connectTo;
using zol_test::logLines;
using zol_test::ScriptedServer;
using zol_test::ServerConnection;
using ZOLNS2::HTTP::getTransferDecoder;
using ZOLNS2::HTTP::Headers;
using ZOLNS2::HTTP::HTTPConnection;
using ZOLNS2::HTTP::HTTPTransferDecoderRef;
using ZOLNS2::MIME::ContentException;
using ZOLNS2::MIME::ContentStreamStateRef;
using ZOLNS2::MIME::ContentTypeHeader;
using ZOLNS2::MIME::UnbufferedContent;
using ZOLNS2::MIME::UnbufferedContentStreamState;

const char* const CONTENT = "zol.common.http.content";
const unsigned long UNKNOWN_LENGTH = std::numeric_limits<unsigned long>::max();

ContentTypeHeader typeFrom(const char* line)
{
    ContentTypeHeader type;
    type.setContentTypeString(line);
    return type;
}

/// A content over the connection of a server that has sent a body and closed, or stays silent after it.
class UnbufferedContentReading : public testing::Test
{
protected:
    void serve(const std::string& wire, const char* transferEncoding = "", unsigned long length = UNKNOWN_LENGTH)
    {
        m_server = std::make_unique<ScriptedServer>([wire](ServerConnection& peer) { peer.send(wire); });
        HTTPConnection connection = connectTo(*m_server);
        Headers headers;
        headers.addHeader("Transfer-Encoding", transferEncoding);
        m_decoder = getTransferDecoder(connection, headers);
        m_content = new UnbufferedContent(m_decoder, typeFrom("Content-Type: text/x; a=b c"), length);
    }

    size_t read(size_t count)
    {
        m_buffer.assign(count, '\0');
        const size_t got = m_content->getData(m_buffer.data(), count, m_state);
        m_buffer.resize(got == ZOLNS2::MIME::END_OF_DATA ? 0 : got);
        return got;
    }

    std::unique_ptr<ScriptedServer> m_server;
    HTTPTransferDecoderRef m_decoder;
    IntrusiveReference<UnbufferedContent> m_content;
    ContentStreamStateRef m_state;
    std::string m_buffer;
};

IntrusiveReference<UnbufferedContent> contentOfLength(unsigned long length)
{
    return new UnbufferedContent(HTTPTransferDecoderRef(), ContentTypeHeader(), length);
}

TEST(UnbufferedContent, AllOnesMeansAnUnknownLength)
{
    EXPECT_FALSE(contentOfLength(UNKNOWN_LENGTH)->hasContentLength());
    EXPECT_EQ(contentOfLength(UNKNOWN_LENGTH)->getContentLength(), UNKNOWN_LENGTH);
}

TEST(UnbufferedContent, EveryOtherLengthIsKnown)
{
    for (const unsigned long length : {0UL, 1UL, UNKNOWN_LENGTH - 1})
    {
        EXPECT_TRUE(contentOfLength(length)->hasContentLength());
        EXPECT_EQ(contentOfLength(length)->getContentLength(), length);
    }
}

TEST(UnbufferedContent, WithoutADecoderReadingRaisesTheNullReferenceException)
{
    char buffer[4];
    const auto content = contentOfLength(4);
    EXPECT_THROW(content->getData(buffer, sizeof buffer, content->createInitialStreamState()),
                 blocxx::NULLReferenceException);
}

TEST(UnbufferedContent, SecondStreamStateIsRefusedEvenIfTheFirstWasNeverUsed)
{
    const auto content = contentOfLength(4);
    EXPECT_TRUE(content->createInitialStreamState().cast_to<UnbufferedContentStreamState>());
    for (int i = 0; i < 2; ++i)
    {
        try
        {
            content->createInitialStreamState();
            FAIL() << "a body comes once";
        }
        catch (const ContentException& e)
        {
            EXPECT_STREQ(e.getMessage(), "Attempted reuse of a one-time http stream");
            EXPECT_STREQ(e.getFile(), "HTTPContent");
            EXPECT_EQ(e.getErrorCode(), -1);
            EXPECT_EQ(e.getSubClassId(), -1);
            EXPECT_EQ(e.getSubException(), nullptr);
        }
    }
}

TEST_F(UnbufferedContentReading, ContentTypeIsThatOfTheConstructor)
{
    serve("");
    EXPECT_EQ(toString(m_content->getContentType()), "text/x; a=\"b c\"");
    EXPECT_EQ(m_content->getContentType().getContentTypeString(), "Content-Type: text/x; a=b c");
}

TEST_F(UnbufferedContentReading, DecoderIsThatOfTheConstructor)
{
    serve("");
    EXPECT_EQ(m_content->getTransferDecoder(), m_decoder);
}

TEST_F(UnbufferedContentReading, ShortBodyIsOneShortReadAndThenTheEnd)
{
    serve("0123456789");
    m_state = m_content->createInitialStreamState();
    const zol_test::LogCapture log(blocxx::E_DEBUG3_LEVEL);
    EXPECT_EQ(read(4096), 10U);
    EXPECT_EQ(m_buffer, "0123456789");
    EXPECT_EQ(read(4096), ZOLNS2::MIME::END_OF_DATA);
    EXPECT_EQ(read(4096), ZOLNS2::MIME::END_OF_DATA);
    EXPECT_THAT(logLines(log, CONTENT),
                ElementsAre("DEBUG3 HTTP Content: Getting up to 4096 bytes from unbuffered http content.",
                            "DEBUG3 HTTP Content: Actually read 10 bytes.",
                            "DEBUG3 HTTP Content: Getting up to 4096 bytes from unbuffered http content.",
                            "DEBUG3 HTTP Content: Cannot read: Stream is no longer good.",
                            "DEBUG3 HTTP Content: Getting up to 4096 bytes from unbuffered http content.",
                            "DEBUG3 HTTP Content: Cannot read: Stream is no longer good."));
}

TEST_F(UnbufferedContentReading, BodyOfExactlyTheAskedSizeEndsWithZeroThenEnd)
{
    serve("01234567");
    const zol_test::LogCapture log(blocxx::E_DEBUG3_LEVEL);
    EXPECT_EQ(read(4), 4U);
    EXPECT_EQ(read(4), 4U);
    EXPECT_EQ(read(4), 0U);
    EXPECT_EQ(read(4), ZOLNS2::MIME::END_OF_DATA);
    EXPECT_THAT(logLines(log, CONTENT),
                ElementsAre("DEBUG3 HTTP Content: Getting up to 4 bytes from unbuffered http content.",
                            "DEBUG3 HTTP Content: Getting up to 4 bytes from unbuffered http content.",
                            "DEBUG3 HTTP Content: Getting up to 4 bytes from unbuffered http content.",
                            "DEBUG3 HTTP Content: Actually read 0 bytes.",
                            "DEBUG3 HTTP Content: Getting up to 4 bytes from unbuffered http content.",
                            "DEBUG3 HTTP Content: Cannot read: Stream is no longer good."));
}

TEST_F(UnbufferedContentReading, ReadsOfNothingDeliverNothingAndEndNothing)
{
    serve("ab");
    EXPECT_EQ(read(0), 0U);
    EXPECT_EQ(read(2), 2U);
    EXPECT_EQ(m_buffer, "ab");
    EXPECT_EQ(read(0), 0U);
}

TEST_F(UnbufferedContentReading, ReadOfTheLargestSizeTakesAllThereIs)
{
    serve("ab");
    m_buffer.assign(16, '\0');
    EXPECT_EQ(m_content->getData(m_buffer.data(), std::numeric_limits<size_t>::max(), m_state), 2U);
    EXPECT_EQ(m_buffer.substr(0, 2), "ab");
}

TEST_F(UnbufferedContentReading, ReadsPastTheAnnouncedLength)
{
    serve("0123456789", "", 4);
    EXPECT_EQ(read(100), 10U);
}

TEST_F(UnbufferedContentReading, ReadsWithoutAStreamState)
{
    serve("ab");
    EXPECT_FALSE(m_state);
    EXPECT_EQ(read(2), 2U);
}

TEST_F(UnbufferedContentReading, ReadsThroughTheChunkedDecoder)
{
    serve("5\r\nhello\r\n0\r\n\r\n", "chunked");
    EXPECT_EQ(read(100), 5U);
    EXPECT_EQ(m_buffer, "hello");
    EXPECT_EQ(read(100), ZOLNS2::MIME::END_OF_DATA);
    EXPECT_TRUE(m_content->getTransferDecoder()->bodyIsComplete());
}

TEST_F(UnbufferedContentReading, MalformedChunkIsAShortReadAndThenTheEnd)
{
    serve("5\r\nhello\r\nzz\r\n", "chunked");
    EXPECT_EQ(read(100), 5U);
    EXPECT_EQ(read(100), ZOLNS2::MIME::END_OF_DATA);
    EXPECT_FALSE(m_content->getTransferDecoder()->bodyIsComplete());
}

TEST_F(UnbufferedContentReading, EndOfFileAloneIsReadAgain)
{
    serve("ab");
    m_decoder->istream().setstate(std::ios::eofbit);
    EXPECT_EQ(read(2), 0U) << "the standard's read fails at once, which makes the next result the end";
    EXPECT_EQ(read(2), ZOLNS2::MIME::END_OF_DATA);
}

TEST_F(UnbufferedContentReading, ExceptionsOfTheStreamPassThrough)
{
    serve("ab");
    m_decoder->istream().exceptions(std::ios::eofbit);
    EXPECT_THROW(read(100), std::ios::failure);
}

TEST_F(UnbufferedContentReading, CreatingTheStreamStateLogsTheType)
{
    serve("");
    const zol_test::LogCapture log(blocxx::E_DEBUG2_LEVEL);
    m_content->createInitialStreamState();
    EXPECT_THROW(m_content->createInitialStreamState(), ContentException);
    EXPECT_THAT(logLines(log, CONTENT),
                ElementsAre("DEBUG2 HTTP Content: Creating initial stream state for content: text/x; a=\"b c\""));
}

TEST_F(UnbufferedContentReading, BelowDebug2NothingIsLogged)
{
    serve("ab");
    const zol_test::LogCapture log(blocxx::E_DEBUG_LEVEL);
    m_state = m_content->createInitialStreamState();
    read(100);
    read(100);
    EXPECT_THAT(logLines(log, CONTENT), IsEmpty());
}

TEST_F(UnbufferedContentReading, LoggingLeavesErrnoAlone)
{
    serve("");
    const zol_test::LogCapture log(blocxx::E_DEBUG3_LEVEL);
    errno = EXDEV;
    m_content->createInitialStreamState();
    EXPECT_EQ(errno, EXDEV);
}

TEST_F(UnbufferedContentReading, ContentKeepsTheConnectionOpen)
{
    m_server =
        std::make_unique<ScriptedServer>([](ServerConnection& peer) { EXPECT_TRUE(peer.waitUntilPeerCloses()); });
    m_content =
        new UnbufferedContent(new ZOLNS2::HTTP::DefaultTransferDecoder(connectTo(*m_server)), ContentTypeHeader(), 0);
    ASSERT_TRUE(m_server->waitForConnections(1));
    EXPECT_FALSE(m_server->waitUntilIdle(std::chrono::milliseconds(100)));
    m_content = IntrusiveReference<UnbufferedContent>();
    EXPECT_TRUE(m_server->waitUntilIdle());
}

} // namespace
