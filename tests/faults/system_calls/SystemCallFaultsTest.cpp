#include "common/Operations.hpp"
#include "common/Sample.hpp"
#include "common/Servers.hpp"
#include "common/Watchdog.hpp"
#include "support/Process.hpp"
#include "system_calls/FailingCalls.hpp"

#include <gtest/gtest.h>

#include <cstring>
#include <iostream>
#include <string>

namespace
{

using namespace zol_faults;

const std::size_t MOST_TRIED_OF_A_KIND = 12;

std::string textOf(const Fault& fault)
{
    const std::string what = fault.error == Fault::ONE_BYTE ? "one byte" : ::strerror(fault.error);
    return (fault.number == Fault::EVERY_CALL ? "every " : std::to_string(fault.number) + ". ") + nameOf(fault.call) +
           ": " + what;
}

class SystemCallFaults : public testing::TestWithParam<OperationCase>
{
protected:
    SystemCallFaults() : m_operation(GetParam().make()), m_watchdog(GetParam().name)
    {
        m_watchdog.watch(0, "without a fault");
        attempt(m_operation, [] {});
        expectUsual(m_operation, attemptWith(Fault()));
        m_calls = callsMade();
        m_descriptors = zol_test::openDescriptors();
    }

    Ending attemptWith(const Fault& fault) const
    {
        failCalls(fault);
        return attempt(m_operation, stopFailingCalls);
    }

    void tryOut(const Fault& fault)
    {
        const std::string text = textOf(fault);
        m_watchdog.watch(fault.number, nameOf(fault.call));
        const Ending ending = attemptWith(fault);
        EXPECT_NE(ending.kind, Ending::E_WRONG) << text << ": " << ending.text;
        if (isTransient(fault.call, fault.error) && m_operation.expected)
        {
            EXPECT_EQ(ending.kind, Ending::E_WHOLE) << text << ": " << ending.text;
        }
        EXPECT_EQ(closedInVain(), 0U) << text;
        ASSERT_EQ(zol_test::openDescriptors(), m_descriptors) << text;
        ++m_tried;
    }

    void report()
    {
        std::size_t total = 0;
        std::cout << "calls:";
        for (std::size_t call = 0; call < CALLS; ++call)
        {
            total += m_calls[call];
            if (m_calls[call] != 0)
            {
                std::cout << ' ' << m_calls[call] << ' ' << nameOf(static_cast<ECall>(call));
            }
        }
        std::cout << "; " << m_tried << " faults tried\n";
        RecordProperty("calls", static_cast<int>(total));
        RecordProperty("faults_tried", static_cast<int>(m_tried));
    }

    std::size_t callsOf(ECall call) const { return m_calls[call]; }

private:
    const Operation m_operation;
    Watchdog m_watchdog;
    std::array<std::size_t, CALLS> m_calls{};
    std::size_t m_descriptors = 0;
    std::size_t m_tried = 0;
};

TEST_P(SystemCallFaults, EachIsSurvived)
{
    for (std::size_t i = 0; i < CALLS; ++i)
    {
        const auto call = static_cast<ECall>(i);
        for (const std::size_t number : sampleOf(callsOf(call), MOST_TRIED_OF_A_KIND))
        {
            for (const int error : faultsOf(call))
            {
                tryOut({call, number, error});
            }
        }
    }
    report();
}

TEST_P(SystemCallFaults, EveryTransferOfOneByteAndEveryOtherCallInterruptedChangesNothing)
{
    for (std::size_t i = 0; i < CALLS; ++i)
    {
        for (const int error : faultsOf(static_cast<ECall>(i)))
        {
            if (isTransient(static_cast<ECall>(i), error))
            {
                tryOut({static_cast<ECall>(i), Fault::EVERY_CALL, error});
            }
        }
    }
    report();
}

std::string nameOfCase(const testing::TestParamInfo<OperationCase>& info)
{
    return info.param.name;
}

INSTANTIATE_TEST_SUITE_P(Plain, SystemCallFaults, testing::ValuesIn(PLAIN_OPERATIONS), nameOfCase);
INSTANTIATE_TEST_SUITE_P(Tls, SystemCallFaults, testing::ValuesIn(TLS_OPERATIONS), nameOfCase);
INSTANTIATE_TEST_SUITE_P(Impostor, SystemCallFaults, testing::ValuesIn(IMPOSTOR_OPERATIONS), nameOfCase);
INSTANTIATE_TEST_SUITE_P(Local, SystemCallFaults, testing::ValuesIn(LOCAL_OPERATIONS), nameOfCase);

} // namespace
