#include "blocxx/Array.hpp"
#include "blocxx/Exception.hpp"
#include "blocxx/Format.hpp"
#include "blocxx/IOException.hpp"
#include "blocxx/NULLReferenceException.hpp"
#include "blocxx/String.hpp"

#include <gtest/gtest.h>

#include <cerrno>

using blocxx::Exception;
using blocxx::Format;
using blocxx::IOException;
using blocxx::String;

namespace
{

BLOCXX_DECLARE_EXCEPTION(Plain)
BLOCXX_DEFINE_EXCEPTION(Plain)

BLOCXX_DECLARE_EXCEPTION(SSL)
BLOCXX_DEFINE_EXCEPTION_WITH_ID(SSL)

BLOCXX_DECLARE_EXCEPTION2(Inheriting, SSLException)
BLOCXX_DEFINE_EXCEPTION2(Inheriting, SSLException)

BLOCXX_DECLARE_EXCEPTION2(Socket, PlainException)
BLOCXX_DEFINE_EXCEPTION_WITH_BASE_AND_ID(Socket, PlainException)

BLOCXX_DECLARE_APIEXCEPTION2(Numbered, PlainException, BLOCXX_COMMON_API)
BLOCXX_DEFINE_EXCEPTION_WITH_BASE_AND_ID_AUX(Numbered, PlainException, 40 + 2)

/// A description of what `action` throws.
template <class Thrown, class Action>
Thrown caught(Action action)
{
    try
    {
        action();
    }
    catch (const Thrown& exception)
    {
        return exception;
    }
    ADD_FAILURE() << "nothing was thrown";
    return Thrown("", 0, "");
}

} // namespace

TEST(ExceptionMacros, AClassIsNamedAfterItsStem)
{
    EXPECT_STREQ("PlainException", PlainException("f", 1, "m").type());
    EXPECT_STREQ("NumberedException", NumberedException("f", 1, "m").type());
    EXPECT_STREQ("IOException", IOException("f", 1, "m").type());
}

TEST(ExceptionMacros, TheSubclassIdIsThatOfTheClassOrOfTheThrower)
{
    EXPECT_EQ(-1, PlainException("f", 1, "m").getSubClassId());
    EXPECT_EQ(9, PlainException("f", 1, "m", 0, nullptr, 9).getSubClassId());
    EXPECT_EQ(-51, SSLException("f", 1, "m").getSubClassId());
    EXPECT_EQ(9, SSLException("f", 1, "m", 0, nullptr, 9).getSubClassId());
    EXPECT_EQ(-11, SocketException("f", 1, "m").getSubClassId());
    EXPECT_EQ(42, NumberedException("f", 1, "m").getSubClassId());
    EXPECT_EQ(9, NumberedException("f", 1, "m", 0, nullptr, 9).getSubClassId());
}

TEST(ExceptionMacros, AnIdOfTheBaseShowsThroughADerivedClassWithoutOne)
{
    EXPECT_EQ(-51, InheritingException("f", 1, "m").getSubClassId());
}

TEST(ExceptionMacros, TheLibrarysClassesHaveTheirIds)
{
    EXPECT_EQ(-22, IOException("f", 1, "m").getSubClassId());
    EXPECT_EQ(-31, blocxx::OutOfBoundsException("f", 1, "m").getSubClassId());
    EXPECT_EQ(-34, blocxx::NULLReferenceException("f", 1, "m").getSubClassId());
    EXPECT_EQ(-37, blocxx::StringConversionException("f", 1, "m").getSubClassId());
    EXPECT_STREQ("OutOfBoundsException", blocxx::OutOfBoundsException("f", 1, "m").type());
    EXPECT_STREQ("StringConversionException", blocxx::StringConversionException("f", 1, "m").type());
}

TEST(ExceptionMacros, DerivedClassesAreCaughtAsTheirBases)
{
    EXPECT_THROW(throw SocketException("f", 1, "m"), PlainException);
    EXPECT_THROW(throw SocketException("f", 1, "m"), Exception);
    EXPECT_THROW(throw SocketException("f", 1, "m"), std::exception);
}

TEST(ExceptionMacros, ThrowRecordsFileAndLine)
{
    const int line = __LINE__ + 1;
    const auto exception = caught<PlainException>([] { BLOCXX_THROW(PlainException, "m"); });
    EXPECT_STREQ(__FILE__, exception.getFile());
    EXPECT_EQ(line, exception.getLine());
    EXPECT_STREQ("m", exception.getMessage());
    EXPECT_EQ(-1, exception.getErrorCode());
}

TEST(ExceptionMacros, ThrowTakesACodeAndASubException)
{
    const IOException cause("in.cpp", 3, "inner");
    EXPECT_EQ(5, caught<PlainException>([] { BLOCXX_THROW_ERR(PlainException, "m", 5); }).getErrorCode());
    const auto withCause = caught<PlainException>([&] { BLOCXX_THROW_SUBEX(PlainException, "m", cause); });
    EXPECT_EQ(-1, withCause.getErrorCode());
    EXPECT_STREQ("inner", withCause.getSubException()->getMessage());
    const auto withBoth = caught<PlainException>([&] { BLOCXX_THROW_ERR_SUBEX(PlainException, "m", 6, cause); });
    EXPECT_EQ(6, withBoth.getErrorCode());
    EXPECT_STREQ("inner", withBoth.getSubException()->getMessage());
}

TEST(ExceptionMacros, ThrowErrnoTakesTheSystemsText)
{
    const auto exception = caught<IOException>(
        []
        {
            errno = EACCES;
            BLOCXX_THROW_ERRNO(IOException);
        });
    EXPECT_STREQ("Permission denied", exception.getMessage());
    EXPECT_EQ(EACCES, exception.getErrorCode());
    EXPECT_EQ(-22, exception.getSubClassId());
    const auto none = caught<IOException>([] { BLOCXX_THROW_ERRNO1(IOException, 0); });
    EXPECT_STREQ("Success", none.getMessage());
    EXPECT_EQ(0, none.getErrorCode());
}

TEST(ExceptionMacros, ThrowErrnoMsgTakesTextsAndAnythingWithCStr)
{
    char text[] = "open";
    EXPECT_STREQ("open: 13(Permission denied)",
                 caught<IOException>([&] { BLOCXX_THROW_ERRNO_MSG1(IOException, text, 13); }).getMessage());
    EXPECT_STREQ("stat: 2(No such file or directory)",
                 caught<IOException>([] { BLOCXX_THROW_ERRNO_MSG1(IOException, "stat", 2); }).getMessage());
    EXPECT_STREQ(
        "a b: 2(No such file or directory)",
        caught<IOException>([] { BLOCXX_THROW_ERRNO_MSG1(IOException, Format("a %1", "b"), 2); }).getMessage());
    EXPECT_STREQ("s: 2(No such file or directory)",
                 caught<IOException>([] { BLOCXX_THROW_ERRNO_MSG1(IOException, String("s"), 2); }).getMessage());
}

TEST(ExceptionMacros, ThrowErrnoMsgReadsErrnoBeforeTheMessageIsBuilt)
{
    const auto messageThatSetsErrno = []
    {
        errno = EINVAL;
        return String("m");
    };
    const auto exception = caught<IOException>(
        [&]
        {
            errno = EACCES;
            BLOCXX_THROW_ERRNO_MSG(IOException, messageThatSetsErrno());
        });
    EXPECT_EQ(EACCES, exception.getErrorCode());
    EXPECT_STREQ("m: 13(Permission denied)", exception.getMessage());
}
