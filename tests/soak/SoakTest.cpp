// What a process that fetches all day holds must not grow, nor what a fetch costs.

#include "Getting.hpp"
#include "Trust.hpp"
#include "support/Allocations.hpp"
#include "support/NginxServer.hpp"
#include "support/Process.hpp"
#include "support/TextOf.hpp"

#include "zol/http/HTTPClient.hpp"
#include "zol/http/Response.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string>

namespace
{

using namespace exchange_integration;

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool KEEPS_FREED_MEMORY = true; // the sanitizer does
#else
constexpr bool KEEPS_FREED_MEMORY = false;
#endif

/// Memory that comes and goes with the allocator's moods; a leak of eight bytes a fetch is more in the whole run.
constexpr std::size_t RESIDENT_SLACK = std::size_t{512} * 1024;

int fetches()
{
    const char* const asked = std::getenv("ZOL_SOAK_FETCHES");
    return asked == nullptr ? 5000 : std::max(std::atoi(asked), 1000);
}

/// What the process holds, and what some fetches allocate.
struct Sample
{
    std::size_t resident = 0;
    std::size_t descriptors = 0;
    zol_test::Allocations allocations;
};

Sample sampleOf(const std::function<void()>& fetch)
{
    constexpr int SAMPLED = 100;
    Sample sample;
    sample.allocations = zol_test::allocationsOf(
        [&]
        {
            for (int i = 0; i < SAMPLED; ++i)
            {
                fetch();
            }
        });
    sample.resident = zol_test::residentSetSize();
    sample.descriptors = zol_test::openDescriptors();
    return sample;
}

/// Compares what a tenth of the fetches has come to with what all have.
void soak(const char* name, int count, const std::function<void()>& fetch)
{
    const auto begin = std::chrono::steady_clock::now();
    for (int i = 0; i < count / 10; ++i)
    {
        fetch();
    }
    const Sample early = sampleOf(fetch);
    for (int i = count / 10; i < count; ++i)
    {
        fetch();
    }
    const Sample late = sampleOf(fetch);
    const std::chrono::duration<double> time = std::chrono::steady_clock::now() - begin;
    std::printf("%s: %d fetches in %.1f s; resident %zu KiB, then %zu KiB; %zu descriptors, then %zu; "
                "%zu allocations of %zu bytes in a hundred, then %zu of %zu\n",
                name, count, time.count(), early.resident / 1024, late.resident / 1024, early.descriptors,
                late.descriptors, early.allocations.count, early.allocations.bytes, late.allocations.count,
                late.allocations.bytes);
    EXPECT_EQ(late.descriptors, early.descriptors);
    EXPECT_EQ(late.allocations.count, early.allocations.count);
    EXPECT_EQ(late.allocations.bytes, early.allocations.bytes);
    if (!KEEPS_FREED_MEMORY)
    {
        EXPECT_LE(late.resident, early.resident + RESIDENT_SLACK);
    }
}

} // namespace

TEST(Soak, OfFetchesPlainAndOverTlsIsFlat)
{
    const zol_test::Certificate authority = zol_test::makeAuthority();
    const zol_test::Certificate own = zol_test::issue(authority, loopbackFields());
    zol_test::NginxServer::Options options;
    options.certificate = own.certificatePem();
    options.privateKey = own.keyPem();
    options.server = R"(access_log off; location = /page { return 200 "a page"; })";
    const zol_test::NginxServer server(options);
    const Request plain = get(plainUrl(server.port(), "/page"));
    const Request secure = get(secureUrl(server.tlsPort(), "/page"), zol_integration::trusting(authority));

    const auto getPlain = [&](const Request& request)
    {
        ZOLNS2::HTTP::Response response = getPage(request, blocxx::Timeout::relative(10));
        ASSERT_EQ(zol_test::textOf(response.getNextPart()), "a page");
    };
    const auto exchanged = [](const Request& request) { ASSERT_EQ(exchange(request).readAll().size(), 6U); };
    soak("getPage", fetches() / 2, [&] { getPlain(plain); });
    soak("exchange", fetches() / 2, [&] { exchanged(plain); });
    soak("getPage over TLS", fetches() / 40, [&] { getPlain(secure); });
    soak("exchange over TLS", fetches() / 40, [&] { exchanged(secure); });
}
