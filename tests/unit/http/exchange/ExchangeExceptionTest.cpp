#include "zol/http/ExchangeException.hpp"

#include <gtest/gtest.h>

#include <cerrno>
#include <memory>

using ZOLNS2::HTTP::ExchangeException;

TEST(ExchangeException, RethrowOfACloneThrowsAllOfIt)
{
    ExchangeException original("f.cpp", 12, ExchangeException::E_HEAD, ExchangeException::E_RESET, "msg", ECONNRESET,
                               503);
    original.setSafeToRepeat();
    const std::unique_ptr<blocxx::Exception> clone(original.clone());
    try
    {
        clone->rethrow();
        FAIL() << "nothing thrown";
    }
    catch (const ExchangeException& caught)
    {
        EXPECT_EQ(typeid(caught), typeid(ExchangeException));
        EXPECT_STREQ(caught.getMessage(), "msg");
        EXPECT_STREQ(caught.getFile(), "f.cpp");
        EXPECT_EQ(caught.getLine(), 12);
        EXPECT_EQ(caught.phase(), ExchangeException::E_HEAD);
        EXPECT_EQ(caught.cause(), ExchangeException::E_RESET);
        EXPECT_EQ(caught.systemError(), ECONNRESET);
        EXPECT_EQ(caught.getErrorCode(), ECONNRESET);
        EXPECT_EQ(caught.status(), 503);
        EXPECT_TRUE(caught.isSafeToRepeat());
    }
}
