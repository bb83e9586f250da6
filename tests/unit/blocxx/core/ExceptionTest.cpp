#include "blocxx/Exception.hpp"

#include "support/GroupingLocale.hpp"
#include "support/NothrowNew.hpp"

#include "blocxx/Array.hpp"
#include "blocxx/Format.hpp"
#include "blocxx/IOException.hpp"
#include "blocxx/NULLReferenceException.hpp"
#include "blocxx/ReferenceHelpers.hpp"
#include "blocxx/String.hpp"

#include <gtest/gtest.h>

#include <memory>
#include <sstream>
#include <type_traits>

using blocxx::Exception;
using blocxx::IOException;

namespace
{

BLOCXX_DECLARE_EXCEPTION(HTTP)
BLOCXX_DEFINE_EXCEPTION(HTTP)

/// Not made by the macros, and overrides next to nothing.
class Careless : public Exception
{
public:
    explicit Careless(const char* message) : Exception("careless.cpp", 1, message, 2) {}
};

/// Cannot be copied onto the heap.
class Uncloneable : public Careless
{
public:
    using Careless::Careless;
    Exception* clone() const override { throw 5; }
};

std::string textOf(const Exception& exception)
{
    std::ostringstream out;
    out << exception;
    return out.str();
}

} // namespace

TEST(Exception, ReturnsWhatItWasMadeOf)
{
    const HTTPException exception("f.cpp", 12, "msg", 404);
    EXPECT_STREQ("HTTPException", exception.type());
    EXPECT_STREQ("msg", exception.getMessage());
    EXPECT_STREQ("msg", exception.what());
    EXPECT_STREQ("f.cpp", exception.getFile());
    EXPECT_EQ(12, exception.getLine());
    EXPECT_EQ(404, exception.getErrorCode());
    EXPECT_EQ(-1, exception.getSubClassId());
    EXPECT_EQ(nullptr, exception.getSubException());
}

TEST(Exception, NullTextsReadAsEmpty)
{
    const HTTPException exception(nullptr, 0, nullptr);
    EXPECT_STREQ("", exception.getFile());
    EXPECT_STREQ("", exception.getMessage());
    EXPECT_STREQ("", exception.what());
    EXPECT_EQ(-1, exception.getErrorCode());
}

TEST(Exception, CopiesItsTexts)
{
    char text[] = "text";
    const HTTPException exception(text, 1, text);
    text[0] = 'X';
    EXPECT_STREQ("text", exception.getFile());
    EXPECT_STREQ("text", exception.getMessage());
}

TEST(Exception, CopyingNeverThrows)
{
    EXPECT_TRUE(std::is_nothrow_copy_constructible_v<HTTPException>);
    EXPECT_TRUE(std::is_nothrow_copy_assignable_v<HTTPException>);
    EXPECT_TRUE(std::is_nothrow_destructible_v<HTTPException>);
}

TEST(Exception, CannotBeMadeOfTheBase)
{
    EXPECT_FALSE((std::is_constructible_v<Exception, const char*, int, const char*, int>));
    EXPECT_FALSE(std::is_copy_constructible_v<Exception>);
}

TEST(Exception, OwnsAClonedSubException)
{
    auto inner = std::make_unique<IOException>("in.cpp", 3, "inner", 7);
    const HTTPException outer("out.cpp", 4, "outer", -1, inner.get());
    EXPECT_NE(inner.get(), outer.getSubException());
    inner.reset();
    ASSERT_NE(nullptr, outer.getSubException());
    EXPECT_STREQ("IOException", outer.getSubException()->type());
    EXPECT_EQ(7, outer.getSubException()->getErrorCode());
}

TEST(Exception, CopiesAreDeep)
{
    const IOException inner("in.cpp", 3, "inner", 7);
    const HTTPException original("out.cpp", 4, "outer", 5, &inner, 6);
    const HTTPException copy(original); // NOLINT(performance-unnecessary-copy-initialization)
    EXPECT_EQ(textOf(original), textOf(copy));
    EXPECT_EQ(6, copy.getSubClassId());
    EXPECT_NE(original.getSubException(), copy.getSubException());
    HTTPException assigned("x", 1, "y");
    assigned = original;
    EXPECT_EQ(textOf(original), textOf(assigned));
    EXPECT_EQ(6, assigned.getSubClassId());
    assigned = HTTPException("x", 1, "y");
    EXPECT_EQ("x: 1 HTTPException: y", textOf(assigned));
}

TEST(Exception, ASubExceptionThatCannotBeClonedIsAbsent)
{
    const Uncloneable inner("inner");
    const HTTPException outer("f", 1, "m", -1, &inner);
    EXPECT_EQ(nullptr, outer.getSubException());
    EXPECT_EQ("f: 1 HTTPException: m", textOf(outer));
}

TEST(Exception, WhatMemoryDoesNotSufficeForIsAbsent)
{
    const IOException inner("in.cpp", 3, "inner");
    const HTTPException original("f", 1, "m", 5, &inner);
    const zol_test::FailingNothrowNew exhausted;
    const HTTPException copy(original); // NOLINT(performance-unnecessary-copy-initialization)
    EXPECT_STREQ("", copy.getFile());
    EXPECT_STREQ("", copy.getMessage());
    EXPECT_EQ(nullptr, copy.getSubException());
    EXPECT_EQ(1, copy.getLine());
    EXPECT_EQ(5, copy.getErrorCode());
    EXPECT_EQ(nullptr, original.clone());
    EXPECT_EQ(nullptr, Exception::dupString("abc"));
}

TEST(Exception, ClonesWithItsOwnType)
{
    const HTTPException original("f", 1, "m", 5);
    const Exception& base = original;
    const std::unique_ptr<Exception> clone(base.clone());
    EXPECT_NE(nullptr, dynamic_cast<HTTPException*>(clone.get()));
    EXPECT_EQ(textOf(original), textOf(*clone));
}

TEST(Exception, RethrowsWithItsOwnType)
{
    const HTTPException original("f", 1, "m", 5);
    const Exception& base = original;
    EXPECT_THROW(base.rethrow(), HTTPException);
}

TEST(Exception, ADerivedClassThatForgetsToOverrideIsSlicedToItsBase)
{
    const Careless careless("oops");
    try
    {
        careless.rethrow();
        FAIL();
    }
    catch (const Careless&)
    {
        FAIL();
    }
    catch (const Exception& exception)
    {
        EXPECT_EQ("careless.cpp: 1 Exception: 2: oops", textOf(exception));
    }
    const std::unique_ptr<Exception> clone(careless.clone());
    EXPECT_EQ(nullptr, dynamic_cast<Careless*>(clone.get()));
}

TEST(Exception, TextFormNamesWhatIsThereAndWhatIsNot)
{
    EXPECT_EQ("f.cpp: 12 HTTPException: msg", textOf(HTTPException("f.cpp", 12, "msg")));
    EXPECT_EQ("f.cpp: [no line] HTTPException: 404: msg", textOf(HTTPException("f.cpp", 0, "msg", 404)));
    EXPECT_EQ("[no file]: [no line] HTTPException: [no message]", textOf(HTTPException(nullptr, 0, nullptr)));
    EXPECT_EQ("[no file]: 5 HTTPException: 0: [no message]", textOf(HTTPException("", 5, "", 0)));
    EXPECT_EQ("f: -3 HTTPException: -2: m", textOf(HTTPException("f", -3, "m", -2)));
}

TEST(Exception, TextFormHoldsTheSubExceptions)
{
    const IOException inner("in.cpp", 3, "inner", 7);
    const HTTPException outer("out.cpp", 4, "outer", -1, &inner);
    EXPECT_EQ("out.cpp: 4 HTTPException: outer <in.cpp: 3 IOException: 7: inner>", textOf(outer));
    const HTTPException top("oo.cpp", 5, "top", 1, &outer);
    EXPECT_EQ("oo.cpp: 5 HTTPException: 1: top <out.cpp: 4 HTTPException: outer <in.cpp: 3 IOException: 7: inner>>",
              textOf(top));
}

TEST(Exception, TextFormNeverShowsTheSubclassId)
{
    EXPECT_EQ("f: 1 HTTPException: m", textOf(HTTPException("f", 1, "m", -1, nullptr, 4711)));
}

TEST(Exception, TextFormFollowsTheStreamsFlags)
{
    const HTTPException exception("f", 12, "msg", 15);
    EXPECT_EQ("f: c HTTPException: f: msg", blocxx::Format("%<1:x>", exception).toString());
}

TEST(Exception, TextFormDoesNotFollowTheLocale)
{
    const zol_test::GroupingLocale grouping;
    std::ostringstream out;
    out << HTTPException("f.cpp", 1234567, "msg", 7654321) << ' ' << std::hex << HTTPException("f.cpp", 1234567, "m");
    EXPECT_EQ("f.cpp: 1234567 HTTPException: 7654321: msg f.cpp: 12d687 HTTPException: m", out.str());
}

template <class Action>
std::string fileOf(Action action)
{
    try
    {
        action();
    }
    catch (const Exception& exception)
    {
        return exception.getFile();
    }
    return "nothing was thrown";
}

TEST(Exception, ThoseOfTheLibraryNameAUnitAndNoPath)
{
    EXPECT_EQ("ReferenceHelpers", fileOf([] { blocxx::ReferenceHelpers::throwNULLException(); }));
    EXPECT_EQ("Array", fileOf([] { (void)blocxx::Array<int>()[0]; }));
    EXPECT_EQ("String", fileOf([] { (void)blocxx::String("x").toUInt16(); }));
}

TEST(Exception, DuplicatesTexts)
{
    const std::unique_ptr<char[]> copy(Exception::dupString("abc"));
    EXPECT_STREQ("abc", copy.get());
    EXPECT_EQ(nullptr, Exception::dupString(nullptr));
}
