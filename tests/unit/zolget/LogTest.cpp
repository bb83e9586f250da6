#include "Log.hpp"

#include "blocxx/LogAppender.hpp"
#include "blocxx/Logger.hpp"
#include "blocxx/NullAppender.hpp"

#include <gtest/gtest.h>

#include <iostream>
#include <sstream>
#include <string>

namespace
{

/// What appears on standard error with this verbosity.
std::string shownWith(int verbosity)
{
    std::ostringstream shown;
    std::streambuf* const standardError = std::cerr.rdbuf(shown.rdbuf());
    zolget::startLog(verbosity);
    {
        const blocxx::Logger logger("test.component");
        BLOCXX_LOG_ERROR(logger, "error \x1b[2J\xc2\x9b\x9b\r");
        BLOCXX_LOG_DEBUG2(logger, "middle");
        BLOCXX_LOG_DEBUG3(logger, "detail");
    }
    blocxx::LogAppender::setDefaultLogAppender(blocxx::LogAppenderRef(new blocxx::NullAppender));
    std::cerr.rdbuf(standardError);
    return shown.str();
}

const std::string ERROR_LINE = "ERROR test.component: error \\x1b[2J\\xc2\\x9b\\x9b\\x0d\n";
const std::string MIDDLE_LINE = "DEBUG2 test.component: middle\n";
const std::string DETAIL_LINE = "DEBUG3 test.component: detail\n";

} // namespace

TEST(Log, IsSilentUnlessAskedForTwice)
{
    EXPECT_EQ(shownWith(0), "");
    EXPECT_EQ(shownWith(1), "");
}

TEST(Log, ShowsMoreTheOftenerItIsAskedForAndNothingUnescaped)
{
    EXPECT_EQ(shownWith(2), ERROR_LINE + MIDDLE_LINE);
    EXPECT_EQ(shownWith(3), ERROR_LINE + MIDDLE_LINE + DETAIL_LINE);
}
