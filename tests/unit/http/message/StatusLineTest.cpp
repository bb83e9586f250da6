#include "zol/http/StatusLine.hpp"

#include <gtest/gtest.h>

using namespace ZOLNS2::HTTP;

TEST(StatusLine, KeepsTheThreeValues)
{
    const StatusLine line(HTTP_1_0, 404, "Not Found");
    EXPECT_EQ(line.version, HTTP_1_0);
    EXPECT_EQ(line.statusCode, 404);
    EXPECT_EQ(line.reasonPhrase, "Not Found");
}

TEST(StatusLine, ReadsAsReceived)
{
    EXPECT_EQ(StatusLine(HTTP_1_1, 404, "Not Found").toString(), "HTTP/1.1 404 Not Found");
    EXPECT_EQ(StatusLine(HTTP_1_0, 200, "OK").toString(), "HTTP/1.0 200 OK");
}

TEST(StatusLine, WithoutReasonTheTextEndsInABlank)
{
    EXPECT_EQ(StatusLine(HTTP_1_1, 204, "").toString(), "HTTP/1.1 204 ");
}

TEST(StatusLine, CodeIsPrintedInDecimalWithoutPadding)
{
    EXPECT_EQ(StatusLine(HTTP_1_1, 7, "x").toString(), "HTTP/1.1 7 x");
    EXPECT_EQ(StatusLine(HTTP_1_1, 65535, "x").toString(), "HTTP/1.1 65535 x");
}

TEST(StatusLine, AnyVersionButZeroReadsAsOneDotOne)
{
    EXPECT_EQ(StatusLine(static_cast<Version>(3), 200, "OK").toString(), "HTTP/1.1 200 OK");
}

TEST(StatusLine, DefaultOneIsUsableOnceAssigned)
{
    StatusLine line;
    EXPECT_TRUE(line.reasonPhrase.empty());
    line.version = HTTP_1_1;
    line.statusCode = 200;
    line.reasonPhrase = "OK";
    EXPECT_EQ(line.toString(), "HTTP/1.1 200 OK");
    line = StatusLine(HTTP_1_0, 500, "Oops");
    EXPECT_EQ(line.toString(), "HTTP/1.0 500 Oops");
}
