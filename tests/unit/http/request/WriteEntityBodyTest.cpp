#include "request/WriteEntityBody.hpp"

#include <gtest/gtest.h>

#include <sstream>

using namespace ZOLNS2::HTTP;

namespace
{

void expectRefusal(std::ios_base::iostate state)
{
    std::istringstream body("body");
    body.setstate(state);
    std::ostringstream out;
    out << "head";
    try
    {
        writeEntityBody(out, body);
        FAIL() << "not refused";
    }
    catch (const HTTPException& exception)
    {
        EXPECT_STREQ(exception.getMessage(), "Cannot copy request payload: stream was initially bad");
        EXPECT_STREQ(exception.getFile(), "HTTPRequest");
        EXPECT_GT(exception.getLine(), 0);
        EXPECT_EQ(exception.getErrorCode(), -1);
        EXPECT_EQ(exception.getSubClassId(), -1);
        EXPECT_EQ(exception.getSubException(), nullptr);
    }
    EXPECT_EQ(out.str(), "head");
    EXPECT_TRUE(out.good());
}

} // namespace

TEST(WriteEntityBody, BadStreamIsRefused)
{
    expectRefusal(std::ios_base::badbit);
}

TEST(WriteEntityBody, FailedStreamIsRefused)
{
    expectRefusal(std::ios_base::failbit);
}

TEST(WriteEntityBody, EndOfFileAloneIsNoReasonToRefuse)
{
    std::istringstream body("body");
    body.setstate(std::ios_base::eofbit);
    std::ostringstream out;
    writeEntityBody(out, body);
    EXPECT_EQ(out.str(), "body");
    EXPECT_TRUE(out.good());
}

TEST(WriteEntityBody, EmptyBodyLeavesFailbit)
{
    std::istringstream body("");
    std::ostringstream out;
    writeEntityBody(out, body);
    EXPECT_TRUE(out.fail());
    EXPECT_FALSE(out.bad());
}
