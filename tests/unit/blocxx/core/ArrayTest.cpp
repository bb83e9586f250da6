#include "blocxx/Array.hpp"

#include "support/GroupingLocale.hpp"

#include "blocxx/String.hpp"

#include <gtest/gtest.h>

#include <new>
#include <utility>
#include <vector>

using blocxx::Array;
using blocxx::OutOfBoundsException;
using blocxx::String;

namespace elsewhere
{

/// An element of another namespace, with neither operators nor a clone function.
struct Plain
{
    int value;
};

/// Counts its copies.
struct Counted
{
    Counted() = default;
    Counted(const Counted&) { ++copies; }
    Counted& operator=(const Counted&) = default;
    static inline int copies = 0;
};

/// Throws when it is copied, once it is armed.
struct Fragile
{
    Fragile() = default;
    Fragile(const Fragile&)
    {
        if (armed)
        {
            throw std::bad_alloc();
        }
    }
    static inline bool armed = false;
};

} // namespace elsewhere

namespace
{

Array<int> oneTwoThree()
{
    Array<int> array;
    array.push_back(1);
    array.push_back(2);
    array.push_back(3);
    return array;
}

std::vector<int> elementsOf(const Array<int>& array)
{
    return std::vector<int>(array.begin(), array.end());
}

using Ints = std::vector<int>;

template <class T>
const T* storageOf(const Array<T>& array)
{
    return &array.front();
}

template <class Action>
std::string outOfBoundsMessage(Action action)
{
    try
    {
        action();
    }
    catch (const OutOfBoundsException& exception)
    {
        EXPECT_EQ(-31, exception.getSubClassId());
        EXPECT_EQ(-1, exception.getErrorCode());
        return exception.getMessage();
    }
    return "";
}

} // namespace

TEST(Array, IsEmptyFromTheStart)
{
    const Array<int> array;
    EXPECT_TRUE(array.empty());
    EXPECT_EQ(0U, array.size());
    EXPECT_TRUE(array.begin() == array.end());
}

TEST(Array, FillsWithACountOfAnyUsualType)
{
    EXPECT_EQ((Ints{7, 7, 7}), elementsOf(Array<int>(3, 7)));
    EXPECT_EQ((Ints{7, 7}), elementsOf(Array<int>(2L, 7)));
    EXPECT_EQ((Ints{7}), elementsOf(Array<int>(std::size_t{1}, 7)));
    EXPECT_EQ(5U, Array<char>(5, 'c').size());
    EXPECT_EQ((Ints{0, 0}), elementsOf(Array<int>(std::size_t{2})));
    EXPECT_THROW(Array<int>(-1, 7), std::length_error);
}

TEST(Array, CopiesARange)
{
    const int values[] = {1, 2, 3};
    EXPECT_EQ((Ints{1, 2, 3}), elementsOf(Array<int>(values, values + 3)));
    const char* const text = "ab";
    EXPECT_EQ('b', Array<char>(text, text + 2)[1]);
}

TEST(Array, CopiesShareUntilOneIsModified)
{
    Array<int> a(3, 7);
    Array<int> b(a);
    EXPECT_EQ(storageOf(a), storageOf(b));
    b[0] = 8;
    EXPECT_NE(storageOf(a), storageOf(b));
    EXPECT_EQ((Ints{7, 7, 7}), elementsOf(a));
    EXPECT_EQ((Ints{8, 7, 7}), elementsOf(b));
}

TEST(Array, ReadingNeverCopiesElements)
{
    const Array<elsewhere::Counted> original(2, elsewhere::Counted());
    const Array<elsewhere::Counted> copy(original);
    elsewhere::Counted::copies = 0;
    EXPECT_EQ(2, copy.end() - copy.begin());
    EXPECT_EQ(2U, copy.size());
    (void)copy[1];
    (void)copy.front();
    (void)copy.back();
    EXPECT_EQ(0, elsewhere::Counted::copies);
}

TEST(Array, ANonConstBeginOfASharedArrayUnshares)
{
    Array<int> a(2, 1);
    const Array<int> b(a);
    (void)a.begin();
    EXPECT_NE(storageOf(a), storageOf(b));
}

TEST(Array, AReferenceTakenBeforeACopyWritesToBoth)
{
    Array<int> a(2, 1);
    int& first = a[0];
    const Array<int> c(a);
    first = 9;
    EXPECT_EQ(9, c[0]);
}

TEST(Array, AnIteratorTakenBeforeACopyWritesToTheSharedElements)
{
    Array<int> a(2, 1);
    const auto position = a.begin();
    const Array<int> c(a);
    *position = 5;
    EXPECT_EQ(5, c[0]);
    a.push_back(2);
    *position = 6;
    EXPECT_EQ(6, c[0]);
    EXPECT_EQ(5, a[0]);
}

TEST(Array, IndexingIsCheckedBeforeAnythingIsCopied)
{
    Array<int> a(3, 7);
    const Array<int> b(a);
    EXPECT_EQ("Array Index out of bounds. size = 3, index = 3", outOfBoundsMessage([&] { a[3] = 1; }));
    EXPECT_EQ("Array Index out of bounds. size = 3, index = 3", outOfBoundsMessage([&] { (void)b[3]; }));
    EXPECT_EQ(storageOf(const_cast<const Array<int>&>(a)), storageOf(b));
    EXPECT_EQ("Array Index out of bounds. size = 0, index = 0", outOfBoundsMessage([] { (void)Array<int>()[0]; }));
    EXPECT_EQ(7, a[2]);
}

TEST(Array, AppendsElements)
{
    Array<int> array = oneTwoThree();
    array.append(4);
    array.push_back(5);
    EXPECT_EQ((Ints{1, 2, 3, 4, 5}), elementsOf(array));
    array.pop_back();
    EXPECT_EQ(4U, array.size());
}

TEST(Array, AppendsAnElementOfItsOwn)
{
    Array<String> array(1, String("a rather long text that does not fit into a small string"));
    for (int i = 0; i < 20; ++i)
    {
        array.push_back(array[0]);
    }
    EXPECT_EQ(array[0], array[20]);
}

TEST(Array, InsertsARange)
{
    Array<int> array = oneTwoThree();
    const int values[] = {8, 9};
    array.insert(array.end(), values, values + 2);
    array.insert(array.begin(), values, values + 1);
    EXPECT_EQ((Ints{8, 1, 2, 3, 8, 9}), elementsOf(array));
}

TEST(Array, InsertingAtTheEndOfASharedArrayIsSafe)
{
    Array<int> a = oneTwoThree();
    const Array<int> b(a);
    const int values[] = {4};
    a.insert(a.end(), values, values + 1);
    EXPECT_EQ((Ints{1, 2, 3, 4}), elementsOf(a));
    EXPECT_EQ((Ints{1, 2, 3}), elementsOf(b));
}

TEST(Array, RemoveChecksItsIndexes)
{
    Array<int> array = oneTwoThree();
    array.remove(1);
    EXPECT_EQ((Ints{1, 3}), elementsOf(array));
    EXPECT_EQ("Array Index out of bounds. size = 2, index = 2", outOfBoundsMessage([&] { array.remove(2); }));
    array.remove(0, 2);
    EXPECT_TRUE(array.empty());
}

TEST(Array, RemovingAnEmptyRangeAtTheStartIsOutOfBounds)
{
    Array<int> array = oneTwoThree();
    EXPECT_EQ("Array Index out of bounds. size = 3, index = 18446744073709551615",
              outOfBoundsMessage([&] { array.remove(0, 0); }));
    array.remove(1, 1);
    EXPECT_EQ(3U, array.size());
    EXPECT_EQ("Array Index out of bounds. size = 3, index = 3", outOfBoundsMessage([&] { array.remove(1, 4); }));
}

TEST(Array, RemovingARangeWhoseEndsAreExchangedIsOutOfBounds)
{
    Array<int> array = oneTwoThree();
    const Array<int> copy(array);
    EXPECT_EQ("Array Index out of bounds. size = 3, index = 2", outOfBoundsMessage([&] { array.remove(2, 1); }));
    EXPECT_EQ("Array Index out of bounds. size = 3, index = 18446744073709551615",
              outOfBoundsMessage([&] { array.remove(1, 0); }));
    EXPECT_EQ(storageOf(std::as_const(array)), storageOf(copy));
    EXPECT_EQ((Ints{1, 2, 3}), elementsOf(array));
}

TEST(Array, ResizesReservesAndClears)
{
    Array<int> array;
    array.reserve(100);
    EXPECT_GE(array.capacity(), 100U);
    array.resize(2);
    array.resize(3, 9);
    EXPECT_EQ((Ints{0, 0, 9}), elementsOf(array));
    const Array<int> copy(array);
    array.clear();
    EXPECT_TRUE(array.empty());
    EXPECT_EQ(3U, copy.size());
    EXPECT_THROW(array.reserve(static_cast<std::size_t>(-1)), std::length_error);
}

TEST(Array, NewArraysOfATypeDoNotDisturbEachOther)
{
    Array<int> a;
    const Array<int> b;
    a.push_back(1);
    EXPECT_EQ(1U, a.size());
    EXPECT_TRUE(b.empty());
    EXPECT_TRUE(Array<int>().empty());
}

TEST(Array, KnowsWhatItContains)
{
    const Array<int> array = oneTwoThree();
    EXPECT_TRUE(array.contains(2));
    EXPECT_FALSE(array.contains(4));
}

TEST(Array, ShowsItsEnds)
{
    Array<int> array = oneTwoThree();
    array.front() = 4;
    array.back() = 6;
    EXPECT_EQ((Ints{4, 2, 6}), elementsOf(array));
}

TEST(Array, ComparesElements)
{
    const Array<int> small(2, 1);
    EXPECT_TRUE(small == Array<int>(2, 1));
    EXPECT_FALSE(small == Array<int>(2, 2));
    EXPECT_FALSE(small == Array<int>(3, 1));
}

TEST(Array, SwapsWithoutCopyingElements)
{
    Array<int> a(1, 1);
    Array<int> b(2, 2);
    const int* const storage = storageOf(std::as_const(a));
    a.swap(b);
    EXPECT_EQ((Ints{2, 2}), elementsOf(a));
    EXPECT_EQ(storage, storageOf(std::as_const(b)));
}

TEST(Array, TheTextOfAnIndexOutOfBoundsDoesNotFollowTheLocale)
{
    const zol_test::GroupingLocale grouping;
    EXPECT_EQ("Array Index out of bounds. size = 3, index = 1234567",
              outOfBoundsMessage([] { (void)oneTwoThree()[1234567]; }));
}

TEST(Array, ThatWasMovedFromIsEmptyAndUsable)
{
    Array<int> source = oneTwoThree();
    Array<int> target(std::move(source));
    EXPECT_EQ(3U, target.size());
    EXPECT_TRUE(source.empty()); // NOLINT: that it is empty is the point
    source.push_back(1);
    target = std::move(source);
    EXPECT_EQ((Ints{1}), elementsOf(target));
    EXPECT_TRUE(source.empty()); // NOLINT
}

TEST(Array, HoldsElementsOfOtherNamespaces)
{
    Array<elsewhere::Plain> a(1, elsewhere::Plain{1});
    Array<elsewhere::Plain> b(a);
    b[0].value = 2;
    EXPECT_EQ(1, a[0].value);
}

TEST(Array, AFailedCopyLeavesBothArraysAsTheyWere)
{
    Array<elsewhere::Fragile> a(3, elsewhere::Fragile());
    const Array<elsewhere::Fragile> b(a);
    elsewhere::Fragile::armed = true;
    EXPECT_THROW(a.clear(), std::bad_alloc);
    elsewhere::Fragile::armed = false;
    EXPECT_EQ(3U, a.size());
    EXPECT_EQ(3U, b.size());
    a.clear();
    EXPECT_TRUE(a.empty());
}
