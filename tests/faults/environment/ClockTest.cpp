#include "common/Operations.hpp"
#include "common/Watchdog.hpp"
#include "environment/JumpingClock.hpp"
#include "support/Descriptor.hpp"

#include "zol/http/Exchange.hpp"
#include "zol/http/RequestBuilder.hpp"

#include <gtest/gtest.h>

#include <chrono>

namespace
{

using namespace zol_faults;
using namespace ZOLNS2;

class JumpsOfTheClock : public testing::TestWithParam<OperationCase>
{
};

TEST_P(JumpsOfTheClock, EndNothingTooEarly)
{
    const Operation operation = GetParam().make();
    Watchdog watchdog(GetParam().name);
    watchdog.watch(1, "the wall clock jumps");
    const JumpingClock clock;
    const auto one = std::chrono::system_clock::now();
    ASSERT_GT(one, std::chrono::system_clock::now()) << "it jumps";
    expectUsual(operation, attempt(operation, [] {}));
}

std::string nameOf(const testing::TestParamInfo<OperationCase>& info)
{
    return info.param.name;
}

INSTANTIATE_TEST_SUITE_P(Plain, JumpsOfTheClock, testing::ValuesIn(PLAIN_OPERATIONS), nameOf);
INSTANTIATE_TEST_SUITE_P(Tls, JumpsOfTheClock, testing::ValuesIn(TLS_OPERATIONS), nameOf);

/// How an exchange with a server ends that never says anything.
HTTP::ExchangeException::ECause causeOfTheEnd(const HTTP::ExchangeOptions& options)
{
    const zol_test::LoopbackSocket silent(zol_test::LoopbackSocket::E_LISTENING);
    const std::string url = "http://127.0.0.1:" + std::to_string(silent.port) + "/";
    try
    {
        HTTP::exchange(HTTP::RequestBuilder("GET", HTTP::Url(url.c_str())).build(), options);
    }
    catch (const HTTP::ExchangeException& failure)
    {
        return failure.cause();
    }
    return HTTP::ExchangeException::E_ERROR;
}

TEST(JumpsOfTheWallClock, LeaveEveryTimeOutInPlace)
{
    Watchdog watchdog("time-outs");
    const JumpingClock clock;
    HTTP::ExchangeOptions options;
    options.headTimeout = blocxx::Timeout::relative(0.2F);
    watchdog.watch(1, "the time of the head");
    EXPECT_EQ(causeOfTheEnd(options), HTTP::ExchangeException::E_TIMED_OUT);
    options = HTTP::ExchangeOptions();
    options.progressTimeout = blocxx::Timeout::relative(0.2F);
    watchdog.watch(2, "the time without progress");
    EXPECT_EQ(causeOfTheEnd(options), HTTP::ExchangeException::E_TIMED_OUT);
    options = HTTP::ExchangeOptions();
    options.deadline = blocxx::Timeout::relative(0.2F);
    watchdog.watch(3, "the deadline");
    EXPECT_EQ(causeOfTheEnd(options), HTTP::ExchangeException::E_DEADLINE);
}

} // namespace
