// Includes the headers by the names that users of the interface write.
#include "OW_HTTPChunkedIStream.hpp"
#include "OW_HTTPUtils.hpp"

#include "blocxx/Array.hpp"
#include "blocxx/BaseStreamBuffer.hpp"
#include "blocxx/Map.hpp"
#include "blocxx/String.hpp"

#include <gtest/gtest.h>

#include <istream>
#include <sstream>
#include <string>
#include <type_traits>
#include <utility>

namespace
{

using blocxx::Array;
using blocxx::String;
using OpenWBEM::HTTPChunkedIStream;
using OpenWBEM::HTTPChunkedIStreamBuffer;
using OpenWBEM::HTTPHeaderMap;

static_assert(std::is_same_v<HTTPHeaderMap, blocxx::Map<String, String>>);
static_assert(std::is_same_v<HTTPHeaderMap::value_type, std::pair<const String, String>>);
static_assert(std::is_same_v<decltype(*std::declval<HTTPHeaderMap&>().begin()), std::pair<const String, String>&>);
static_assert(std::is_base_of_v<blocxx::BaseStreamBuffer, HTTPChunkedIStreamBuffer>);
static_assert(std::is_convertible_v<HTTPChunkedIStream*, std::istream*>);
static_assert(!std::is_copy_constructible_v<HTTPChunkedIStream> && !std::is_copy_assignable_v<HTTPChunkedIStream>);
static_assert(!std::is_copy_constructible_v<HTTPChunkedIStreamBuffer>);

TEST(OpenWBEMInterface, HeaderMap)
{
    HTTPHeaderMap map;
    EXPECT_TRUE(map.empty());
    map["b"] = "2";
    EXPECT_TRUE(map.insert({String("a"), String("1")}).second);
    EXPECT_FALSE(map.insert({String("a"), String("other")}).second);
    EXPECT_EQ(map.size(), 2U);
    EXPECT_EQ(map.count("a"), 1U);
    const HTTPHeaderMap copy(map);
    EXPECT_EQ(copy.find("a")->second, "1");
    EXPECT_EQ(copy.find("c"), copy.end());
    EXPECT_EQ(copy.begin()->first, "a");
    EXPECT_EQ(map.erase("a"), 1U);
    map.erase(map.find("b"));
    EXPECT_TRUE(map.empty());
    EXPECT_EQ(copy.size(), 2U);
}

TEST(OpenWBEMInterface, Heads)
{
    namespace HTTPUtils = OpenWBEM::HTTPUtils;
    std::istringstream input("HTTP/1.1 200 OK\r\nA: 1\r\n\r\nB: 2\r\n\r\nC: 3\r\n\r\nbody");
    std::istream& stream = input;
    HTTPHeaderMap map;
    Array<String> words;
    EXPECT_TRUE(HTTPUtils::parseHeader(map, words, stream));
    EXPECT_TRUE(HTTPUtils::parseHeader(map, stream));
    EXPECT_TRUE(HTTPUtils::buildMap(map, stream));
    EXPECT_EQ(words.size(), 3U);
    EXPECT_EQ(map.size(), 3U);
    EXPECT_EQ(stream.get(), 'b');
}

TEST(OpenWBEMInterface, ChunkedStream)
{
    std::istringstream input("2\r\nab\r\n0\r\n\r\n");
    HTTPChunkedIStream body(input);
    std::string text;
    EXPECT_TRUE(body >> text);
    EXPECT_EQ(text, "ab");
    EXPECT_EQ(&body.getInputStreamOrig(), &input);
}

TEST(OpenWBEMInterface, ChunkedStreamBuffer)
{
    std::istringstream input("2\r\nab\r\n0\r\n\r\n1\r\nc\r\n0\r\n\r\n");
    HTTPChunkedIStreamBuffer buffer(input);
    char bytes[4] = {};
    EXPECT_EQ(buffer.sgetn(bytes, 4), 2);
    buffer.resetInput();
    EXPECT_EQ(buffer.sgetn(bytes, 4), 1);
    EXPECT_EQ(bytes[0], 'c');
}

} // namespace
