// Appenders that come and go while all threads log.

#include "InAllThreads.hpp"
#include "support/TemporaryDirectory.hpp"

#include "blocxx/FileAppender.hpp"
#include "blocxx/LogAppender.hpp"
#include "blocxx/LogMessage.hpp"
#include "blocxx/Logger.hpp"
#include "blocxx/NullAppender.hpp"

#include <gmock/gmock.h>

#include <atomic>
#include <string>

namespace
{

using blocxx::LogAppender;
using blocxx::LogAppenderRef;
using concurrency_test::inAllThreads;
using testing::IsEmpty;

constexpr int THREADS = 16;
constexpr int ROUNDS = 500;

/// Counts the records that reach it.
class CountingAppender : public LogAppender
{
public:
    explicit CountingAppender(std::atomic<int>& records)
        : LogAppender(ALL_COMPONENTS, ALL_CATEGORIES, "%m"), m_records(records)
    {
    }

private:
    void doProcessLogMessage(const blocxx::String& text, const blocxx::LogMessage&) const override
    {
        m_records += text == "a record" ? 1 : 0;
    }

    std::atomic<int>& m_records;
};

} // namespace

TEST(LoggingThreads, ExchangeTheDefaultAppenderWhileOthersLog)
{
    const zol_test::TemporaryDirectory folder;
    const LogAppenderRef former = LogAppender::getDefaultLogAppender();
    std::atomic<int> records{0};
    const auto problems =
        inAllThreads(THREADS,
                     [&](int thread)
                     {
                         const blocxx::Logger logger(blocxx::String("a component"));
                         for (int round = 0; round < ROUNDS; ++round)
                         {
                             if (thread % 4 == 0)
                             {
                                 LogAppender::setDefaultLogAppender(LogAppenderRef(new CountingAppender(records)));
                             }
                             else if (thread % 4 == 1)
                             {
                                 LogAppender::setDefaultLogAppender(LogAppenderRef());
                             }
                             BLOCXX_LOG_ERROR(logger, "a record");
                         }
                     });
    LogAppender::setDefaultLogAppender(former);
    EXPECT_THAT(problems, IsEmpty());
    EXPECT_LE(records, THREADS * ROUNDS);
}

TEST(LoggingThreads, EachHearTheirOwnAppenderOnly)
{
    const auto problems =
        inAllThreads(THREADS,
                     [&](int)
                     {
                         std::atomic<int> records{0};
                         const blocxx::LogAppenderScope scope(LogAppenderRef(new CountingAppender(records)));
                         const blocxx::Logger logger(blocxx::String("a component"));
                         for (int round = 0; round < ROUNDS; ++round)
                         {
                             BLOCXX_LOG_ERROR(logger, "a record");
                         }
                         EXPECT_EQ(records, ROUNDS);
                     });
    EXPECT_THAT(problems, IsEmpty());
}
