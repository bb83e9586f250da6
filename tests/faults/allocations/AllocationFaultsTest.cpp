#include "allocations/FailingAllocations.hpp"
#include "allocations/KeptBlocks.hpp"
#include "allocations/KnownLeaks.hpp"
#include "common/Operations.hpp"
#include "common/Sample.hpp"
#include "common/Watchdog.hpp"
#include "support/Process.hpp"

#include <gtest/gtest.h>
#include <openssl/err.h>

#include <iostream>
#include <numeric>

namespace
{

using namespace zol_faults;

const std::size_t MOST_TRIED = 300;

Ending attemptFailing(const Operation& operation, std::size_t point, EFailing failing)
{
    failAllocations(point, failing);
    return attempt(operation, stopFailing);
}

/// What the attempt leaves allocated behind it.
long growthBy(const Operation& operation, std::size_t point, EFailing failing)
{
    const long before = keptAllocations();
    attemptFailing(operation, point, failing);
    ERR_clear_error();
    return keptAllocations() - before;
}

/// What grows a few times may be kept for later; what grows again and again is lost. The C library starts up to 20 threads
/// for look-ups, one whenever none of them has come to rest yet, and keeps memory of each.
bool leaks(const Operation& operation, std::size_t point, EFailing failing)
{
    const int mostKept = 24;
    for (int i = 0; i < mostKept; ++i)
    {
        if (growthBy(operation, point, failing) <= 0)
        {
            return false;
        }
    }
    return true;
}

std::string tracedLeak(const Operation& operation, std::size_t point, EFailing failing)
{
    KeptBlocks::begin();
    attemptFailing(operation, point, failing);
    ERR_clear_error();
    return unknownLeaks(KeptBlocks::end());
}

AllocationCounts countsOf(const Operation& operation)
{
    // What is made once is made then.
    attempt(operation, [] {});
    attempt(operation, [] {});
    const Ending ending = attemptFailing(operation, 0, E_ONE);
    expectUsual(operation, ending);
    return allocationCounts();
}

class AllocationFaults : public testing::TestWithParam<OperationCase>
{
protected:
    void failEach(EFailing failing)
    {
        const Operation operation = GetParam().make();
        Watchdog watchdog(GetParam().name);
        watchdog.watch(0, "without a fault");
        const AllocationCounts counts = countsOf(operation);
        const std::vector<std::size_t> points =
            sampleOf(std::accumulate(counts.begin(), counts.end(), std::size_t{0}), MOST_TRIED);
        const std::size_t descriptors = zol_test::openDescriptors();
        for (const std::size_t point : points)
        {
            watchdog.watch(point, "allocations");
            tryPoint(operation, point, failing);
            ASSERT_EQ(zol_test::openDescriptors(), descriptors) << "after point " << point;
        }
        report(counts, points.size());
        expectUsual(operation, attempt(operation, [] {}));
    }

private:
    void tryPoint(const Operation& operation, std::size_t point, EFailing failing)
    {
        const long before = keptAllocations();
        {
            const Ending ending = attemptFailing(operation, point, failing);
            EXPECT_NE(ending.kind, Ending::E_WRONG) << "point " << point << ": " << ending.text;
            m_whole += ending.kind == Ending::E_WHOLE ? 1 : 0;
        }
        ERR_clear_error();
        if (keptAllocations() > before && leaks(operation, point, failing))
        {
            EXPECT_EQ(tracedLeak(operation, point, failing), "") << "point " << point;
        }
    }

    void report(const AllocationCounts& counts, std::size_t tried) const
    {
        RecordProperty("points_operator_new", static_cast<int>(counts[E_OPERATOR_NEW]));
        RecordProperty("points_openssl", static_cast<int>(counts[E_OPENSSL]));
        RecordProperty("points_c_library", static_cast<int>(counts[E_C_LIBRARY]));
        RecordProperty("points_tried", static_cast<int>(tried));
        std::cout << "points: " << counts[E_OPERATOR_NEW] << " of operator new, " << counts[E_OPENSSL]
                  << " of OpenSSL, " << counts[E_C_LIBRARY] << " of the C library; " << tried << " tried, " << m_whole
                  << " with the whole result all the same\n";
    }

    std::size_t m_whole = 0;
};

TEST_P(AllocationFaults, EachAloneIsSurvived)
{
    failEach(E_ONE);
}

TEST_P(AllocationFaults, EachWithAllThatFollowIsSurvived)
{
    failEach(E_ALL_THAT_FOLLOW);
}

std::string nameOf(const testing::TestParamInfo<OperationCase>& info)
{
    return info.param.name;
}

INSTANTIATE_TEST_SUITE_P(Plain, AllocationFaults, testing::ValuesIn(PLAIN_OPERATIONS), nameOf);
INSTANTIATE_TEST_SUITE_P(Tls, AllocationFaults, testing::ValuesIn(TLS_OPERATIONS), nameOf);
INSTANTIATE_TEST_SUITE_P(Local, AllocationFaults, testing::ValuesIn(LOCAL_OPERATIONS), nameOf);

// Whatever fails, its certificate is refused.
class ImpostorAllocationFaults : public AllocationFaults
{
};

TEST_P(ImpostorAllocationFaults, EachAloneLeavesItRefused)
{
    failEach(E_ONE);
}

TEST_P(ImpostorAllocationFaults, EachWithAllThatFollowLeavesItRefused)
{
    failEach(E_ALL_THAT_FOLLOW);
}

INSTANTIATE_TEST_SUITE_P(Tls, ImpostorAllocationFaults, testing::ValuesIn(IMPOSTOR_OPERATIONS), nameOf);

} // namespace
