#include "common/Operations.hpp"
#include "common/Reading.hpp"
#include "common/Watchdog.hpp"

#include <gtest/gtest.h>

#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>

namespace
{

using namespace zol_faults;

/// Leaves all functions of a forked process, so that what they hold is destroyed.
struct Unwinding
{
};

void leaveAtOnce()
{
    ::_exit(0);
}

void leaveByExit()
{
    std::exit(0);
}

void unwind()
{
    throw Unwinding();
}

void forkAnd(void (*leave)())
{
    std::fflush(nullptr);
    const pid_t process = ::fork();
    if (process == 0)
    {
        ::signal(SIGALRM, SIG_DFL);
        ::alarm(60);
        leave();
    }
    int status = 0;
    ASSERT_EQ(::waitpid(process, &status, 0), process);
    EXPECT_EQ(status, 0);
}

class ForkInMidTransfer : public testing::TestWithParam<OperationCase>
{
protected:
    void checkThatTheParentGoesOn(void (*leave)())
    {
        const Operation operation = GetParam().make();
        Watchdog watchdog(GetParam().name);
        watchdog.watch(1, "a fork in mid-transfer");
        bool forked = false;
        onceInTheMiddle(
            [&forked, leave]
            {
                forked = true;
                forkAnd(leave);
            });
        try
        {
            expectUsual(operation, attempt(operation, [] {}));
        }
        catch (const Unwinding&)
        {
            ::_exit(0);
        }
        EXPECT_TRUE(forked);
    }
};

TEST_P(ForkInMidTransfer, LeavesTheParentItsConnectionWhenTheChildEndsAtOnce)
{
    checkThatTheParentGoesOn(leaveAtOnce);
}

TEST_P(ForkInMidTransfer, LeavesTheParentItsConnectionWhenTheChildExits)
{
    checkThatTheParentGoesOn(leaveByExit);
}

TEST_P(ForkInMidTransfer, LeavesTheParentItsConnectionWhenTheChildDropsItsOwn)
{
    checkThatTheParentGoesOn(unwind);
}

std::string nameOf(const testing::TestParamInfo<OperationCase>& info)
{
    return info.param.name;
}

INSTANTIATE_TEST_SUITE_P(Plain, ForkInMidTransfer, testing::ValuesIn(PLAIN_OPERATIONS), nameOf);
INSTANTIATE_TEST_SUITE_P(Tls, ForkInMidTransfer, testing::ValuesIn(TLS_OPERATIONS), nameOf);
INSTANTIATE_TEST_SUITE_P(Large, ForkInMidTransfer, testing::ValuesIn(LARGE_OPERATIONS), nameOf);

} // namespace
