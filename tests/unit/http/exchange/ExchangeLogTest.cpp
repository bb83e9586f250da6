#include "ExchangeWith.hpp"
#include "support/LogCapture.hpp"
#include "support/LogLines.hpp"

#include <gmock/gmock.h>

#include <algorithm>
#include <string>
#include <vector>

// What exchange() and the bodies that it returns write into the log.

namespace
{

using namespace exchange_test;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using zol_test::logLines;
using zol_test::ScriptedServer;
using zol_test::ServerConnection;

const std::string COMPONENT = "zol.common.http.exchange";
const std::string KEPT = "HTTP/1.1 200 OK\r\nContent-Length: 4\r\n\r\nbody";

class ExchangeLog : public testing::Test
{
protected:
    std::vector<std::string> lines() const { return logLines(m_log, COMPONENT); }

    const zol_test::LogCapture m_log{blocxx::E_DEBUG3_LEVEL};
};

TEST_F(ExchangeLog, TellsAKeptConnectionFromANewOne)
{
    ScriptedServer server(
        [](ServerConnection& connection)
        {
            for (int i = 0; i < 2; ++i)
            {
                connection.receiveHead();
                connection.send(KEPT);
            }
            connection.waitUntilPeerCloses();
        });
    const ExchangeResponse first = exchange(get(server));
    bodyOf(first);
    bodyOf(exchange(first.getConnection(), get(server)));
    const std::string request =
        "DEBUG2 Exchange: Making the following request: GET http://" + server.address() + "/page";
    EXPECT_THAT(lines(),
                ElementsAre(request, "DEBUG3 Exchange: Connected to " + server.address(),
                            "DEBUG2 Exchange: Received: HTTP/1.1 200 OK", "DEBUG3 Exchange: The request was sent whole",
                            request, "DEBUG3 Exchange: Using the kept connection to " + server.address(),
                            "DEBUG2 Exchange: Received: HTTP/1.1 200 OK",
                            "DEBUG3 Exchange: The request was sent whole"));
}

TEST_F(ExchangeLog, HasWhyAnExchangeFailed)
{
    ScriptedServer server(zol_test::respondingWith("HTTP/1.1 2"));
    std::string reason;
    try
    {
        exchange(get(server));
        FAIL() << "a response was returned";
    }
    catch (const ExchangeException& failure)
    {
        reason = failure.getMessage();
    }
    EXPECT_EQ(lines().back(), "DEBUG2 Exchange: The exchange failed: " + reason);
}

TEST_F(ExchangeLog, HasWhyABodyIsNotWhole)
{
    ScriptedServer server(zol_test::respondingWith("HTTP/1.1 200 OK\r\nContent-Length: 10\r\n\r\nbody"));
    const ExchangeResponse response = exchange(get(server));
    EXPECT_EQ(bodyOf(response), "body");
    EXPECT_EQ(lines().back(), "DEBUG2 Exchange: The body is not whole: " + std::string(response.bodyEndText().c_str()));
    EXPECT_THAT(lines().back(), HasSubstr("6 bytes before its announced length of 10"));
}

TEST_F(ExchangeLog, HasOnceWhyACompressedBodyIsNotWhole)
{
    ExchangeOptions options;
    options.decompress = true;
    ScriptedServer server(
        zol_test::respondingWith("HTTP/1.1 200 OK\r\nContent-Encoding: gzip\r\nContent-Length: 10\r\n\r\n\x1f\x8b"));
    const ExchangeResponse response = exchange(get(server), options);
    EXPECT_EQ(bodyOf(response), "");
    const std::vector<std::string> written = lines();
    EXPECT_EQ(std::count(written.begin(), written.end(),
                         "DEBUG2 Exchange: The body is not whole: " + std::string(response.bodyEndText().c_str())),
              1);
}

TEST(ExchangeWithoutLog, WritesNothingAtALevelThatShowsNoSteps)
{
    const zol_test::LogCapture log(blocxx::E_DEBUG_LEVEL);
    ScriptedServer server(zol_test::respondingWith("HTTP/1.1 200 OK\r\nContent-Length: 10\r\n\r\nbody"));
    bodyOf(exchange(get(server)));
    EXPECT_THAT(log.messages(), IsEmpty());
}

} // namespace
