#include "blocxx/LookUp.hpp"

#include "ForkedChild.hpp"
#include "ScriptedResolver.hpp"
#include "support/Cancellation.hpp"
#include "support/ScriptedNames.hpp"

#include "blocxx/SocketAddress.hpp"
#include "blocxx/SocketException.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <netdb.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <functional>
#include <string>
#include <thread>
#include <vector>

using blocxx::Cancellation;
using blocxx::LookUp;
using blocxx::SocketAddress;
using blocxx::SocketException;
using blocxx::Timeout;
using blocxx::UnknownHostException;
using testing::ElementsAre;
using testing::ElementsAreArray;
using zol_test::exitStatusOfFork;
using zol_test::ScriptedResolver;
namespace Names = zol_test::ScriptedNames;

namespace
{

// A name that comes long after all tests have ended.
const char* const SLOW = "in1000000.names.example";

LookUp within(float seconds)
{
    LookUp limits;
    limits.timeout = Timeout::relative(seconds);
    return limits;
}

LookUp untilCancelled(const Cancellation& cancellation)
{
    LookUp limits = within(15);
    limits.cancellation = cancellation;
    return limits;
}

LookUp only(LookUp::EFamily family)
{
    LookUp limits = within(20);
    limits.family = family;
    return limits;
}

std::vector<std::string> candidatesOf(const SocketAddress& address)
{
    std::vector<std::string> texts;
    for (std::size_t index = 0; index < address.getCandidateCount(); ++index)
    {
        texts.emplace_back(address.getCandidate(index).toString().c_str());
    }
    return texts;
}

struct Failure
{
    int code;
    std::string text;
};

/// Of a look-up that reaches a limit.
Failure failureOf(const char* host, const LookUp& limits)
{
    try
    {
        SocketAddress::getByName(host, 80, limits);
    }
    catch (const SocketException& e)
    {
        return {e.getErrorCode(), e.getMessage()};
    }
    return {0, "found"};
}

/// Of a host without an address.
std::string unknownHostText(const char* host, const LookUp& limits)
{
    try
    {
        SocketAddress::getByName(host, 80, limits);
    }
    catch (const UnknownHostException& e)
    {
        return e.getMessage();
    }
    return "found";
}

bool waitUntil(const std::function<bool()>& condition)
{
    for (int i = 0; i < 2000 && !condition(); ++i)
    {
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return condition();
}

/// Whether a thread that is cancelled (pthread_cancel) while it looks the host up ends by that.
bool endsCancelledIn(const char* host)
{
    const int begun = Names::begun();
    std::thread canceller;
    const bool ended = zol_test::endsCancelled(
        [&]
        {
            canceller = std::thread(
                [begun, waiting = ::pthread_self()]
                {
                    EXPECT_TRUE(waitUntil([begun] { return Names::begun() > begun; }));
                    ::pthread_cancel(waiting);
                });
            SocketAddress::getByName(host, 80, within(30));
        });
    canceller.join();
    return ended;
}

const Cancellation* cancelledBySignal = nullptr;

void cancelIt(int)
{
    cancelledBySignal->cancel();
}

} // namespace

TEST(LookUp, WithLimitsGivesTheAddressesOfTheOneWithout)
{
    const std::vector<std::string> expected = candidatesOf(SocketAddress::getByName("many.names.example", 80));
    EXPECT_EQ(expected.size(), 4U);
    const SocketAddress address = SocketAddress::getByName("many.names.example", 80, within(20));
    EXPECT_THAT(candidatesOf(address), ElementsAreArray(expected));
    EXPECT_EQ(address.getName(), "many.names.example");
    EXPECT_TRUE(address.hasHostName());
    EXPECT_EQ(address.getPort(), 80);
}

TEST(LookUp, FollowsTheSystemsConfiguration)
{
    EXPECT_THAT(candidatesOf(SocketAddress::getByName("localhost", 1, only(LookUp::E_IPV4_ONLY))),
                ElementsAre("127.0.0.1:1"));
}

TEST(LookUp, WaitsForANameThatComesInTime)
{
    EXPECT_EQ(SocketAddress::getByName("in300.names.example", 80, within(20)).toString(), "127.0.0.1:80");
    const Cancellation cancellation;
    EXPECT_EQ(SocketAddress::getByName("in100.names.example", 80, untilCancelled(cancellation)).toString(),
              "127.0.0.1:80");
}

TEST(LookUp, TimesOutWithATextThatNamesHostAndLimit)
{
    const Failure failure = failureOf(SLOW, within(0.25F));
    EXPECT_EQ(failure.code, ETIMEDOUT);
    EXPECT_EQ(failure.text, "Looking up in1000000.names.example timed out (limit: 0.25 seconds)");
}

TEST(LookUp, WithoutTimeTimesOut)
{
    EXPECT_EQ(failureOf(SLOW, within(0)).code, ETIMEDOUT);
}

TEST(LookUp, EndsWhenItIsCancelled)
{
    const Cancellation cancellation;
    const int begun = Names::begun();
    std::thread canceller(
        [&]
        {
            EXPECT_TRUE(waitUntil([&] { return Names::begun() > begun; }));
            cancellation.cancel();
        });
    const Failure failure = failureOf(SLOW, untilCancelled(cancellation));
    canceller.join();
    EXPECT_EQ(failure.code, ECANCELED);
    EXPECT_EQ(failure.text, "Looking up in1000000.names.example was cancelled");
}

TEST(LookUp, EndsWhenASignalHandlerOfTheThreadCancelsIt)
{
    const Cancellation cancellation;
    cancelledBySignal = &cancellation;
    ::signal(SIGUSR2, cancelIt);
    const int begun = Names::begun();
    std::thread signaller(
        [&, waiting = ::pthread_self()]
        {
            EXPECT_TRUE(waitUntil([&] { return Names::begun() > begun; }));
            ::pthread_kill(waiting, SIGUSR2);
        });
    EXPECT_EQ(failureOf(SLOW, untilCancelled(cancellation)).code, ECANCELED);
    signaller.join();
    ::signal(SIGUSR2, SIG_DFL);
}

TEST(LookUp, IsNotStartedWhenItIsCancelled)
{
    const Cancellation cancellation;
    cancellation.cancel();
    const int begun = Names::begun();
    EXPECT_EQ(failureOf("in0.names.example", untilCancelled(cancellation)).code, ECANCELED);
    // Time enough for a thread of the resolver's to begin.
    SocketAddress::getByName("in300.names.example", 80, within(20));
    EXPECT_EQ(Names::begun(), begun + 1);
}

TEST(LookUp, OfAddressesInNumbersHasNoLimit)
{
    const int lookUps = ScriptedResolver::lookUps();
    const int begun = Names::begun();
    EXPECT_EQ(SocketAddress::getByName("127.0.0.1", 80, within(0)).toString(), "127.0.0.1:80");
    EXPECT_EQ(SocketAddress::getByName("::1", 80, within(0)).toString(), "[::1]:80");
    EXPECT_EQ(ScriptedResolver::lookUps(), lookUps);
    EXPECT_EQ(Names::begun(), begun);
}

TEST(LookUp, WithoutLimitsIsDoneOnTheCallingThread)
{
    const int lookUps = ScriptedResolver::lookUps();
    SocketAddress::getByName("many.names.example", 80, LookUp());
    EXPECT_EQ(ScriptedResolver::lookUps(), lookUps + 1);
    SocketAddress::getByName("many.names.example", 80, within(20));
    EXPECT_EQ(ScriptedResolver::lookUps(), lookUps + 1);
}

TEST(LookUp, OfOneFamilyGivesItsAddresses)
{
    for (const auto& timeout : {Timeout::infinite, Timeout::relative(20)})
    {
        LookUp limits;
        limits.timeout = timeout;
        limits.family = LookUp::E_IPV4_ONLY;
        EXPECT_THAT(candidatesOf(SocketAddress::getByName("many.names.example", 80, limits)),
                    testing::UnorderedElementsAre("127.0.0.1:80", "127.0.0.2:80", "127.0.0.3:80"));
        limits.family = LookUp::E_IPV6_ONLY;
        EXPECT_THAT(candidatesOf(SocketAddress::getByName("many.names.example", 80, limits)), ElementsAre("[::1]:80"));
    }
}

TEST(LookUp, OfOneFamilyRefusesNumbersOfTheOther)
{
    EXPECT_EQ(unknownHostText("::1", only(LookUp::E_IPV4_ONLY)), "Unknown host: ::1: not an IPv4 address");
    EXPECT_EQ(unknownHostText("::ffff:127.0.0.1", only(LookUp::E_IPV4_ONLY)),
              "Unknown host: ::ffff:127.0.0.1: not an IPv4 address");
    EXPECT_EQ(unknownHostText("127.1", only(LookUp::E_IPV6_ONLY)), "Unknown host: 127.1: not an IPv6 address");
    EXPECT_EQ(SocketAddress::getByName("127.1", 80, only(LookUp::E_IPV4_ONLY)).getAddress(), "127.0.0.1");
    EXPECT_EQ(SocketAddress::getByName("::1", 80, only(LookUp::E_IPV6_ONLY)).getAddress(), "::1");
    EXPECT_EQ(unknownHostText("127.0.0.01", only(LookUp::E_IPV6_ONLY)), "Unknown host: 127.0.0.01: not a host name");
}

TEST(LookUp, ThatFailsGivesTheResolversReason)
{
    const std::string text = std::string("Unknown host: broken.names.example: ") + ::gai_strerror(EAI_AGAIN);
    EXPECT_EQ(unknownHostText("broken.names.example", within(20)), text);
    EXPECT_EQ(unknownHostText("broken.names.example", LookUp()), text);
}

TEST(LookUp, ThatWasGivenUpIsFreedOnceTheResolverIsDoneWithIt)
{
    const int ended = Names::ended();
    EXPECT_EQ(failureOf("in2000.names.example", within(0.05F)).code, ETIMEDOUT);
    const int freedBefore = ScriptedResolver::freedLists();
    SocketAddress::getByName("in0.names.example", 80, within(20));
    EXPECT_EQ(ScriptedResolver::freedLists(), freedBefore + 1) << "its own list";
    ASSERT_TRUE(waitUntil([&] { return Names::ended() == ended + 2; }));
    int lookUps = 1;
    EXPECT_TRUE(waitUntil(
        [&]
        {
            SocketAddress::getByName("in0.names.example", 80, within(20));
            ++lookUps;
            return ScriptedResolver::freedLists() == freedBefore + lookUps + 1;
        }));
    EXPECT_EQ(Names::damaged(), 0);
}

TEST(LookUp, InACancelledThreadIsGivenUp)
{
    const int ended = Names::ended();
    EXPECT_TRUE(endsCancelledIn(SLOW));
    EXPECT_EQ(Names::ended(), ended);
}

TEST(LookUp, DoesNotTouchTheStackOfAThreadThatIsNoMore)
{
    const int ended = Names::ended();
    EXPECT_TRUE(endsCancelledIn("in2000.names.example"));
    EXPECT_TRUE(waitUntil([&] { return Names::ended() == ended + 1; }));
    EXPECT_EQ(SocketAddress::getByName("in0.names.example", 80, within(20)).getAddress(), "127.0.0.1");
    EXPECT_EQ(Names::damaged(), 0);
}

TEST(LookUp, WaitsForAThreadWhileAllAreBusy)
{
    const int begun = Names::begun();
    const auto start = std::chrono::steady_clock::now();
    for (int i = 0; i < 40; ++i)
    {
        EXPECT_EQ(failureOf("in3000.names.example", within(0.001F)).code, ETIMEDOUT);
    }
    // A thread is free again after three seconds, which a slow machine may take for the forty.
    const auto rounds = (std::chrono::steady_clock::now() - start) / std::chrono::seconds(3) + 1;
    EXPECT_EQ(SocketAddress::getByName("in0.names.example", 80, within(20)).getAddress(), "127.0.0.1");
    // Those that had to wait for one of the twenty threads, and were given up before they had it, were never begun.
    EXPECT_LE(Names::begun() - begun, 20 * rounds + 1);
    EXPECT_EQ(Names::damaged(), 0);
}

TEST(LookUp, InAForkedChildIsThatOfTheSystem)
{
    SocketAddress::getByName("in0.names.example", 80, within(20));
    EXPECT_EQ(failureOf(SLOW, within(0.05F)).code, ETIMEDOUT);
    EXPECT_EQ(exitStatusOfFork(
                  []
                  {
                      const int lookUps = ScriptedResolver::lookUps();
                      const SocketAddress address = SocketAddress::getByName("in10.names.example", 80, within(20));
                      if (address.getAddress() != "127.0.0.1" || ScriptedResolver::lookUps() != lookUps + 1)
                      {
                          return 1;
                      }
                      if (failureOf("in200.names.example", within(0.05F)).code != ETIMEDOUT)
                      {
                          return 2;
                      }
                      const Cancellation cancellation;
                      cancellation.cancel();
                      return failureOf("in0.names.example", untilCancelled(cancellation)).code == ECANCELED ? 0 : 3;
                  }),
              0);
}

TEST(LookUp, OfManyThreadsAtOnceWorks)
{
    std::atomic<int> found{0};
    std::vector<std::thread> threads;
    for (int i = 0; i < 8; ++i)
    {
        threads.emplace_back(
            [&found, i]
            {
                for (int round = 0; round < 6; ++round)
                {
                    const bool inTime = (i + round) % 2 == 0;
                    const Failure failure =
                        failureOf(inTime ? "in1.names.example" : "in1500.names.example", within(inTime ? 60 : 0.005F));
                    found += failure.code == (inTime ? 0 : ETIMEDOUT) ? 1 : 0;
                }
            });
    }
    for (std::thread& thread : threads)
    {
        thread.join();
    }
    EXPECT_EQ(found, 8 * 6);
    EXPECT_EQ(Names::damaged(), 0);
}
