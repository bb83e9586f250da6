#include "blocxx/COWReference.hpp"

#include "support/Allocations.hpp"

#include "blocxx/NULLReferenceException.hpp"

#include <gtest/gtest.h>

#include <atomic>
#include <stdexcept>
#include <thread>
#include <utility>
#include <vector>

using blocxx::COWReference;

namespace elsewhere
{

struct Value
{
    explicit Value(int number) : v(number) { ++alive; }
    Value(const Value&) = delete;
    Value& operator=(const Value&) = delete;
    virtual ~Value() noexcept(false)
    {
        --alive;
        if (throwing)
        {
            throw std::runtime_error("destructor");
        }
    }

    virtual Value* clone() const
    {
        if (refusing)
        {
            throw std::runtime_error("clone");
        }
        ++clones;
        return new Value(v);
    }

    int v;
    bool throwing = false;
    bool refusing = false;
    static inline int clones = 0;
    static inline std::atomic<int> alive = 0;
};

struct Special : Value
{
    using Value::Value;
    Special* clone() const override { return new Special(v); }
};

/// Cloned by a function beside it.
struct Hooked
{
    int v;
};

Hooked* COWReferenceClone(Hooked* object)
{
    return new Hooked{object->v + 100};
}

} // namespace elsewhere

using elsewhere::Special;
using elsewhere::Value;

TEST(COWReference, IsNullFromTheStart)
{
    const COWReference<Value> reference;
    EXPECT_FALSE(reference);
    EXPECT_TRUE(!reference);
    EXPECT_EQ(nullptr, reference.getPtr());
    EXPECT_FALSE(COWReference<Value>(nullptr));
}

TEST(COWReference, DereferencingNullThrows)
{
    COWReference<Value> reference;
    const COWReference<Value>& readOnly = reference;
    EXPECT_THROW((void)reference->v, blocxx::NULLReferenceException);
    EXPECT_THROW((void)*reference, blocxx::NULLReferenceException);
    EXPECT_THROW((void)readOnly->v, blocxx::NULLReferenceException);
    EXPECT_THROW((void)*readOnly, blocxx::NULLReferenceException);
}

TEST(COWReference, TheFirstWriteToASharedObjectClonesItOnce)
{
    COWReference<Value> a(new Value(1));
    COWReference<Value> b(a);
    const COWReference<Value>& readOnly = b;
    Value::clones = 0;
    EXPECT_TRUE(a == b);
    EXPECT_EQ(1, readOnly->v);
    EXPECT_EQ(1, (*readOnly).v);
    EXPECT_EQ(0, Value::clones);
    a->v = 3;
    EXPECT_EQ(1, Value::clones);
    EXPECT_FALSE(a == b);
    EXPECT_TRUE(a != b);
    EXPECT_EQ(1, readOnly->v);
    a->v = 4;
    b->v = 5;
    (*b).v = 6;
    EXPECT_EQ(1, Value::clones);
    EXPECT_EQ(4, a->v);
}

TEST(COWReference, AFailedCloneChangesNothing)
{
    COWReference<Value> a(new Value(1));
    a->refusing = true;
    const COWReference<Value> b(a);
    EXPECT_THROW(a->v = 2, std::runtime_error);
    EXPECT_TRUE(a == b);
    EXPECT_EQ(1, b->v);
}

TEST(COWReference, AReferenceTakenBeforeACopyIsSharedByIt)
{
    COWReference<Value> a(new Value(1));
    int& number = a->v;
    const COWReference<Value> b(a);
    number = 9;
    EXPECT_EQ(9, b->v);
}

TEST(COWReference, UsesTheCloneFunctionBesideAType)
{
    COWReference<elsewhere::Hooked> a(new elsewhere::Hooked{1});
    const COWReference<elsewhere::Hooked> b(a);
    EXPECT_EQ(101, a->v);
    EXPECT_EQ(1, b->v);
}

TEST(COWReference, HoldsVectorsOfForeignElements)
{
    COWReference<std::vector<elsewhere::Hooked>> a(new std::vector<elsewhere::Hooked>);
    const COWReference<std::vector<elsewhere::Hooked>> b(a);
    a->push_back({1});
    EXPECT_EQ(1U, a->size());
    EXPECT_EQ(0U, b->size());
}

TEST(COWReference, AssignsSharesAndOwnership)
{
    COWReference<Value> a(new Value(1));
    COWReference<Value> b;
    b = a;
    EXPECT_TRUE(a == b);
    b = *&b;
    EXPECT_TRUE(a == b);
    b = new Value(2);
    EXPECT_EQ(2, b->v);
    a.swap(b);
    EXPECT_EQ(2, a->v);
    COWReference<Value> c(std::move(a));
    EXPECT_FALSE(a); // NOLINT: that it is null is the point
    b = std::move(c);
    EXPECT_EQ(2, b->v);
}

TEST(COWReference, ComparesAddressesAndNotValues)
{
    const COWReference<Value> a(new Value(1));
    const COWReference<Value> b(new Value(1));
    EXPECT_FALSE(a == b);
    EXPECT_NE(a < b, b < a);
}

TEST(COWReference, ConvertsToBases)
{
    const COWReference<Special> special(new Special(1));
    const COWReference<Value> value(special);
    EXPECT_TRUE(value == special);
}

TEST(COWReference, TheLastShareDeletesTheObject)
{
    const int before = Value::alive;
    {
        COWReference<Value> first(new Value(1));
        {
            const COWReference<Value> second(first);
        }
        EXPECT_EQ(before + 1, Value::alive);
        first = nullptr;
        EXPECT_EQ(before, Value::alive);
        first = COWReference<Value>(new Special(2));
    }
    EXPECT_EQ(before, Value::alive);
}

TEST(COWReference, WhatADestructorThrowsIsDropped)
{
    COWReference<Value> reference(new Value(1));
    reference->throwing = true;
    EXPECT_NO_THROW(reference = nullptr);
    EXPECT_FALSE(reference);
}

TEST(COWReference, MadeInOneBlockIsSharedClonedAndDroppedLikeAnyOther)
{
    Value::clones = 0;
    {
        COWReference<Value> first = COWReference<Value>::make(1);
        EXPECT_EQ(1, first->v);
        EXPECT_EQ(0, Value::clones);
        COWReference<Value> second(first);
        second->v = 2;
        EXPECT_EQ(1, Value::clones);
        EXPECT_EQ(1, std::as_const(first)->v);
        EXPECT_EQ(2, Value::alive);
        const COWReference<Value> base(COWReference<Special>::make(3));
        EXPECT_EQ(3, base->v);
        first = nullptr;
        EXPECT_EQ(2, Value::alive);
    }
    EXPECT_EQ(0, Value::alive);
}

TEST(COWReference, InOneBlockWhoseDestructorThrowsIsDroppedSilently)
{
    COWReference<Value> reference = COWReference<Value>::make(1);
    reference->throwing = true;
    EXPECT_NO_THROW(reference = nullptr);
    EXPECT_FALSE(reference);
    EXPECT_EQ(0, Value::alive);
}

TEST(COWReference, TakesOneAllocationWhereItMakesTheObject)
{
    COWReference<std::vector<int>> reference;
    EXPECT_EQ(1U, zol_test::allocationsOf([&] { reference = COWReference<std::vector<int>>::make(); }).count);
    const COWReference<std::vector<int>> shared(reference);
    EXPECT_EQ(1U, zol_test::allocationsOf([&] { reference->clear(); }).count) << "the clone of a container as well";
    EXPECT_TRUE(reference != shared);
}

TEST(COWReference, SharesMayBeCopiedWrittenAndDroppedOnManyThreads)
{
    const COWReference<std::vector<int>> original(new std::vector<int>(10, 1));
    std::atomic<int> wrong{0};
    std::vector<std::thread> threads;
    for (int number = 2; number < 6; ++number)
    {
        threads.emplace_back(
            [&original, &wrong, number]
            {
                for (int i = 0; i < 2000; ++i)
                {
                    COWReference<std::vector<int>> mine(original);
                    COWReference<std::vector<int>> other(mine);
                    mine->front() = number;
                    wrong += std::as_const(other)->front() != 1 || std::as_const(mine)->front() != number;
                }
            });
    }
    for (std::thread& thread : threads)
    {
        thread.join();
    }
    EXPECT_EQ(0, wrong);
    EXPECT_EQ(1, original->front());
}

TEST(COWReference, TheLastOfSeveralRacingWritersKeepsTheOriginal)
{
    for (int round = 0; round < 500; ++round)
    {
        COWReference<std::vector<int>> a(new std::vector<int>(4, 0));
        COWReference<std::vector<int>> b(a);
        std::thread other([&b] { b->back() = 2; });
        a->back() = 1;
        other.join();
        ASSERT_EQ(1, std::as_const(a)->back());
        ASSERT_EQ(2, std::as_const(b)->back());
        ASSERT_TRUE(a != b);
    }
}
