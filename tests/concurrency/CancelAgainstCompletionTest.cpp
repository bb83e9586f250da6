// Cancellations that come at the moment at which what they are for is done.

#include "Getting.hpp"
#include "Trust.hpp"
#include "support/NginxServer.hpp"

#include "blocxx/Cancellation.hpp"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <random>
#include <string>
#include <thread>

namespace
{

using namespace exchange_integration;

constexpr int ROUNDS = 200;

/// What an exchange that is cancelled after so many microseconds comes to: it is done, or cancelled, and nothing else.
void cancelAfter(std::chrono::microseconds pause, const Request& request, const std::string& body, int& done)
{
    ExchangeOptions options;
    const blocxx::Cancellation cancellation;
    options.cancellation = cancellation;
    std::atomic<bool> begun{false};
    std::thread other(
        [&]
        {
            while (!begun)
            {
            }
            std::this_thread::sleep_for(pause);
            cancellation.cancel();
        });
    try
    {
        begun = true;
        const ExchangeResponse response = exchange(request, options);
        const blocxx::Array<char> bytes = response.readAll();
        EXPECT_EQ(std::string(bytes.begin(), bytes.end()), body);
        EXPECT_EQ(response.bodyEnd(), ExchangeResponse::E_COMPLETE);
        ++done;
    }
    catch (const ExchangeException& failure)
    {
        EXPECT_EQ(failure.cause(), ExchangeException::E_CANCELLED) << failure.getMessage();
    }
    other.join();
}

void cancelAtEveryMoment(const Request& request, const std::string& body)
{
    std::minstd_rand random(5);
    EXPECT_EQ(bodyOf(exchange(request)), body); // the first one takes longer
    // As long as an exchange takes here, and then some: both outcomes occur.
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(bodyOf(exchange(request)), body);
    const auto length = std::chrono::duration_cast<std::chrono::microseconds>(std::chrono::steady_clock::now() - begin);
    int done = 0;
    for (int round = 0; round < ROUNDS; ++round)
    {
        cancelAfter(length * static_cast<int>(random() % 150) / 100, request, body, done);
    }
    testing::Test::RecordProperty("done", done);
}

} // namespace

TEST(CancelAgainstCompletion, EndsAnExchangeOrComesTooLate)
{
    const zol_test::Certificate authority = zol_test::makeAuthority();
    const zol_test::Certificate own = zol_test::issue(authority, loopbackFields());
    zol_test::NginxServer::Options options;
    options.certificate = own.certificatePem();
    options.privateKey = own.keyPem();
    options.server = R"(location = /page { return 200 "a page"; })";
    const zol_test::NginxServer server(options);
    cancelAtEveryMoment(get(plainUrl(server.port(), "/page")), "a page");
    cancelAtEveryMoment(get(secureUrl(server.tlsPort(), "/page"), zol_integration::trusting(authority)), "a page");
}
