// Lines as programs have them. What they say here is that they compile, and mean what they meant before strings, headers and
// time-outs learnt to be made of the standard library's types.
#include "zol/http.hpp"

#include <gtest/gtest.h>

#include <map>
#include <sstream>
#include <string>
#include <vector>

using namespace blocxx;
using namespace ZOLNS2;
using namespace ZOLNS2::HTTP;
using namespace ZOLNS2::MIME;

namespace
{

std::string taken(const String& text)
{
    return std::string("String ") + text.c_str();
}

std::string taken(const char* text)
{
    return std::string("C string ") + text;
}

[[maybe_unused]] std::string taken(bool)
{
    return "bool";
}

std::string textOf(const Headers& headers)
{
    std::ostringstream out;
    out << headers;
    return out.str();
}

} // namespace

TEST(SourceCompatibility, OfStrings)
{
    const std::string standard = "standard";
    const String fromStandard = standard;
    const String fromLiteral = "literal";
    String assigned;
    assigned = standard;
    assigned += "x";
    assigned = assigned + '-' + standard + "-" + fromLiteral;
    EXPECT_EQ(assigned, "standardx-standard-literal");
    EXPECT_EQ(taken("x"), "C string x");
    EXPECT_EQ(taken(String("x")), "String x");
    EXPECT_EQ(taken(standard), "String standard");
    EXPECT_EQ(std::string(fromLiteral.c_str()), "literal");
    EXPECT_TRUE(fromStandard == standard && standard == fromStandard && fromStandard != "x" && "a" < fromStandard);
    EXPECT_EQ(String(standard.c_str(), 3), "sta");
    EXPECT_EQ(String(5), "5");
    EXPECT_EQ(String(5U), "5");
    EXPECT_EQ(String(5L), "5");
    EXPECT_EQ(String(true), "1");
    EXPECT_EQ(String('5'), "5");
    EXPECT_EQ(String(static_cast<unsigned char>('5')), "53");
    EXPECT_EQ(String(0.5), "0.5");
    EXPECT_EQ(String(nullptr), "");
    std::ostringstream out;
    out << fromLiteral << String("!");
    EXPECT_EQ(out.str(), "literal!");
    EXPECT_EQ(String(Format("%1 %2 %3", fromLiteral, standard, 3)), "literal standard 3");
    std::map<String, int> map;
    map["key"] = 1;
    EXPECT_EQ(map.count(String("key")), 1U);
    const std::vector<String> several{"a", "b"};
    EXPECT_EQ(several.size(), 2U);
}

TEST(SourceCompatibility, OfArrays)
{
    EXPECT_EQ(Array<int>{3}.size(), 3U);
    EXPECT_EQ(Array<int>(3, 7)[2], 7);
    EXPECT_EQ(Array<String>(2, "x")[1], "x");
    const std::vector<int> numbers{1, 2, 3};
    EXPECT_EQ(Array<int>(numbers.begin(), numbers.end())[2], 3);
    EXPECT_TRUE(Array<int>(2, 1) == Array<int>(2, 1));
}

TEST(SourceCompatibility, OfHeadersAndRequests)
{
    Headers headers;
    headers.addHeader("Accept", "text/plain");
    const Headers copy = headers;
    const Headers braced{headers};
    EXPECT_EQ(textOf(copy), "Accept: text/plain\r\n");
    EXPECT_EQ(textOf(braced), "Accept: text/plain\r\n");
    EXPECT_EQ(textOf({}), "");
    const RequestLine line("GET", "/", "www.example.com", HTTP_1_1);
    const Request request(line, {}, SSLClientCtxRef());
    EXPECT_EQ(textOf(request.getHeaders()), "");
    EXPECT_EQ(headers.getHeaderValue("accept"), "text/plain");
    EXPECT_EQ(Header("a", "b").value, "b");
}

TEST(SourceCompatibility, OfTimeouts)
{
    const Timeout timeout = Timeout::relative(5);
    EXPECT_TRUE(timeout == Timeout::relative(5.0F) && timeout != Timeout::infinite);
    EXPECT_EQ(Timeout::absolute(DateTime(5)).getAbsolute().get(), 5);
    EXPECT_FALSE((std::is_convertible_v<int, Timeout>)) << "seconds or milliseconds?";
}

TEST(SourceCompatibility, OfTexts)
{
    EXPECT_EQ(ZOLNS2::toString(String("text")), "text");
    EXPECT_EQ(ZOLNS2::toString(std::pair<const String, String>("a", "b")), "[a,b]");
    EXPECT_EQ(ZOLNS2::toString("literal"), "literal");
    EXPECT_EQ(toString(ContentTypeHeader()), toString(ContentTypeHeader()));
}
