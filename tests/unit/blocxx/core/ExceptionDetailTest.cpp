#include "blocxx/Exception.hpp"

#include <gtest/gtest.h>

#include <cstring>

using blocxx::ExceptionDetail::FormatMsg;
using blocxx::ExceptionDetail::portable_strerror_r;

TEST(ExceptionDetail, FormatsMessageNumberAndSystemText)
{
    EXPECT_STREQ("stat: 13(Permission denied)", FormatMsg("stat", 13).get());
    EXPECT_STREQ("stat: 2(No such file or directory)", FormatMsg("stat", 2).get());
    EXPECT_STREQ(": 13(Permission denied)", FormatMsg("", 13).get());
    EXPECT_STREQ("S: 9999(Unknown error 9999)", FormatMsg("S", 9999).get());
    EXPECT_STREQ("S: -1(Unknown error -1)", FormatMsg("S", -1).get());
}

TEST(ExceptionDetail, ANullMessageCountsAsEmpty)
{
    EXPECT_STREQ(": 13(Permission denied)", FormatMsg(nullptr, 13).get());
}

TEST(ExceptionDetail, TheSystemsTextIsCutToTheBufferAndTerminated)
{
    char buffer[8];
    std::memset(buffer, 'x', sizeof buffer);
    portable_strerror_r(13, buffer, 5);
    EXPECT_STREQ("Perm", buffer);
    EXPECT_EQ('x', buffer[5]);
    portable_strerror_r(9999, buffer, 8);
    EXPECT_STREQ("Unknown", buffer);
    portable_strerror_r(13, buffer, 1);
    EXPECT_STREQ("", buffer);
    buffer[0] = 'y';
    portable_strerror_r(13, buffer, 0);
    EXPECT_EQ('y', buffer[0]);
}
