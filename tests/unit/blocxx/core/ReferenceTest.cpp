#include "blocxx/Reference.hpp"

#include "blocxx/NULLReferenceException.hpp"

#include <gtest/gtest.h>

#include <type_traits>
#include <utility>

using blocxx::NULLReferenceException;
using blocxx::Reference;

namespace
{

struct Base
{
    explicit Base(int number) : value(number) { ++alive; }
    Base(const Base&) = delete;
    Base& operator=(const Base&) = delete;
    virtual ~Base() { --alive; }

    int value;
    static inline int alive = 0;
};

struct Derived : Base
{
    using Base::Base;
};

} // namespace

TEST(Reference, IsNullFromTheStart)
{
    const Reference<Base> reference;
    EXPECT_FALSE(reference);
    EXPECT_TRUE(!reference);
    EXPECT_TRUE(reference == 0); // NOLINT(modernize-use-nullptr): it is one
    EXPECT_EQ(nullptr, reference.getPtr());
    EXPECT_FALSE(Reference<Base>(nullptr));
}

TEST(Reference, DereferencingNullThrows)
{
    const Reference<Base> reference;
    EXPECT_THROW((void)reference->value, NULLReferenceException);
    EXPECT_THROW((void)*reference, NULLReferenceException);
}

TEST(Reference, TheLastShareDeletesTheObject)
{
    Reference<Base> first(new Derived(1));
    {
        Reference<Base> second(first);
        EXPECT_TRUE(first == second);
        EXPECT_EQ(1, (*second).value);
        second = new Base(2);
        EXPECT_TRUE(first != second);
        EXPECT_EQ(2, Base::alive);
    }
    EXPECT_EQ(1, Base::alive);
    first = nullptr;
    EXPECT_EQ(0, Base::alive);
}

TEST(Reference, ConvertsToBases)
{
    const Reference<Derived> derived(new Derived(3));
    const Reference<Base> base(derived);
    EXPECT_TRUE(base == derived);
    EXPECT_EQ(3, base->value);
}

TEST(Reference, SwapsItsObjects)
{
    Reference<Base> left(new Base(1));
    Reference<Base> right;
    left.swap(right);
    EXPECT_FALSE(left);
    EXPECT_EQ(1, right->value);
}

TEST(Reference, IsNotANumber)
{
    EXPECT_FALSE((std::is_convertible_v<Reference<Base>, int>));
    EXPECT_FALSE((std::is_convertible_v<Base*, Reference<Base>>));
}
