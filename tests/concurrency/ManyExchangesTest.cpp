#include "Getting.hpp"
#include "InAllThreads.hpp"
#include "Stall.hpp"
#include "Trust.hpp"
#include "support/NginxServer.hpp"
#include "support/Process.hpp"
#include "support/ScriptedContent.hpp"

#include "zol/mime/MultipartContent.hpp"
#include "zol/mime/MultipartReader.hpp"

#include <gmock/gmock.h>

#include <atomic>
#include <chrono>
#include <iterator>
#include <memory>
#include <string>
#include <thread>

namespace
{

using concurrency_test::inAllThreads;
using namespace exchange_integration;
using namespace std::chrono_literals;
using testing::ElementsAre;
using zol_integration::trusting;
using zol_test::NginxServer;

constexpr int THREADS = 16;
constexpr int ROUNDS = 10;

class ManyExchanges : public testing::Test
{
protected:
    const zol_test::Certificate m_authority = zol_test::makeAuthority();
    const NginxServer m_server{configuration()};
    const std::string m_content = zol_test::distinctBytes(100000);

    void SetUp() override { m_server.folder().write("html/file.bin", m_content); }

    NginxServer::Options configuration() const
    {
        const zol_test::Certificate own = zol_test::issue(m_authority, loopbackFields());
        NginxServer::Options options;
        options.certificate = own.certificatePem();
        options.privateKey = own.keyPem();
        options.server = R"(
            location = /connection { return 200 "$connection"; }
            location = /to { return 302 /connection; }
            location = /gzip { gzip on; gzip_min_length 1; gzip_types *; alias html/file.bin; }
            location = /back { default_type "$http_content_type"; echo_read_request_body; echo_request_body; }
        )";
        return options;
    }

    std::string url(const std::string& target, const std::string& host = "127.0.0.1") const
    {
        return plainUrl(m_server.port(), target, host);
    }
};

TEST_F(ManyExchanges, OfEveryKindRunAtOnceAndShareWhatTheyMay)
{
    const blocxx::Cancellation never;
    ExchangeOptions options = following(2);
    options.decompress = true;
    options.cancellation = never;
    const blocxx::SSLClientCtxRef tls = trusting(m_authority);
    const Request plain = get(url("/file.bin"));
    const Request secure = get(secureUrl(m_server.tlsPort(), "/file.bin"), tls);
    const Request named = get(url("/to", "localhost"));
    const Request squeezed = get(url("/gzip"));
    const blocxx::IntrusiveReference<ZOLNS2::MIME::MultipartContent> form(
        new ZOLNS2::MIME::MultipartContent("form-data"));
    form->addField("name", "value");
    const Request post = asking("POST", url("/back")).content(form).build();
    const auto problems =
        inAllThreads(THREADS,
                     [&](int)
                     {
                         for (int round = 0; round < ROUNDS; ++round)
                         {
                             EXPECT_TRUE(bodyOf(exchange(plain, options)) == m_content);
                             EXPECT_TRUE(bodyOf(exchange(secure, options)) == m_content);
                             EXPECT_TRUE(bodyOf(exchange(squeezed, options)) == m_content);
                             EXPECT_EQ(exchange(named, options).getStatus(), 200);
                             const ExchangeResponse response = exchange(post, options);
                             ZOLNS2::MIME::MultipartReader reader(response.getContent(), form->getBoundary(), {});
                             EXPECT_TRUE(reader.next());
                             EXPECT_FALSE(reader.next());
                         }
                     });
    EXPECT_THAT(problems, ElementsAre());
}

TEST_F(ManyExchanges, EachKeepItsOwnConnection)
{
    const Request request = getAndKeep(url("/connection"));
    const auto problems = inAllThreads(THREADS,
                                       [&](int)
                                       {
                                           ExchangeResponse response = exchange(request);
                                           const std::string connection = bodyOf(response);
                                           for (int round = 0; round < ROUNDS; ++round)
                                           {
                                               response = exchange(response.getConnection(), request);
                                               EXPECT_EQ(bodyOf(response), connection);
                                           }
                                       });
    EXPECT_THAT(problems, ElementsAre());
    const std::size_t requests = std::size_t{THREADS} * (ROUNDS + 1);
    EXPECT_EQ(requestsSeenBy(m_server, requests), requests);
}

TEST_F(ManyExchanges, LeaveNoDescriptorOpen)
{
    const auto once = [&]
    {
        ExchangeOptions options = following(1);
        options.cancellation.emplace();
        bodyOf(exchange(getAndKeep(url("/connection", "localhost")), options));
        bodyOf(exchange(get(url("/to")), options));
        exchange(get(url("/file.bin")), options); // its body is not read
        failureOf([&] { exchange(get(secureUrl(m_server.port())), options); });
    };
    once();
    const std::size_t before = zol_test::openDescriptors();
    for (int i = 0; i < ROUNDS; ++i)
    {
        once();
    }
    EXPECT_EQ(zol_test::openDescriptors(), before);
}

// A part of the threads waits in each phase.
TEST(ManyStalledExchanges, AreAllCancelledByOneHandle)
{
    const std::unique_ptr<Stall> stalls[] = {Stall::inTheLookUp(), Stall::inASilentHandshake(),
                                             Stall::inAHeadThatDrips(), Stall::inASilentHead()};
    const blocxx::Cancellation cancellation;
    std::atomic<int> cancelled{0};
    std::thread other(
        [&]
        {
            for (const auto& stall : stalls)
            {
                EXPECT_TRUE(stall->waitUntilReached());
            }
            std::this_thread::sleep_for(200ms);
            cancellation.cancel();
        });
    const auto problems =
        inAllThreads(THREADS,
                     [&](int thread)
                     {
                         const Stall& stall = *stalls[static_cast<std::size_t>(thread) % std::size(stalls)];
                         ExchangeOptions options = stall.options();
                         options.cancellation = cancellation;
                         const auto failure = failureOf([&] { exchange(stall.request(), options); });
                         cancelled += failure && failure->cause() == ExchangeException::E_CANCELLED ? 1 : 0;
                     });
    other.join();
    EXPECT_THAT(problems, ElementsAre());
    EXPECT_EQ(cancelled, THREADS);
}

} // namespace
