#include "zol/mime/ContentException.hpp"

#include "support/NothrowNew.hpp"

#include <gtest/gtest.h>

#include <memory>
#include <type_traits>

using blocxx::Exception;
using ZOLNS2::MIME::ContentException;

static_assert(std::is_base_of_v<Exception, ContentException>);
static_assert(sizeof(ContentException) == sizeof(Exception), "it adds no data");

TEST(ContentException, CarriesAllItIsGiven)
{
    const ContentException inner("in.cpp", 3, "inner", 7, nullptr, -1);
    const ContentException exception("HTTPContent", 12, "msg", 2, &inner, -5);
    EXPECT_STREQ(exception.getFile(), "HTTPContent");
    EXPECT_EQ(exception.getLine(), 12);
    EXPECT_STREQ(exception.getMessage(), "msg");
    EXPECT_STREQ(exception.what(), "msg");
    EXPECT_EQ(exception.getErrorCode(), 2);
    EXPECT_EQ(exception.getSubClassId(), -5);
    ASSERT_NE(exception.getSubException(), nullptr);
    EXPECT_STREQ(exception.getSubException()->getMessage(), "inner");
}

TEST(ContentException, ReportsTheSubclassIdMinusOne)
{
    EXPECT_EQ(ContentException("f.cpp", 1, "m", -1, nullptr, -1).getSubClassId(), -1);
}

TEST(ContentException, NamesItsType)
{
    EXPECT_STREQ(ContentException("f.cpp", 1, "m", -1, nullptr, -1).type(), "ContentException");
}

TEST(ContentException, CloneIsNullWhenMemoryIsExhausted)
{
    const ContentException exception("f.cpp", 12, "msg", 2, nullptr, -1);
    const zol_test::FailingNothrowNew exhausted;
    EXPECT_EQ(exception.clone(), nullptr);
}

TEST(ContentException, RethrowOfACloneThrowsTheExactType)
{
    const std::unique_ptr<Exception> clone(ContentException("f.cpp", 12, "msg", 2, nullptr, -1).clone());
    try
    {
        clone->rethrow();
        FAIL() << "nothing thrown";
    }
    catch (const ContentException& caught)
    {
        EXPECT_EQ(typeid(caught), typeid(ContentException));
        EXPECT_STREQ(caught.getMessage(), "msg");
        EXPECT_STREQ(caught.getFile(), "f.cpp");
        EXPECT_EQ(caught.getLine(), 12);
        EXPECT_EQ(caught.getErrorCode(), 2);
    }
}
