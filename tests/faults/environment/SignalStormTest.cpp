#include "common/Operations.hpp"
#include "common/Watchdog.hpp"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <ctime>
#include <iostream>

namespace
{

using namespace zol_faults;
using namespace std::chrono_literals;

std::atomic<int> signalsTaken{0};

void take(int)
{
    ++signalsTaken;
}

/// While it lives, a signal arrives every millisecond that interrupts what can be interrupted.
class Storm
{
public:
    Storm()
    {
        struct sigaction action = {}; // without SA_RESTART
        action.sa_handler = take;
        ::sigaction(SIGUSR1, &action, nullptr);
        sigevent event{};
        event.sigev_notify = SIGEV_SIGNAL;
        event.sigev_signo = SIGUSR1;
        const itimerspec everyMillisecond = {{0, 1000000}, {0, 1000000}};
        if (::timer_create(CLOCK_MONOTONIC, &event, &m_timer) != 0 ||
            ::timer_settime(m_timer, 0, &everyMillisecond, nullptr) != 0)
        {
            ADD_FAILURE() << "no timer to be had";
        }
    }
    ~Storm()
    {
        ::timer_delete(m_timer);
        ::signal(SIGUSR1, SIG_IGN);
    }
    Storm(const Storm&) = delete;
    Storm& operator=(const Storm&) = delete;

private:
    timer_t m_timer{};
};

class SignalStorm : public testing::TestWithParam<OperationCase>
{
};

TEST_P(SignalStorm, ChangesNothing)
{
    const int ENOUGH = 150;
    const Operation operation = GetParam().make();
    Watchdog watchdog(GetParam().name);
    const auto limit = std::chrono::steady_clock::now() + 40s;
    signalsTaken = 0;
    int rounds = 0;
    {
        const Storm storm;
        while (signalsTaken < ENOUGH && std::chrono::steady_clock::now() < limit && !HasFailure())
        {
            watchdog.watch(static_cast<std::size_t>(++rounds), "a signal every millisecond");
            expectUsual(operation, attempt(operation, [] {}));
        }
    }
    EXPECT_GE(signalsTaken, ENOUGH);
    RecordProperty("signals", signalsTaken);
    std::cout << signalsTaken << " signals in " << rounds << " rounds\n";
}

std::string nameOf(const testing::TestParamInfo<OperationCase>& info)
{
    return info.param.name;
}

INSTANTIATE_TEST_SUITE_P(Plain, SignalStorm, testing::ValuesIn(PLAIN_OPERATIONS), nameOf);
INSTANTIATE_TEST_SUITE_P(Tls, SignalStorm, testing::ValuesIn(TLS_OPERATIONS), nameOf);
INSTANTIATE_TEST_SUITE_P(Impostor, SignalStorm, testing::ValuesIn(IMPOSTOR_OPERATIONS), nameOf);

} // namespace
