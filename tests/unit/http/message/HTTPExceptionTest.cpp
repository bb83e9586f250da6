#include "zol/http/HTTPException.hpp"

#include "support/NothrowNew.hpp"

#include <gtest/gtest.h>

#include <memory>
#include <sstream>
#include <type_traits>

using blocxx::Exception;
using ZOLNS2::HTTP::HTTPException;

static_assert(std::is_base_of_v<Exception, HTTPException>);
static_assert(sizeof(HTTPException) == sizeof(Exception), "it adds no data");

TEST(HTTPException, CarriesAllItIsGiven)
{
    const HTTPException inner("in.cpp", 3, "inner", 7, nullptr, -1);
    const HTTPException exception("f.cpp", 12, "msg", 404, &inner, -5);
    EXPECT_STREQ(exception.getFile(), "f.cpp");
    EXPECT_EQ(exception.getLine(), 12);
    EXPECT_STREQ(exception.getMessage(), "msg");
    EXPECT_STREQ(exception.what(), "msg");
    EXPECT_EQ(exception.getErrorCode(), 404);
    EXPECT_EQ(exception.getSubClassId(), -5);
    ASSERT_NE(exception.getSubException(), nullptr);
    EXPECT_STREQ(exception.getSubException()->getMessage(), "inner");
}

TEST(HTTPException, ReportsTheSubclassIdMinusOne)
{
    EXPECT_EQ(HTTPException("f.cpp", 1, "m", -1, nullptr, -1).getSubClassId(), -1);
}

TEST(HTTPException, NamesItsType)
{
    EXPECT_STREQ(HTTPException("f.cpp", 1, "m", -1, nullptr, -1).type(), "HTTPException");
}

TEST(HTTPException, ReadsWithFileLineTypeCodeAndMessage)
{
    std::ostringstream out;
    out << HTTPException("HTTPRequest", 4, "outer", 404, nullptr, -1);
    EXPECT_EQ(out.str(), "HTTPRequest: 4 HTTPException: 404: outer");
}

TEST(HTTPException, CloneIsACopyOfItsOwn)
{
    std::unique_ptr<Exception> clone;
    {
        const HTTPException exception("f.cpp", 12, "msg", 404, nullptr, -1);
        const Exception& base = exception;
        clone.reset(base.clone());
    }
    ASSERT_NE(dynamic_cast<HTTPException*>(clone.get()), nullptr);
    EXPECT_STREQ(clone->getFile(), "f.cpp");
    EXPECT_EQ(clone->getLine(), 12);
    EXPECT_STREQ(clone->getMessage(), "msg");
    EXPECT_EQ(clone->getErrorCode(), 404);
}

TEST(HTTPException, CloneIsNullWhenMemoryIsExhausted)
{
    const HTTPException exception("f.cpp", 12, "msg", 404, nullptr, -1);
    const zol_test::FailingNothrowNew exhausted;
    EXPECT_EQ(exception.clone(), nullptr);
}

TEST(HTTPException, RethrowOfACloneThrowsTheExactType)
{
    std::unique_ptr<Exception> clone(HTTPException("f.cpp", 12, "msg", 404, nullptr, -1).clone());
    try
    {
        clone->rethrow();
        FAIL() << "nothing thrown";
    }
    catch (const HTTPException& caught)
    {
        EXPECT_EQ(typeid(caught), typeid(HTTPException));
        EXPECT_STREQ(caught.getMessage(), "msg");
        EXPECT_STREQ(caught.getFile(), "f.cpp");
        EXPECT_EQ(caught.getLine(), 12);
        EXPECT_EQ(caught.getErrorCode(), 404);
    }
}
