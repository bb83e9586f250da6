#include "Stall.hpp"

#include <pthread.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <memory>
#include <optional>
#include <ostream>
#include <string>
#include <thread>

namespace
{

using namespace exchange_integration;
using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

struct Place
{
    const char* name;
    std::unique_ptr<Stall> (*make)();
    ExchangeException::EPhase phase;
};

void PrintTo(const Place& place, std::ostream* out)
{
    *out << place.name;
}

const Place PLACES[] = {
    {"LookUp", &Stall::inTheLookUp, ExchangeException::E_LOOK_UP},
    {"Connect", &Stall::inAConnectToAFullBacklog, ExchangeException::E_CONNECT},
    {"SilentHandshake", &Stall::inASilentHandshake, ExchangeException::E_TLS},
    {"HandshakeDrip", &Stall::inAHandshakeThatDrips, ExchangeException::E_TLS},
    {"SilentSend", &Stall::inASendThatNobodyReads, ExchangeException::E_SEND},
    {"SlowSend", &Stall::inASendThatIsReadSlowly, ExchangeException::E_SEND},
    {"SilentTlsSend", &Stall::inASendOverTlsThatNobodyReads, ExchangeException::E_SEND},
    {"Continue", &Stall::beforeAContinue, ExchangeException::E_SEND},
    {"SilentHead", &Stall::inASilentHead, ExchangeException::E_HEAD},
    {"HeadDrip", &Stall::inAHeadThatDrips, ExchangeException::E_HEAD},
    {"TlsHeadDrip", &Stall::inAHeadThatDripsOverTls, ExchangeException::E_HEAD},
    {"InterimHeadDrip", &Stall::inAnInterimResponseThatDrips, ExchangeException::E_HEAD},
    {"HeadDripBehindARedirect", &Stall::inAHeadThatDripsBehindARedirect, ExchangeException::E_HEAD},
    {"SilentBody", &Stall::inASilentBody, ExchangeException::E_BODY},
    {"BodyDrip", &Stall::inABodyThatDrips, ExchangeException::E_BODY},
    {"TlsBodyDrip", &Stall::inABodyThatDripsOverTls, ExchangeException::E_BODY},
    {"BodyToTheCloseDrip", &Stall::inABodyToTheCloseThatDrips, ExchangeException::E_BODY},
    {"ChunkDrip", &Stall::inAChunkThatDrips, ExchangeException::E_BODY},
    {"ChunkLineDrip", &Stall::inTheLineOfAChunkThatDrips, ExchangeException::E_BODY},
    {"TrailerDrip", &Stall::inATrailerThatDrips, ExchangeException::E_BODY},
    {"CompressedBodyDrip", &Stall::inACompressedBodyThatDrips, ExchangeException::E_BODY},
};

/// Where a limit of the options other than the deadline ends the exchange: no byte moves, or the phase has a time.
const Place TIMED_PLACES[] = {
    {"LookUp", &Stall::inTheLookUp, ExchangeException::E_LOOK_UP},
    {"Connect", &Stall::inAConnectToAFullBacklog, ExchangeException::E_CONNECT},
    {"SilentHandshake", &Stall::inASilentHandshake, ExchangeException::E_TLS},
    {"HandshakeDrip", &Stall::inAHandshakeThatDrips, ExchangeException::E_TLS},
    {"SilentSend", &Stall::inASendThatNobodyReads, ExchangeException::E_SEND},
    {"SilentTlsSend", &Stall::inASendOverTlsThatNobodyReads, ExchangeException::E_SEND},
    {"SilentHead", &Stall::inASilentHead, ExchangeException::E_HEAD},
    {"HeadDrip", &Stall::inAHeadThatDrips, ExchangeException::E_HEAD},
    {"TlsHeadDrip", &Stall::inAHeadThatDripsOverTls, ExchangeException::E_HEAD},
    {"InterimHeadDrip", &Stall::inAnInterimResponseThatDrips, ExchangeException::E_HEAD},
    {"SilentBody", &Stall::inASilentBody, ExchangeException::E_BODY},
    {"TrailerDrip", &Stall::inATrailerThatDrips, ExchangeException::E_BODY},
};

const char* nameOf(ExchangeException::ECause cause)
{
    switch (cause)
    {
    case ExchangeException::E_DEADLINE:
        return "deadline";
    case ExchangeException::E_CANCELLED:
        return "cancelled";
    default:
        return "";
    }
}

ExchangeResponse::EBodyEnd endOf(ExchangeException::ECause cause)
{
    switch (cause)
    {
    case ExchangeException::E_DEADLINE:
        return ExchangeResponse::E_DEADLINE;
    case ExchangeException::E_CANCELLED:
        return ExchangeResponse::E_CANCELLED;
    default:
        return ExchangeResponse::E_TIMED_OUT;
    }
}

class StalledExchange : public testing::TestWithParam<Place>
{
protected:
    const std::unique_ptr<Stall> m_stall = GetParam().make();

    /// Exchanges, and reads the body; returns when that failed.
    Clock::time_point fail(const ExchangeOptions& options, ExchangeException::ECause cause)
    {
        std::optional<ExchangeResponse> response;
        try
        {
            response = exchange(m_stall->request(), options);
            m_stall->setResponded();
            response->readAll();
            ADD_FAILURE() << "nothing failed";
        }
        catch (const ExchangeException& failure)
        {
            const Clock::time_point end = Clock::now();
            EXPECT_EQ(failure.phase(), GetParam().phase) << failure.getMessage();
            EXPECT_EQ(failure.cause(), cause) << failure.getMessage();
            EXPECT_NE(std::string(failure.getMessage()).find(nameOf(cause)), std::string::npos) << failure.getMessage();
            EXPECT_FALSE(failure.isSafeToRepeat());
            if (response)
            {
                EXPECT_EQ(response->bodyEnd(), endOf(cause)) << response->bodyEndText();
                EXPECT_FALSE(response->reusable());
            }
            return end;
        }
        return Clock::now();
    }

    static void record(Clock::duration time)
    {
        RecordProperty("microseconds",
                       static_cast<int>(std::chrono::duration_cast<std::chrono::microseconds>(time).count()));
    }

    /// Waits until the exchange has been in its phase for a while.
    void waitUntilStalled() const
    {
        EXPECT_TRUE(m_stall->waitUntilReached());
        std::this_thread::sleep_for(200ms);
    }
};

TEST_P(StalledExchange, EndsAtItsDeadline)
{
    ExchangeOptions options = m_stall->options();
    options.deadline = blocxx::Timeout::relative(1);
    const Clock::time_point start = Clock::now();
    const Clock::duration time = fail(options, ExchangeException::E_DEADLINE) - start;
    record(time);
    EXPECT_LT(time, 5s);
}

TEST_P(StalledExchange, EndsAtOnceWhenAnotherThreadCancelsIt)
{
    const blocxx::Cancellation cancellation;
    ExchangeOptions options = m_stall->options();
    options.cancellation = cancellation;
    options.deadline = blocxx::Timeout::relative(20); // for a test that fails
    Clock::time_point cancelled;
    std::thread other(
        [&]
        {
            waitUntilStalled();
            cancelled = Clock::now();
            cancellation.cancel();
        });
    const Clock::time_point end = fail(options, ExchangeException::E_CANCELLED);
    other.join();
    record(end - cancelled);
    EXPECT_LT(end - cancelled, 1s);
}

/// What the signal handler cancels, and when it did.
const blocxx::Cancellation* toCancel = nullptr;
std::atomic<Clock::rep> cancelledAt{0};

void cancelBySignal(int)
{
    cancelledAt = Clock::now().time_since_epoch().count();
    toCancel->cancel();
}

TEST_P(StalledExchange, EndsAtOnceWhenASignalHandlerCancelsIt)
{
    const blocxx::Cancellation cancellation;
    toCancel = &cancellation;
    struct sigaction action = {};
    struct sigaction before = {};
    action.sa_handler = &cancelBySignal;
    ::sigaction(SIGUSR1, &action, &before);
    ExchangeOptions options = m_stall->options();
    options.cancellation = cancellation;
    options.deadline = blocxx::Timeout::relative(20); // for a test that fails
    const pthread_t self = ::pthread_self();
    std::thread other(
        [&]
        {
            waitUntilStalled();
            ::pthread_kill(self, SIGUSR1);
        });
    const Clock::time_point end = fail(options, ExchangeException::E_CANCELLED);
    other.join();
    ::sigaction(SIGUSR1, &before, nullptr);
    const Clock::duration time = end.time_since_epoch() - Clock::duration(cancelledAt.load());
    record(time);
    EXPECT_LT(time, 1s);
}

// The unwinding of a cancelled thread is no failure of the exchange's.
TEST_P(StalledExchange, EndsWithItsThread)
{
    pthread_t thread{};
    const auto run = [](void* stall) -> void*
    {
        const auto& place = *static_cast<const Stall*>(stall);
        const ExchangeResponse response = exchange(place.request(), place.options());
        place.setResponded();
        response.readAll();
        return nullptr;
    };
    ASSERT_EQ(::pthread_create(&thread, nullptr, run, m_stall.get()), 0);
    waitUntilStalled();
    ::pthread_cancel(thread);
    void* result = nullptr;
    const Clock::time_point start = Clock::now();
    ASSERT_EQ(::pthread_join(thread, &result), 0);
    EXPECT_EQ(result, PTHREAD_CANCELED);
    EXPECT_LT(Clock::now() - start, 5s);
}

class TimedExchange : public StalledExchange
{
};

TEST_P(TimedExchange, EndsAtTheLimitOfWhatItDoes)
{
    ExchangeOptions options = m_stall->options();
    options.connectTimeout = blocxx::Timeout::relative(1);
    options.headTimeout = blocxx::Timeout::relative(1);
    options.progressTimeout = blocxx::Timeout::relative(1);
    const Clock::time_point start = Clock::now();
    EXPECT_LT(fail(options, ExchangeException::E_TIMED_OUT) - start, 5s);
}

INSTANTIATE_TEST_SUITE_P(In, StalledExchange, testing::ValuesIn(PLACES),
                         [](const testing::TestParamInfo<Place>& one) { return one.param.name; });
INSTANTIATE_TEST_SUITE_P(In, TimedExchange, testing::ValuesIn(TIMED_PLACES),
                         [](const testing::TestParamInfo<Place>& one) { return one.param.name; });

} // namespace
