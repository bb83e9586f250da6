#include "blocxx/IntrusiveReference.hpp"

#include "support/CancelledThread.hpp"

#include "blocxx/CommonFwd.hpp"
#include "blocxx/NULLReferenceException.hpp"

#include <gtest/gtest.h>

#include <atomic>
#include <sstream>
#include <thread>
#include <type_traits>
#include <utility>
#include <vector>

// A plain 0 is a null reference too.
// NOLINTBEGIN(modernize-use-nullptr)

using blocxx::IntrusiveCountableBase;
using blocxx::IntrusiveReference;
using blocxx::NULLReferenceException;

namespace
{

struct Base : virtual IntrusiveCountableBase
{
    explicit Base(int number = 0) : value(number) { ++alive; }
    Base(const Base& other) : IntrusiveCountableBase(other), value(other.value) { ++alive; }
    Base& operator=(const Base&) = default;
    ~Base() override { --alive; }

    int value;
    static inline std::atomic<int> alive{0};
};

struct Derived : Base
{
    using Base::Base;
};

struct Other : virtual IntrusiveCountableBase
{
};

/// Counted by functions of its own.
struct Foreign
{
    int references = 0;
};

void IntrusiveReferenceAddRef(Foreign* object)
{
    ++object->references;
}

void IntrusiveReferenceRelease(Foreign* object)
{
    --object->references;
}

using BaseRef = IntrusiveReference<Base>;
using DerivedRef = IntrusiveReference<Derived>;

BaseRef nothing()
{
    return 0;
}

bool isSet(const BaseRef& reference)
{
    return reference;
}

/// No object may be left when a test ends.
class IntrusiveReferenceTest : public testing::Test
{
protected:
    void TearDown() override { EXPECT_EQ(0, Base::alive); }
};

} // namespace

TEST_F(IntrusiveReferenceTest, IsOnePointerAndNullFromTheStart)
{
    EXPECT_EQ(sizeof(void*), sizeof(BaseRef));
    EXPECT_EQ(nullptr, BaseRef().getPtr());
    EXPECT_FALSE(isSet(nothing()));
}

TEST_F(IntrusiveReferenceTest, DereferencingNullThrows)
{
    const BaseRef reference;
    try
    {
        (void)reference->value;
        FAIL();
    }
    catch (const NULLReferenceException& exception)
    {
        EXPECT_STREQ("NULLReferenceException", exception.type());
        EXPECT_STREQ("ReferenceHelpers", exception.getFile());
        EXPECT_STREQ("NULL Reference dereferenced", exception.getMessage());
        EXPECT_EQ(-1, exception.getErrorCode());
        EXPECT_EQ(-34, exception.getSubClassId());
        EXPECT_EQ(nullptr, exception.getSubException());
    }
    EXPECT_THROW((void)*reference, NULLReferenceException);
    EXPECT_THROW(blocxx::ReferenceHelpers::throwNULLException(), NULLReferenceException);
    EXPECT_THROW(blocxx::ReferenceHelpers::checkNull(nullptr), NULLReferenceException);
    EXPECT_NO_THROW(blocxx::ReferenceHelpers::checkNull(&reference));
}

TEST_F(IntrusiveReferenceTest, TheLastShareDeletesTheObject)
{
    BaseRef first(new Base(1));
    {
        const BaseRef second(first); // NOLINT(performance-unnecessary-copy-initialization)
        EXPECT_EQ(first.getPtr(), second.getPtr());
        EXPECT_EQ(1, second->value);
        EXPECT_EQ(1, (*second).value);
    }
    EXPECT_EQ(1, Base::alive);
    first = 0;
    EXPECT_EQ(0, Base::alive);
}

TEST_F(IntrusiveReferenceTest, ConstOfTheReferenceIsNotThatOfTheObject)
{
    const BaseRef reference(new Base(1));
    reference->value = 2;
    EXPECT_EQ(2, reference->value);
}

TEST_F(IntrusiveReferenceTest, CanBeTestedButIsNotANumber)
{
    const BaseRef set(new Base);
    const BaseRef null;
    EXPECT_TRUE(isSet(set));
    const bool test = set;
    EXPECT_TRUE(test);
    EXPECT_TRUE(!null);
    EXPECT_FALSE(!set);
    EXPECT_TRUE(null == 0);
    EXPECT_TRUE(null == nullptr);
    EXPECT_TRUE(set != 0);
    EXPECT_FALSE((std::is_convertible_v<BaseRef, int>));
}

TEST_F(IntrusiveReferenceTest, AssignmentReleasesTheOldAndSurvivesItself)
{
    BaseRef reference(new Base(1));
    reference = new Base(2);
    EXPECT_EQ(1, Base::alive);
    reference = *&reference;
    reference = reference.getPtr();
    EXPECT_EQ(2, reference->value);
    const DerivedRef derived(new Derived(3));
    reference = derived;
    EXPECT_EQ(3, reference->value);
    EXPECT_EQ(1, Base::alive);
}

TEST_F(IntrusiveReferenceTest, MovesAndSwapsWithoutCounting)
{
    BaseRef source(new Base(1));
    BaseRef target(std::move(source));
    EXPECT_FALSE(isSet(source)); // NOLINT: that it is null is the point
    EXPECT_EQ(1, target->value);
    swap(source, target);
    EXPECT_EQ(1, source->value);
    target.swap(source);
    EXPECT_EQ(1, target->value);
    source = std::move(target);
    EXPECT_FALSE(isSet(target)); // NOLINT
    EXPECT_TRUE(std::is_nothrow_move_constructible_v<BaseRef>);
}

TEST_F(IntrusiveReferenceTest, ConvertsToBasesOnly)
{
    const DerivedRef derived(new Derived(4));
    const BaseRef base = derived;
    EXPECT_TRUE(base == derived);
    EXPECT_FALSE((std::is_convertible_v<BaseRef*, DerivedRef*>));
}

TEST_F(IntrusiveReferenceTest, ACastToAnotherTypeIsNull)
{
    const BaseRef derived(new Derived(4));
    const BaseRef plain(new Base);
    EXPECT_EQ(4, derived.cast_to<Derived>()->value);
    EXPECT_TRUE(plain.cast_to<Derived>() == 0);
    EXPECT_TRUE(derived.cast_to<Other>() == 0);
    EXPECT_TRUE(BaseRef().cast_to<Derived>() == 0);
    EXPECT_THROW(plain.cast_to<Derived>()->value = 1, NULLReferenceException);
}

TEST_F(IntrusiveReferenceTest, ComparesAddresses)
{
    const BaseRef a(new Base(1));
    const BaseRef b(new Base(1));
    EXPECT_TRUE(a == a.getPtr() && a.getPtr() == a && a == BaseRef(a));
    EXPECT_TRUE(a != b && a != b.getPtr() && b.getPtr() != a);
    EXPECT_NE(a < b, b < a);
}

TEST_F(IntrusiveReferenceTest, ACopyOfTheObjectIsNotCounted)
{
    const BaseRef reference(new Base(1));
    Base copy(*reference);
    copy = *reference;
    const BaseRef own(new Base(*reference));
    EXPECT_EQ(1, own->value);
    EXPECT_EQ(3, Base::alive);
}

TEST_F(IntrusiveReferenceTest, AdoptsAReferenceThatWasCountedBefore)
{
    Base* const object = new Base;
    IntrusiveReferenceAddRef(object);
    {
        const BaseRef adopted(object, false);
        EXPECT_EQ(1, Base::alive);
    }
    EXPECT_EQ(0, Base::alive);
}

TEST_F(IntrusiveReferenceTest, AdoptingAnObjectThatNobodyCountedNeverDeletesIt)
{
    Base object; // on the stack, so that a deletion would be fatal
    {
        const BaseRef adopted(&object, false);
    }
    EXPECT_EQ(1, Base::alive);
}

TEST_F(IntrusiveReferenceTest, TheLastReleaseIsNotACancellationPoint)
{
    struct Tester : IntrusiveCountableBase
    {
        ~Tester() override { ::pthread_testcancel(); }
    };
    EXPECT_TRUE(zol_test::runsToItsEndThoughCancelled([] { const IntrusiveReference<Tester> reference(new Tester); }));
}

TEST_F(IntrusiveReferenceTest, ManagesTypesWithCountingFunctionsOfTheirOwn)
{
    Foreign object;
    {
        const IntrusiveReference<Foreign> first(&object);
        const IntrusiveReference<Foreign> second(first); // NOLINT(performance-unnecessary-copy-initialization)
        EXPECT_EQ(2, object.references);
    }
    EXPECT_EQ(0, object.references);
}

TEST_F(IntrusiveReferenceTest, SharesMayBeTakenAndDroppedOnManyThreads)
{
    BaseRef shared(new Base(1));
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
    {
        threads.emplace_back(
            [mine = shared]
            {
                for (int round = 0; round < 10000; ++round)
                {
                    const BaseRef copy(mine); // NOLINT(performance-unnecessary-copy-initialization)
                }
            });
    }
    shared = 0;
    for (std::thread& thread : threads)
    {
        thread.join();
    }
    threads.clear();
    EXPECT_EQ(0, Base::alive);
}

TEST_F(IntrusiveReferenceTest, ForwardDeclaredTypesHaveTheirReferences)
{
    EXPECT_EQ(sizeof(void*), sizeof(blocxx::LoggerRef));
    EXPECT_EQ(sizeof(void*), sizeof(blocxx::LogAppenderRef));
    EXPECT_EQ(sizeof(void*), sizeof(blocxx::SSLClientCtxRef));
}

// NOLINTEND(modernize-use-nullptr)
