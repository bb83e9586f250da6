#include "allocations/FirstUse.hpp"

#include "common/Sample.hpp"
#include "common/Servers.hpp"
#include "common/Watchdog.hpp"

#include <gtest/gtest.h>
#include <openssl/bio.h>
#include <openssl/ssl.h>

#include <unistd.h>

#include <iostream>
#include <numeric>

namespace
{

using namespace zol_faults;

const std::size_t MOST_TRIED = 60;

void nothing() {}

std::size_t pointsOf(const FirstUse& use)
{
    return std::accumulate(use.counts.begin(), use.counts.end(), std::size_t{0});
}

/// What is made once in the life of a process, by the library and by OpenSSL, is made in a process of its own for each
/// point.
class FirstUseFaults : public testing::TestWithParam<OperationCase>
{
protected:
    /// Calls `check` with what became of each point.
    void failEach(const std::function<void(const FirstUse&)>& check)
    {
        const Operation operation = GetParam().make();
        Watchdog watchdog(GetParam().name);
        watchdog.watch(0, "without a fault");
        const FirstUse usual = useForTheFirstTime(nothing, GetParam(), 0);
        ASSERT_EQ(usual.first, operation.expected ? Ending::E_WHOLE : Ending::E_FAILED) << usual.text;
        ASSERT_NE(usual.text.find(operation.refusal), std::string::npos) << usual.text;
        const std::vector<std::size_t> points = sampleOf(pointsOf(usual), MOST_TRIED);
        for (const std::size_t point : points)
        {
            SCOPED_TRACE("point " + std::to_string(point));
            watchdog.watch(point, "first use");
            check(useForTheFirstTime(nothing, GetParam(), point));
        }
        RecordProperty("points", static_cast<int>(pointsOf(usual)));
        RecordProperty("points_tried", static_cast<int>(points.size()));
        std::cout << "points: " << pointsOf(usual) << "; " << points.size() << " tried\n";
    }
};

TEST_P(FirstUseFaults, EachIsSurvivedAndTheNextUseSucceeds)
{
    failEach(
        [](const FirstUse& use)
        {
            EXPECT_NE(use.first, Ending::E_WRONG) << use.text;
            EXPECT_EQ(use.second, Ending::E_WHOLE) << use.text;
        });
}

std::string nameOf(const testing::TestParamInfo<OperationCase>& info)
{
    return info.param.name;
}

INSTANTIATE_TEST_SUITE_P(Plain, FirstUseFaults, testing::ValuesIn(PLAIN_OPERATIONS), nameOf);

class TlsFirstUseFaults : public FirstUseFaults
{
};

// OpenSSL never tries again what has failed when it set itself up: the next use may fail as well, but is told so.
TEST_P(TlsFirstUseFaults, EachIsSurvived)
{
    failEach(
        [](const FirstUse& use)
        {
            EXPECT_NE(use.first, Ending::E_WRONG) << use.text;
            EXPECT_NE(use.second, Ending::E_WRONG) << use.text;
        });
}

INSTANTIATE_TEST_SUITE_P(Tls, TlsFirstUseFaults, testing::ValuesIn(TLS_OPERATIONS), nameOf);
INSTANTIATE_TEST_SUITE_P(Impostor, TlsFirstUseFaults, testing::ValuesIn(IMPOSTOR_OPERATIONS), nameOf);

// Without the library, which still has its own first use before it then.
void setOpenSSLUp()
{
    SSL_CTX* const context = SSL_CTX_new(TLS_client_method());
    BIO* const connection = BIO_new_ssl_connect(context);
    BIO_set_conn_hostname(connection, ("127.0.0.1:" + std::to_string(Servers::running().tls)).c_str());
    if (BIO_do_handshake(connection) != 1)
    {
        ::_exit(1);
    }
    BIO_free_all(connection);
    SSL_CTX_free(context);
}

TEST(TlsHandshakeFaults, TheNextHandshakeSucceedsWhateverFailedInTheFirstOne)
{
    Watchdog watchdog(TLS_HANDSHAKE.name);
    Servers::running();
    const FirstUse usual = useForTheFirstTime(setOpenSSLUp, TLS_HANDSHAKE, 0);
    ASSERT_EQ(usual.first, Ending::E_WHOLE) << usual.text;
    const std::size_t begin = 200; // what the library makes for its first handshake comes early
    for (std::size_t point = 1; point <= (allPoints() ? pointsOf(usual) : begin); ++point)
    {
        watchdog.watch(point, "first handshake");
        const FirstUse use = useForTheFirstTime(setOpenSSLUp, TLS_HANDSHAKE, point);
        EXPECT_NE(use.first, Ending::E_WRONG) << "point " << point << ": " << use.text;
        EXPECT_EQ(use.second, Ending::E_WHOLE) << "point " << point << ": " << use.text;
    }
    RecordProperty("points", static_cast<int>(pointsOf(usual)));
}

} // namespace
