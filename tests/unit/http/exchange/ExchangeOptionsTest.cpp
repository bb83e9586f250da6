#include "zol/http/ExchangeOptions.hpp"

#include "ExchangeWith.hpp"

#include <gmock/gmock.h>

#include <chrono>
#include <cmath>
#include <csignal>
#include <functional>
#include <string>
#include <thread>

namespace
{

using namespace exchange_test;
using blocxx::Timeout;
using std::chrono::milliseconds;
using testing::HasSubstr;
using zol_test::ScriptedServer;
using zol_test::ServerConnection;

const std::string HEAD = "HTTP/1.1 200 OK\r\nContent-Length: 100000\r\n\r\n";
constexpr std::chrono::microseconds DRIP{20000};

ScriptedServer::Script dripping(const std::string& atOnce, const std::string& slowly)
{
    return [=](ServerConnection& connection)
    {
        connection.receiveHead();
        connection.send(atOnce);
        connection.sendSlowly(slowly, DRIP);
        connection.waitUntilPeerCloses();
    };
}

/// Within which everything that a deadline or a cancellation ends has to have ended.
class Bound
{
public:
    explicit Bound(std::chrono::seconds limit) : m_end(std::chrono::steady_clock::now() + limit) {}
    ~Bound() { EXPECT_LT(std::chrono::steady_clock::now(), m_end) << "held up"; }

private:
    std::chrono::steady_clock::time_point m_end;
};

TEST(ExchangeOptions, AreSafeAtFirst)
{
    const ExchangeOptions options;
    EXPECT_EQ(options.connectTimeout, Timeout::relative(30));
    EXPECT_EQ(options.headTimeout, Timeout::relative(120));
    EXPECT_EQ(options.progressTimeout, Timeout::relative(60));
    EXPECT_EQ(options.deadline, Timeout::infinite);
    EXPECT_EQ(options.headLimit, 256U * 1024);
    EXPECT_EQ(options.bodyLimit, ExchangeOptions::NO_LIMIT);
    EXPECT_EQ(ExchangeResponse::READ_ALL_LIMIT, 64U * 1024 * 1024);
    EXPECT_EQ(options.mostRedirects, 0U);
    EXPECT_FALSE(options.decompress);
    EXPECT_FALSE(options.expectContinue);
    EXPECT_EQ(options.continueTimeout, Timeout::relative(1));
    EXPECT_FALSE(options.cancellation);
}

TEST(ExchangeTimes, AHeadThatDripsIsOverAfterItsTime)
{
    ScriptedServer server(dripping("HTTP/1.1 200 OK\r\n", "X: " + std::string(1000, 'a')));
    ExchangeOptions options;
    options.headTimeout = Timeout::relative(0.5F);
    const Bound bound(std::chrono::seconds(5));
    expectFailure([&] { exchange(get(server), options); }, ExchangeException::E_HEAD, ExchangeException::E_TIMED_OUT,
                  "not done within 0.5 seconds");
}

TEST(ExchangeTimes, InterimResponsesDoNotRestartTheTimeOfTheHead)
{
    std::string interim;
    for (int i = 0; i < 16; ++i)
    {
        interim += "HTTP/1.1 103 E\r\n\r\n";
    }
    ScriptedServer server(dripping("", interim));
    ExchangeOptions options;
    options.headTimeout = Timeout::relative(0.5F);
    const Bound bound(std::chrono::seconds(5));
    expectFailure([&] { exchange(get(server), options); }, ExchangeException::E_HEAD, ExchangeException::E_TIMED_OUT,
                  "not done within");
}

TEST(ExchangeTimes, AnInterimResponseThatDripsWhileTheRequestIsSentIsOverAfterItsTime)
{
    ScriptedServer server(dripping("HTTP/1.1 103 Early Hints\r\n", "X: " + std::string(1000, 'a')));
    ExchangeOptions options;
    options.headTimeout = blocxx::Timeout::relative(0.3F);
    expectFailure([&] { exchange(post(server, ContentRef(new HugeContent), HugeContent::SIZE), options); },
                  ExchangeException::E_HEAD, ExchangeException::E_TIMED_OUT, "not done within 0.3 seconds");
}

TEST(ExchangeTimes, ATrailerThatDripsIsOverAfterTheTimeOfTheHead)
{
    ScriptedServer server(dripping("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n4\r\nbody\r\n0\r\n",
                                   "X: " + std::string(1000, 'a')));
    ExchangeOptions options;
    options.headTimeout = blocxx::Timeout::relative(0.3F);
    const ExchangeResponse response = exchange(get(server), options);
    EXPECT_EQ(bodyOf(response), "body");
    EXPECT_EQ(response.bodyEnd(), ExchangeResponse::E_TIMED_OUT);
    EXPECT_THAT(textOf(response.bodyEndText()), HasSubstr("in its trailer: 127.0.0.1:"));
    EXPECT_THAT(textOf(response.bodyEndText()), HasSubstr("not done within 0.3 seconds"));
}

TEST(ExchangeTimes, SilenceInTheHeadIsTimedOut)
{
    ScriptedServer server(dripping("HTTP/1.1 200", ""));
    ExchangeOptions options;
    options.progressTimeout = Timeout::relative(0.3F);
    expectFailure([&] { exchange(get(server), options); }, ExchangeException::E_HEAD, ExchangeException::E_TIMED_OUT,
                  "no byte moved for 0.3 seconds");
}

TEST(ExchangeTimes, SilenceInTheBodyIsTimedOutBehindWhatArrived)
{
    ScriptedServer server(dripping(HEAD + "body", ""));
    ExchangeOptions options;
    options.progressTimeout = Timeout::relative(0.3F);
    const ExchangeResponse response = exchange(get(server), options);
    EXPECT_EQ(bodyOf(response), "body");
    EXPECT_EQ(response.bodyEnd(), ExchangeResponse::E_TIMED_OUT);
}

TEST(ExchangeTimes, ABodyThatDripsIsNotTimedOut)
{
    ScriptedServer server(dripping("HTTP/1.1 200 OK\r\nContent-Length: 40\r\n\r\n", std::string(40, 'x')));
    ExchangeOptions options;
    options.progressTimeout = Timeout::relative(0.5F);
    EXPECT_EQ(exchange(get(server), options).readAll().size(), 40U);
}

TEST(ExchangeDeadline, EndsAHeadThatDrips)
{
    ScriptedServer server(dripping("", "HTTP/1.1 200 OK\r\nX: " + std::string(1000, 'a')));
    ExchangeOptions options;
    options.deadline = Timeout::relative(1);
    const Bound bound(std::chrono::seconds(5));
    expectFailure([&] { exchange(get(server), options); }, ExchangeException::E_HEAD, ExchangeException::E_DEADLINE,
                  "not done by its deadline (1 seconds)");
}

TEST(ExchangeDeadline, CanBeAMoment)
{
    ScriptedServer server(dripping("", "HTTP/1.1 200 OK\r\nX: " + std::string(1000, 'a')));
    ExchangeOptions options;
    options.deadline = std::chrono::system_clock::now() + std::chrono::seconds(1);
    const Bound bound(std::chrono::seconds(5));
    expectFailure([&] { exchange(get(server), options); }, ExchangeException::E_HEAD, ExchangeException::E_DEADLINE,
                  "not done by its deadline (the moment that was set)");
}

TEST(ExchangeDeadline, ThatIsPastEndsAnExchangeAtOnce)
{
    ScriptedServer server(zol_test::respondingWith("HTTP/1.1 200 OK\r\nContent-Length: 4\r\n\r\nbody"));
    ExchangeOptions options;
    options.deadline = Timeout::absolute(blocxx::DateTime(1000));
    expectFailure([&] { exchange(get(server), options); }, ExchangeException::E_CONNECT, ExchangeException::E_DEADLINE,
                  "not done by its deadline (the moment that was set)");
}

TEST(ExchangeDeadline, OfAMomentFarAwayIsKept)
{
    ScriptedServer server(zol_test::respondingWith("HTTP/1.1 200 OK\r\nContent-Length: 4\r\n\r\nbody"));
    ExchangeOptions options;
    options.deadline = std::chrono::system_clock::now() + std::chrono::hours(24);
    EXPECT_EQ(bodyOf(exchange(get(server), options)), "body");
}

TEST(ExchangeDeadline, EndsABodyThatDrips)
{
    ScriptedServer server(dripping(HEAD, std::string(1000, 'a')));
    ExchangeOptions options;
    options.deadline = Timeout::relative(1);
    const Bound bound(std::chrono::seconds(5));
    const ExchangeResponse response = exchange(get(server), options);
    EXPECT_NE(bodyOf(response), "");
    EXPECT_EQ(response.bodyEnd(), ExchangeResponse::E_DEADLINE);
}

TEST(ExchangeDeadline, CountsThePausesOfTheReader)
{
    ScriptedServer server(zol_test::respondingWith("HTTP/1.1 200 OK\r\nContent-Length: 4\r\n\r\nbody"));
    ExchangeOptions options;
    options.deadline = Timeout::relative(0.3F);
    const ExchangeResponse response = exchange(get(server), options);
    std::this_thread::sleep_for(milliseconds(400)); // the pause is what is tested
    EXPECT_EQ(bodyOf(response), "");
    EXPECT_EQ(response.bodyEnd(), ExchangeResponse::E_DEADLINE);
}

TEST(ExchangeDeadline, EndsASendingThatTheServerTakesSlowly)
{
    ScriptedServer server(
        [](ServerConnection& connection)
        {
            while (connection.discard(10000) > 0)
            {
                connection.pause(milliseconds(20));
            }
        });
    ExchangeOptions options;
    options.deadline = Timeout::relative(1);
    const Bound bound(std::chrono::seconds(5));
    expectFailure([&] { exchange(post(server, ContentRef(new HugeContent), HugeContent::SIZE), options); },
                  ExchangeException::E_SEND, ExchangeException::E_DEADLINE, "deadline");
}

/// Runs `call` while another thread cancels after a while.
void whileCancelling(const blocxx::Cancellation& cancellation, const std::function<void()>& call)
{
    std::thread canceller(
        [&]
        {
            std::this_thread::sleep_for(milliseconds(200)); // into the wait that is to be cancelled
            cancellation.cancel();
        });
    const Bound bound(std::chrono::seconds(2));
    call();
    canceller.join();
}

TEST(ExchangeCancellation, EndsTheWaitForAHead)
{
    ScriptedServer server(dripping("HTTP/1.1 2", ""));
    ExchangeOptions options;
    options.cancellation.emplace();
    whileCancelling(*options.cancellation,
                    [&]
                    {
                        expectFailure([&] { exchange(get(server), options); }, ExchangeException::E_HEAD,
                                      ExchangeException::E_CANCELLED, "cancelled");
                    });
}

TEST(ExchangeCancellation, EndsTheReadOfABody)
{
    ScriptedServer server(dripping(HEAD + "body", ""));
    ExchangeOptions options;
    options.cancellation.emplace();
    const ExchangeResponse response = exchange(get(server), options);
    whileCancelling(*options.cancellation,
                    [&]
                    {
                        EXPECT_EQ(bodyOf(response), "body");
                        EXPECT_EQ(response.bodyEnd(), ExchangeResponse::E_CANCELLED);
                    });
}

TEST(ExchangeCancellation, BeforeTheCallSendsNothing)
{
    ScriptedServer server(dripping(HEAD, ""));
    server.ignoreErrors();
    ExchangeOptions options;
    options.cancellation.emplace();
    options.cancellation->cancel();
    const auto failure = failureOf([&] { exchange(get(server), options); });
    ASSERT_TRUE(failure);
    EXPECT_EQ(failure->cause(), ExchangeException::E_CANCELLED);
}

TEST(ExchangeCancellation, IsTheEndOfABodyThatHasArrivedAndWasNotRead)
{
    ScriptedServer server(zol_test::respondingWith("HTTP/1.1 200 OK\r\nContent-Length: 4\r\n\r\nbody"));
    ExchangeOptions options;
    options.cancellation.emplace();
    const ExchangeResponse response = exchange(get(server), options);
    options.cancellation->cancel();
    EXPECT_EQ(bodyOf(response), "");
    EXPECT_EQ(response.bodyEnd(), ExchangeResponse::E_CANCELLED);
}

TEST(ExchangeCancellation, DoesNotChangeABodyThatEndedComplete)
{
    ScriptedServer server(zol_test::respondingWith("HTTP/1.1 200 OK\r\nContent-Length: 4\r\n\r\nbody"));
    ExchangeOptions options;
    options.cancellation.emplace();
    const ExchangeResponse response = exchange(get(server), options);
    EXPECT_EQ(bodyOf(response), "body");
    options.cancellation->cancel();
    EXPECT_EQ(response.bodyEnd(), ExchangeResponse::E_COMPLETE);
}

TEST(ExchangeConnecting, ARefusedConnectNamesPhaseAddressAndErrno)
{
    std::string address;
    {
        ScriptedServer server(zol_test::respondingWith(""));
        address = server.address();
    }
    const auto failure = failureOf([&] { exchange(requestOf("GET", address)); });
    ASSERT_TRUE(failure);
    EXPECT_EQ(failure->phase(), ExchangeException::E_CONNECT);
    EXPECT_EQ(failure->cause(), ExchangeException::E_ERROR);
    EXPECT_EQ(failure->systemError(), ECONNREFUSED);
    EXPECT_NE(std::string(failure->getMessage()).find(address), std::string::npos) << failure->getMessage();
}

TEST(ExchangeConnecting, AnUnknownHostFailsInTheLookUp)
{
    const auto failure = failureOf([] { exchange(requestOf("GET", std::string(70, 'a') + ":80")); });
    ASSERT_TRUE(failure);
    EXPECT_EQ(failure->phase(), ExchangeException::E_LOOK_UP);
    EXPECT_EQ(failure->cause(), ExchangeException::E_ERROR);
}

TEST(ExchangeConnecting, TakesIpv6InBrackets)
{
    ScriptedServer::Options ipv6;
    ipv6.ipv6 = true;
    ScriptedServer server(ipv6, zol_test::respondingWith("HTTP/1.1 204 No Content\r\n\r\n"));
    EXPECT_EQ(exchange(get(server)).getStatus(), 204);
}

TEST(ExchangeConnecting, RefusesWhatIsNoServer)
{
    for (const char* server : {"", ":80", "[::1", "[::1]80", "host:x", "host:65536", "host:80x"})
    {
        SCOPED_TRACE(server);
        const auto failure = failureOf([&] { exchange(requestOf("GET", server)); });
        ASSERT_TRUE(failure);
        EXPECT_EQ(failure->phase(), ExchangeException::E_URL);
        EXPECT_EQ(failure->cause(), ExchangeException::E_MALFORMED);
    }
}

} // namespace
