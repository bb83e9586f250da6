#include "exchange/Boundary.hpp"

#include "ReadContent.hpp"
#include "support/ScriptedContent.hpp"
#include "support/TemporaryDirectory.hpp"

#include "zol/mime/FileContent.hpp"
#include "zol/mime/MultipartContent.hpp"
#include "zol/mime/MultipartMixedContent.hpp"
#include "zol/mime/OctetStreamContent.hpp"
#include "zol/mime/TextContent.hpp"
#include "zol/mime/TypedContent.hpp"

#include <gmock/gmock.h>

#include <cctype>
#include <set>

namespace
{

using namespace ZOLNS2::MIME;
using testing::HasSubstr;
using testing::MatchesRegex;
using zol_test::contentRefusal;

ContentRef octets(const std::string& bytes)
{
    return ContentRef(new ApplicationOctetStreamContent(bytes.data(), bytes.size()));
}

TEST(Boundary, HasOneHundredAndTwentyEightRandomBits)
{
    std::set<std::string> boundaries;
    std::vector<std::set<char>> digits(32);
    for (int i = 0; i < 500; ++i)
    {
        const std::string boundary = makeBoundary().c_str();
        EXPECT_THAT(boundary, MatchesRegex("zol-[0-9a-f]{32}"));
        EXPECT_TRUE(boundaries.insert(boundary).second);
        for (size_t digit = 0; digit < digits.size(); ++digit)
        {
            digits[digit].insert(boundary[4 + digit]);
        }
        EXPECT_EQ(contentRefusal([&] { checkBoundary(boundary); }), "");
    }
    for (const std::set<char>& seen : digits)
    {
        EXPECT_EQ(seen.size(), 16U) << "every bit of every digit changes";
    }
}

TEST(Boundary, ConsistsOfItsCharactersAlone)
{
    for (int c = 0; c < 256; ++c)
    {
        const char byte = static_cast<char>(c);
        const bool isGood = (c < 128 && std::isalnum(c) != 0) ||
                            (c != 0 && std::string("'()+_,-./:=? ").find(byte) != std::string::npos);
        EXPECT_EQ(contentRefusal([&] { checkBoundary(std::string("a") + byte + "b"); }).empty(), isGood) << c;
    }
}

TEST(Boundary, HasOneToSeventyCharactersAndNoBlankAtTheEnd)
{
    EXPECT_EQ(contentRefusal([] { checkBoundary("a"); }), "");
    EXPECT_EQ(contentRefusal([] { checkBoundary(std::string(70, 'a')); }), "");
    EXPECT_EQ(contentRefusal([] { checkBoundary(" a"); }), "");
    EXPECT_THAT(contentRefusal([] { checkBoundary(std::string(71, 'a')); }), HasSubstr("is not a boundary"));
    EXPECT_THAT(contentRefusal([] { checkBoundary("a "); }), HasSubstr("\"a \" is not a boundary"));
    EXPECT_THAT(contentRefusal([] { checkBoundary(""); }), HasSubstr("\"\" is not a boundary"));
    EXPECT_THAT(contentRefusal([] { checkBoundary("a\r\nb"); }), HasSubstr("\"a\\x0d\\x0ab\" is not a boundary"));
}

TEST(Boundary, IsFoundInBytesInMemory)
{
    EXPECT_TRUE(containsDelimiter(octets("--x"), "x"));
    EXPECT_TRUE(containsDelimiter(octets("text\r\n--xy"), "x"));
    EXPECT_TRUE(containsDelimiter(octets("in a line --x"), "x"));
    EXPECT_FALSE(containsDelimiter(octets("-x\r\n- -x"), "x"));
    EXPECT_FALSE(containsDelimiter(octets(""), "x"));
    EXPECT_TRUE(containsDelimiter(ContentRef(new TextPlainContent("a --x")), "x"));
    EXPECT_FALSE(containsDelimiter(ContentRef(new TextPlainContent("a --y")), "x"));
    EXPECT_TRUE(containsDelimiter(ContentRef(new TypedContent("--x", "a/b")), "x"));
}

TEST(Boundary, IsFoundWhereverItLiesInLargeBytes)
{
    const std::string boundary(68, 'b');
    for (const size_t position : {0U, 65400U, 65467U, 65500U, 65535U, 65536U, 65537U, 131071U, 200000U})
    {
        std::string bytes(position, 'b');
        EXPECT_FALSE(containsDelimiter(octets(bytes), boundary));
        bytes += "--" + boundary;
        EXPECT_TRUE(containsDelimiter(octets(bytes), boundary)) << position;
        EXPECT_TRUE(containsDelimiter(octets(bytes + std::string(70000, '-')), boundary)) << position;
    }
}

TEST(Boundary, IsFoundInTheDelimitersAndPartsOfAMultipart)
{
    const blocxx::IntrusiveReference<MultipartContent> inner(new MultipartContent("mixed", "outer-inner"));
    EXPECT_TRUE(containsDelimiter(inner, "outer")) << "a delimiter is known by its beginning";
    EXPECT_FALSE(containsDelimiter(inner, "inner"));
    EXPECT_FALSE(containsDelimiter(inner, "x"));
    inner->addPart(octets("--x"));
    EXPECT_TRUE(containsDelimiter(inner, "x"));
    const blocxx::IntrusiveReference<MultipartMixedContent> mixed(new MultipartMixedContent("outer"));
    EXPECT_TRUE(containsDelimiter(mixed, "outer"));
    EXPECT_FALSE(containsDelimiter(mixed, "x"));
    mixed->addPart(inner);
    EXPECT_TRUE(containsDelimiter(mixed, "x"));
}

TEST(Boundary, IsNotSearchedForInWhatIsNotInMemory)
{
    const zol_test::TemporaryDirectory directory;
    EXPECT_FALSE(containsDelimiter(ContentRef(new FileContent(directory.write("a", "--x"))), "x"));
    const auto scripted = zol_test::scripted({"--x"});
    EXPECT_FALSE(containsDelimiter(scripted, "x"));
    EXPECT_EQ(scripted->readers, 0U) << "a content that can be read once is still unread";
}

} // namespace
