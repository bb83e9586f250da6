#include "blocxx/Cancellation.hpp"

#include "ForkedChild.hpp"
#include "support/CancelledThread.hpp"
#include "support/Descriptor.hpp"
#include "support/Process.hpp"

#include "blocxx/IOException.hpp"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <poll.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <thread>

using blocxx::Cancellation;
using zol_test::exitStatusOfFork;
using zol_test::Pipe;

namespace
{

bool isReadable(int descriptor)
{
    pollfd polled{descriptor, POLLIN, 0};
    return ::poll(&polled, 1, 0) == 1 && (polled.revents & POLLIN) != 0;
}

const Cancellation* cancelledBySignal = nullptr;

void cancelIt(int)
{
    cancelledBySignal->cancel();
}

} // namespace

TEST(Cancellation, IsSharedByCopiesAndByNobodyElse)
{
    const Cancellation cancellation;
    const Cancellation copy(cancellation);
    Cancellation assigned;
    const Cancellation before(assigned);
    assigned = cancellation;
    EXPECT_FALSE(cancellation.isCancelled());
    copy.cancel();
    EXPECT_TRUE(cancellation.isCancelled());
    EXPECT_TRUE(copy.isCancelled());
    EXPECT_TRUE(assigned.isCancelled());
    EXPECT_FALSE(before.isCancelled());
}

TEST(Cancellation, MakesItsDescriptorReadableForGood)
{
    const Cancellation cancellation;
    EXPECT_FALSE(isReadable(cancellation.descriptor()));
    for (int i = 0; i < 3; ++i)
    {
        cancellation.cancel();
        EXPECT_TRUE(isReadable(cancellation.descriptor()));
        EXPECT_TRUE(cancellation.isCancelled());
    }
}

TEST(Cancellation, DescriptorIsClosedOnExecAndWithTheLastCopy)
{
    const std::size_t before = zol_test::openDescriptors();
    {
        const Cancellation cancellation;
        const Cancellation copy(cancellation);
        EXPECT_EQ(zol_test::openDescriptors(), before + 1);
        EXPECT_TRUE(::fcntl(cancellation.descriptor(), F_GETFD) & FD_CLOEXEC);
        {
            const Cancellation another(copy);
        }
        copy.cancel();
        EXPECT_EQ(zol_test::openDescriptors(), before + 1);
    }
    EXPECT_EQ(zol_test::openDescriptors(), before);
}

TEST(Cancellation, KeepsErrno)
{
    const Cancellation cancellation;
    // Two such writes more than fill the event's counter, so that the one of cancel() fails.
    const std::uint64_t nearlyFull = ~std::uint64_t{0} - 1;
    ASSERT_EQ(::write(cancellation.descriptor(), &nearlyFull, sizeof nearlyFull), 8);
    errno = E2BIG;
    cancellation.cancel();
    EXPECT_EQ(errno, E2BIG);
    EXPECT_TRUE(isReadable(cancellation.descriptor()));
}

TEST(Cancellation, WorksInASignalHandler)
{
    const Cancellation cancellation;
    cancelledBySignal = &cancellation;
    ::signal(SIGUSR2, cancelIt);
    ::raise(SIGUSR2);
    ::signal(SIGUSR2, SIG_DFL);
    EXPECT_TRUE(cancellation.isCancelled());
    EXPECT_TRUE(isReadable(cancellation.descriptor()));
}

TEST(Cancellation, WakesAPollOfAnotherThread)
{
    const Cancellation cancellation;
    std::thread other([cancellation] { cancellation.cancel(); });
    pollfd polled{cancellation.descriptor(), POLLIN, 0};
    EXPECT_EQ(::poll(&polled, 1, 20000), 1);
    EXPECT_TRUE(cancellation.isCancelled());
    other.join();
}

TEST(Cancellation, IsNotACancellationPointOfTheThread)
{
    const Cancellation cancellation;
    EXPECT_TRUE(zol_test::runsToItsEndThoughCancelled([&] { cancellation.cancel(); }));
    EXPECT_TRUE(cancellation.isCancelled());
}

TEST(Cancellation, OfAForkedChildDoesNotReachTheParent)
{
    const Cancellation cancellation;
    EXPECT_EQ(exitStatusOfFork(
                  [&]
                  {
                      cancellation.cancel();
                      return cancellation.isCancelled() ? 1 : 0;
                  }),
              0);
    EXPECT_FALSE(cancellation.isCancelled());
    EXPECT_FALSE(isReadable(cancellation.descriptor()));
    cancellation.cancel();
    EXPECT_TRUE(isReadable(cancellation.descriptor()));
}

TEST(Cancellation, OfTheParentDoesNotReachAForkedChild)
{
    const Cancellation cancellation;
    Pipe cancelled;
    EXPECT_EQ(exitStatusOfFork(
                  [&]
                  {
                      char byte = 0;
                      if (::read(cancelled.readEnd.get(), &byte, 1) != 1)
                      {
                          return 1;
                      }
                      return !cancellation.isCancelled() && cancellation.descriptor() == -1 ? 0 : 2;
                  },
                  [&]
                  {
                      cancellation.cancel();
                      EXPECT_EQ(::write(cancelled.writeEnd.get(), "x", 1), 1);
                  }),
              0);
}

TEST(Cancellation, OfBeforeTheForkIsKnownToTheChild)
{
    const Cancellation cancellation;
    cancellation.cancel();
    EXPECT_EQ(exitStatusOfFork([&] { return cancellation.isCancelled() ? 0 : 1; }), 0);
}

TEST(Cancellation, OfAChildsOwnMakingWorksThere)
{
    EXPECT_EQ(exitStatusOfFork(
                  []
                  {
                      const Cancellation own;
                      own.cancel();
                      return own.isCancelled() && isReadable(own.descriptor()) ? 0 : 1;
                  }),
              0);
}

TEST(Cancellation, ThrowsWhenTheSystemGivesNoDescriptor)
{
#ifdef __SANITIZE_ADDRESS__
    GTEST_SKIP() << "the sanitizer looks at memory through descriptors of its own";
#endif
    EXPECT_EQ(exitStatusOfFork(
                  []
                  {
                      const rlimit none{0, 0};
                      ::setrlimit(RLIMIT_NOFILE, &none);
                      try
                      {
                          const Cancellation cancellation;
                          return 1;
                      }
                      catch (const blocxx::IOException& e)
                      {
                          return e.getErrorCode() == EMFILE ? 0 : 2;
                      }
                  }),
              0);
}
