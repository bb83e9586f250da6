#include "support/ConnectTo.hpp"
#include "support/ScriptedServer.hpp"

#include "blocxx/BaseStreamBuffer.hpp"
#include "blocxx/String.hpp"
#include "zol/http/HTTPConnection.hpp"
#include "zol/http/MIMEContentIStream.hpp"
#include "zol/http/Response.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <limits>
#include <sstream>
#include <stdexcept>
#include <streambuf>
#include <string>

namespace
{

using zol_test::ScriptedServer;
using zol_test::ServerConnection;
using namespace ZOLNS2::HTTP;

const std::string MULTIPART_HEAD = "HTTP/1.1 200 OK\r\nContent-Type: multipart/mixed; boundary=B\r\n\r\n";
const std::string MULTIPART = MULTIPART_HEAD + "--B\r\nContent-Type: text/plain\r\n\r\none\r\n--B--";
const std::string PLAIN = "HTTP/1.1 200 OK\r\nContent-Type: text/plain\r\n\r\nhello";
const std::string CHUNKED = "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n";

bool completeFromStream(const std::string& wire)
{
    std::istringstream in(wire);
    Response response;
    in >> response;
    return response.bodyIsComplete();
}

/// Reads a response over a connection of its own, and then its body.
class OverAConnection
{
public:
    explicit OverAConnection(ScriptedServer::Script script) : m_server(std::move(script)) {}
    explicit OverAConnection(const std::string& wire)
        : OverAConnection([wire](ServerConnection& peer) { peer.send(wire); })
    {
    }

    Response& response()
    {
        HTTPConnection connection = zol_test::connectTo(m_server);
        connection.ostream() << "GET / HTTP/1.1\r\n\r\n" << std::flush;
        m_response = getResponse(connection);
        return m_response;
    }

    bool complete()
    {
        const Response& read = response();
        for (const ZOLNS2::MIME::ContentRef& content : read.contents)
        {
            getContentData(content, std::numeric_limits<size_t>::max());
        }
        return read.bodyIsComplete();
    }

private:
    ScriptedServer m_server;
    Response m_response;
};

/// Sends all of it, and resets the connection once it has certainly been received.
ScriptedServer::Script resettingAfter(const std::string& wire)
{
    return [wire](ServerConnection& peer)
    {
        peer.receiveHead();
        peer.send(wire);
        peer.pause(std::chrono::milliseconds(200));
        peer.reset();
    };
}

/// A device that delivers text and then fails.
class FailingBuffer : public blocxx::BaseStreamBuffer
{
public:
    explicit FailingBuffer(const std::string& text) : BaseStreamBuffer(E_IN, 256, E_NEGATIVE_FAILS), m_text(text) {}

protected:
    int buffer_from_device(char* to, int room) override
    {
        const size_t count = std::min(static_cast<size_t>(room), m_text.size());
        std::memcpy(to, m_text.data(), count);
        m_text.erase(0, count);
        errno = EIO;
        return count == 0 ? -1 : static_cast<int>(count);
    }

private:
    std::string m_text;
};

/// Another library's buffer that throws when its text is at its end.
class ThrowingBuffer : public std::streambuf
{
public:
    explicit ThrowingBuffer(std::string text) : m_text(std::move(text))
    {
        setg(m_text.data(), m_text.data(), m_text.data() + m_text.size());
    }

protected:
    int_type underflow() override { throw std::runtime_error("the device broke"); }

private:
    std::string m_text;
};

TEST(ResponseCompleteness, AFreshResponseHasNoCompleteBody)
{
    EXPECT_FALSE(Response().bodyIsComplete());
}

TEST(ResponseCompleteness, AMultipartBodyIsCompleteWithItsClosingBoundaryAndAnOrderlyEnd)
{
    EXPECT_TRUE(completeFromStream(MULTIPART));
    EXPECT_TRUE(completeFromStream(MULTIPART + "\r\nan epilogue"));
    EXPECT_TRUE(completeFromStream(MULTIPART_HEAD + "--B--")) << "no part is a body too";
}

TEST(ResponseCompleteness, AMultipartBodyWithoutItsClosingBoundaryIsNotComplete)
{
    EXPECT_FALSE(completeFromStream(MULTIPART.substr(0, MULTIPART.size() - 1)));
    EXPECT_FALSE(completeFromStream(MULTIPART.substr(0, MULTIPART.size() - 5)));
    EXPECT_FALSE(completeFromStream(MULTIPART_HEAD + "no boundary at all"));
    EXPECT_FALSE(completeFromStream(MULTIPART_HEAD));
}

TEST(ResponseCompleteness, APartThatWasDroppedForItsTypeIsNotMissing)
{
    EXPECT_TRUE(completeFromStream(MULTIPART_HEAD + "--B\r\nContent-Type: image/png\r\n\r\nx\r\n--B--"));
}

TEST(ResponseCompleteness, AMultipartBodyWhoseInputFailsAfterTheClosingBoundaryIsNotComplete)
{
    for (const std::string& wire : {MULTIPART, MULTIPART + "\r\n"})
    {
        FailingBuffer failing(wire);
        std::istream in(&failing);
        Response response;
        in >> response;
        EXPECT_EQ(response.contents.size(), 1U);
        EXPECT_FALSE(response.bodyIsComplete());

        ThrowingBuffer throwing(wire);
        std::istream other(&throwing);
        Response second;
        other >> second;
        EXPECT_EQ(second.contents.size(), 1U);
        EXPECT_FALSE(second.bodyIsComplete());
    }
}

TEST(ResponseCompleteness, AMultipartBodyThatContinuesAfterItsEndIsNotReadToItsEnd)
{
    EXPECT_FALSE(completeFromStream(MULTIPART + "\r\n--B\r\n\r\nmore"));
}

TEST(ResponseCompleteness, ASinglePartBodyFromAStreamIsCompleteAtTheEndOfTheStream)
{
    EXPECT_TRUE(completeFromStream(PLAIN));
    EXPECT_TRUE(completeFromStream(PLAIN.substr(0, PLAIN.size() - 5))) << "an empty body";
    EXPECT_TRUE(completeFromStream("HTTP/1.1 200 OK\r\nContent-Type: image/png\r\n\r\ndropped"));
}

TEST(ResponseCompleteness, ASinglePartBodyFromAFailingStreamIsNotComplete)
{
    FailingBuffer failing(PLAIN);
    std::istream in(&failing);
    Response response;
    in >> response;
    EXPECT_FALSE(response.bodyIsComplete());

    ThrowingBuffer throwing(PLAIN);
    std::istream other(&throwing);
    Response second;
    other >> second;
    EXPECT_FALSE(second.bodyIsComplete());
}

TEST(ResponseCompleteness, AnInputThatHadFailedBeforeTheBodyHoldsNoCompleteOne)
{
    std::istringstream in("hello");
    in.setstate(std::ios::eofbit | std::ios::failbit);
    Response response;
    response.parseResponseData(in);
    EXPECT_FALSE(response.bodyIsComplete());
}

TEST(ResponseCompleteness, TheLastBodyReadDecides)
{
    Response response;
    std::istringstream whole(MULTIPART);
    whole >> response;
    EXPECT_TRUE(response.bodyIsComplete());
    std::istringstream cut(MULTIPART_HEAD + "--B\r\n\r\none");
    cut >> response;
    EXPECT_FALSE(response.bodyIsComplete());
    std::istringstream noBoundary("HTTP/1.1 200 OK\r\nContent-Type: multipart/mixed\r\n\r\n");
    Response refused;
    std::istringstream again(MULTIPART);
    again >> refused;
    refused.contentType = ZOLNS2::MIME::ContentTypeHeader();
    EXPECT_THROW(noBoundary >> refused, blocxx::Exception);
    EXPECT_FALSE(refused.bodyIsComplete());
}

TEST(ResponseCompleteness, ACopyReturnsWhatTheOriginalDoes)
{
    std::istringstream in(MULTIPART);
    Response response;
    in >> response;
    EXPECT_TRUE(Response(response).bodyIsComplete());
}

TEST(ResponseCompleteness, AMultipartBodyOverAConnectionIsCompleteWhenTheServerClosesInOrder)
{
    EXPECT_TRUE(OverAConnection(MULTIPART + "\r\n").complete());
    EXPECT_FALSE(OverAConnection(MULTIPART.substr(0, MULTIPART.size() - 5)).complete());
}

TEST(ResponseCompleteness, AMultipartBodyOverAConnectionThatIsResetIsNotComplete)
{
    EXPECT_FALSE(OverAConnection(resettingAfter(MULTIPART + "\r\n")).complete());
}

TEST(ResponseCompleteness, ABodyOverAConnectionIsNotCompleteUntilItHasBeenRead)
{
    OverAConnection connection(CHUNKED + "5\r\nhello\r\n0\r\n\r\n");
    Response& response = connection.response();
    EXPECT_FALSE(response.bodyIsComplete());
    const ZOLNS2::MIME::ContentRef content = response.getNextPart();
    ZOLNS2::MIME::ContentStreamStateRef state = content->createInitialStreamState();
    getContentData(content, state, 2);
    EXPECT_FALSE(response.bodyIsComplete());
    getContentData(content, state, std::numeric_limits<size_t>::max());
    EXPECT_TRUE(response.bodyIsComplete());
}

/// Whether a response is complete that is read out of the body of another one, which comes over a connection.
bool nestedIsComplete(const std::string& outerBody)
{
    OverAConnection outer("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n" + outerBody);
    ZOLNS2::HTTP::MIMEContentIStream in(outer.response().contents[0]);
    Response nested;
    in >> nested;
    return nested.bodyIsComplete();
}

TEST(ResponseCompleteness, AResponseInsideAnotherIsCutWhereThatIs)
{
    const std::string chunk = "33\r\nHTTP/1.1 200 OK\r\nContent-Type: text/plain\r\n\r\nnested\r\n";
    ASSERT_EQ(std::string("HTTP/1.1 200 OK\r\nContent-Type: text/plain\r\n\r\nnested").size(), 0x33U);
    EXPECT_TRUE(nestedIsComplete(chunk + "0\r\n\r\n"));
    EXPECT_FALSE(nestedIsComplete(chunk));
    EXPECT_FALSE(nestedIsComplete(chunk + "5\r\nab"));
}

TEST(ResponseCompleteness, AResponseInsideAnIdentityBodyShortOfItsLengthIsComplete)
{
    OverAConnection outer("HTTP/1.1 200 OK\r\nContent-Length: 1000\r\n\r\n" + PLAIN);
    ZOLNS2::HTTP::MIMEContentIStream in(outer.response().contents[0]);
    Response nested;
    in >> nested;
    EXPECT_TRUE(nested.bodyIsComplete());
}

TEST(ResponseCompleteness, ABodyOverAConnectionIsJudgedByItsDecoder)
{
    EXPECT_TRUE(OverAConnection(PLAIN).complete());
    EXPECT_FALSE(OverAConnection(resettingAfter(PLAIN)).complete());
    EXPECT_FALSE(OverAConnection(CHUNKED + "5\r\nhel").complete());
    EXPECT_FALSE(OverAConnection(CHUNKED + "5\r\nhello\r\n").complete());
    EXPECT_FALSE(OverAConnection(CHUNKED + "5\r\nhelloX").complete());
}

} // namespace
