#include "common/Operations.hpp"
#include "common/Sanitized.hpp"
#include "common/Watchdog.hpp"
#include "environment/InAChild.hpp"
#include "support/Process.hpp"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <vector>

namespace
{

using namespace zol_faults;

class DescriptorFaults : public testing::TestWithParam<OperationCase>
{
};

/// Opens files until one has a number from 1100 on.
class ManyFiles
{
public:
    ManyFiles()
    {
        while (m_files.empty() || (m_files.back() >= 0 && m_files.back() < 1100))
        {
            m_files.push_back(::open("/dev/null", O_RDONLY | O_CLOEXEC));
        }
    }
    ~ManyFiles()
    {
        for (const int file : m_files)
        {
            ::close(file);
        }
    }
    ManyFiles(const ManyFiles&) = delete;
    ManyFiles& operator=(const ManyFiles&) = delete;

private:
    std::vector<int> m_files;
};

TEST_P(DescriptorFaults, NumbersAbove1024ServeAsWellAndNoneIsLeft)
{
    rlimit limit{};
    ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &limit), 0);
    if (limit.rlim_max < 1200)
    {
        GTEST_SKIP() << "not more than " << limit.rlim_max << " descriptors are allowed here";
    }
    const rlimit former = limit;
    limit.rlim_cur = 1200;
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &limit), 0);
    const Operation operation = GetParam().make();
    {
        const ManyFiles below;
        attempt(operation, [] {});
        const std::size_t before = zol_test::openDescriptors();
        ASSERT_GT(before, 1024U);
        expectUsual(operation, attempt(operation, [] {}));
        EXPECT_EQ(zol_test::openDescriptors(), before);
    }
    ::setrlimit(RLIMIT_NOFILE, &former);
}

// The connection takes their numbers.
TEST_P(DescriptorFaults, TheStandardStreamsMayBeClosed)
{
    const Operation operation = GetParam().make();
    const std::string ended = inAChild(
        [&operation]
        {
            for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
            {
                ::close(stream);
            }
            const Ending ending = attempt(operation, [] {});
            const bool noneLeft = ::fcntl(STDIN_FILENO, F_GETFD) < 0 && ::fcntl(STDOUT_FILENO, F_GETFD) < 0;
            return ending.kind == Ending::E_WHOLE && noneLeft ? "whole" : "not whole, or still open: " + ending.text;
        });
    EXPECT_EQ(ended, "whole");
}

// With nothing at all to be had, it is told.
TEST_P(DescriptorFaults, NoneToBeHadIsAFailureThatIsTold)
{
#ifdef ZOL_SANITIZED
    GTEST_SKIP()
        << "the undefined-behaviour sanitizer takes an object for a bad one if it has no descriptor to look with";
#endif
    const Operation operation = GetParam().make();
    const std::string ended = inAChild(
        [&operation]
        {
            const rlimit none = {3, 3};
            ::setrlimit(RLIMIT_NOFILE, &none);
            const Ending ending = attempt(operation, [] {});
            return ending.kind == Ending::E_FAILED ? "told" : "not told: " + ending.text;
        });
    EXPECT_EQ(ended, "told");
}

std::string nameOf(const testing::TestParamInfo<OperationCase>& info)
{
    return info.param.name;
}

INSTANTIATE_TEST_SUITE_P(Plain, DescriptorFaults, testing::ValuesIn(PLAIN_OPERATIONS), nameOf);
INSTANTIATE_TEST_SUITE_P(Tls, DescriptorFaults, testing::ValuesIn(TLS_OPERATIONS), nameOf);

} // namespace
