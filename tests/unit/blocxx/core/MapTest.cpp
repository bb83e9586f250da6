#include "blocxx/Map.hpp"

#include "blocxx/NULLReferenceException.hpp"
#include "blocxx/String.hpp"

#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <string>
#include <utility>
#include <vector>

using blocxx::Map;
using blocxx::String;

namespace elsewhere
{

/// A key and value of another namespace.
struct Plain
{
    int value;
    bool operator<(const Plain& other) const { return value < other.value; }
};

} // namespace elsewhere

namespace
{

using Texts = Map<String, String>;

Texts someTexts()
{
    Texts map;
    map["b"] = "2";
    map["a"] = "1";
    map["B"] = "3";
    return map;
}

std::string keysOf(const Texts& map)
{
    std::string keys;
    for (const auto& entry : map)
    {
        keys += entry.first.c_str();
    }
    return keys;
}

} // namespace

TEST(Map, IsEmptyFromTheStart)
{
    const Texts map;
    EXPECT_TRUE(map.empty());
    EXPECT_EQ(0U, map.size());
    EXPECT_TRUE(map.find("a") == map.end());
}

TEST(Map, IsOrderedByTheBytesOfItsKeys)
{
    EXPECT_EQ("Bab", keysOf(someTexts()));
    Map<String, int, std::greater<String>> descending{std::greater<String>()};
    descending["a"] = 1;
    descending["b"] = 2;
    EXPECT_EQ("b", descending.begin()->first);
}

TEST(Map, CopiesShareUntilOneIsModified)
{
    const Texts m = someTexts();
    Texts n = m;
    EXPECT_EQ(&m.find("a")->second, &std::as_const(n).find("a")->second);
    n["a"] = "9";
    EXPECT_EQ("1", m.find("a")->second);
    EXPECT_EQ("9", n.find("a")->second);
}

TEST(Map, IndexingAddsMissingKeys)
{
    Texts map = someTexts();
    EXPECT_EQ("", map["zz"]);
    EXPECT_EQ(4U, map.size());
}

TEST(Map, InsertNeverOverwrites)
{
    Texts map = someTexts();
    EXPECT_FALSE(map.insert(std::make_pair(String("a"), String("other"))).second);
    EXPECT_EQ("1", map["a"]);
    EXPECT_TRUE(map.insert(std::make_pair(String("c"), String("4"))).second);
    EXPECT_EQ("Babc", keysOf(map));
}

TEST(Map, ErasesByKeyAndPosition)
{
    Texts map = someTexts();
    EXPECT_EQ(1U, map.erase("a"));
    EXPECT_EQ(0U, map.erase("a"));
    map.erase(map.find("B"));
    EXPECT_EQ("b", keysOf(map));
}

TEST(Map, FindsAndCounts)
{
    Texts map = someTexts();
    const Texts shared(map);
    EXPECT_EQ(1U, map.count("a"));
    EXPECT_EQ(0U, map.count("A"));
    EXPECT_TRUE(map.find("A") == map.end());
}

TEST(Map, IsMadeOfARangeOrAMap)
{
    const std::vector<std::pair<String, String>> entries{{"x", "1"}, {"y", "2"}};
    EXPECT_EQ("xy", keysOf(Texts(entries.begin(), entries.end())));
    EXPECT_EQ("xy", keysOf(Texts(entries.begin(), entries.end(), std::less<String>())));
    EXPECT_EQ("z", keysOf(Texts(new std::map<String, String>{{"z", ""}})));
}

TEST(Map, MadeOfANullPointerThrowsOnEveryUse)
{
    Texts map(static_cast<std::map<String, String>*>(nullptr));
    EXPECT_THROW(map.size(), blocxx::NULLReferenceException);
    EXPECT_THROW(map["a"], blocxx::NULLReferenceException);
}

TEST(Map, ComparesEntries)
{
    Texts other = someTexts();
    EXPECT_TRUE(someTexts() == other);
    other["a"] = "2";
    EXPECT_FALSE(someTexts() == other);
    EXPECT_TRUE(someTexts() < other);
    EXPECT_FALSE(other < someTexts());
    other.erase("a");
    EXPECT_FALSE(someTexts() == other);
}

TEST(Map, SwapsAndMoves)
{
    Texts left = someTexts();
    Texts right;
    swap(left, right);
    EXPECT_TRUE(left.empty());
    left = std::move(right);
    EXPECT_EQ(3U, left.size());
    EXPECT_TRUE(right.empty()); // NOLINT: that it is empty is the point
    right["x"] = "y";           // NOLINT: and that it can be used again
    EXPECT_EQ(1U, right.size());
}

TEST(Map, HoldsKeysAndValuesOfOtherNamespaces)
{
    Map<elsewhere::Plain, elsewhere::Plain> a;
    a[elsewhere::Plain{1}].value = 1;
    Map<elsewhere::Plain, elsewhere::Plain> b(a);
    b[elsewhere::Plain{1}].value = 2;
    EXPECT_EQ(1, a[elsewhere::Plain{1}].value);
}
