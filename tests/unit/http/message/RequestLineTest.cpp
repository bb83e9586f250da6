#include "zol/http/RequestLine.hpp"

#include "blocxx/Format.hpp"

#include <gtest/gtest.h>

#include <iomanip>
#include <sstream>
#include <type_traits>

using namespace ZOLNS2::HTTP;

namespace
{

std::string textOf(const RequestLine& line)
{
    std::ostringstream out;
    out << line;
    return out.str();
}

} // namespace

TEST(RequestLine, KeepsTheFourValues)
{
    const RequestLine line("get", " /x", "example.com:8080", HTTP_1_1);
    EXPECT_EQ(line.method, "get");
    EXPECT_EQ(line.requestURI, " /x");
    EXPECT_EQ(line.url, "example.com:8080");
    EXPECT_EQ(line.version, HTTP_1_1);
    static_assert(!std::is_default_constructible_v<RequestLine>);
}

TEST(RequestLine, UrlIsNotWritten)
{
    EXPECT_EQ(textOf(RequestLine("GET", "/", "example.com:8080", HTTP_1_0)), "GET / HTTP/1.0\r\n");
}

TEST(RequestLine, VersionOneDotOneIsWritten)
{
    EXPECT_EQ(textOf(RequestLine("POST", "/cgi", "", HTTP_1_1)), "POST /cgi HTTP/1.1\r\n");
}

TEST(RequestLine, AnyVersionButZeroIsWrittenAsOne)
{
    EXPECT_EQ(textOf(RequestLine("GET", "/", "", static_cast<Version>(9))), "GET / HTTP/1.1\r\n");
}

TEST(RequestLine, MethodAndTargetAreNeitherCheckedNorChanged)
{
    EXPECT_EQ(textOf(RequestLine("", "", "", HTTP_1_1)), "  HTTP/1.1\r\n");
    EXPECT_EQ(textOf(RequestLine("get", "/a b", "", HTTP_1_1)), "get /a b HTTP/1.1\r\n");
}

TEST(RequestLine, WidthLeftOnTheStreamDoesNotPadIt)
{
    std::ostringstream out;
    out << std::setw(40) << RequestLine("GET", "/", "", HTTP_1_1);
    EXPECT_EQ(out.str(), "GET / HTTP/1.1\r\n");
}

TEST(RequestLine, FormattedLineCarriesItsLineEnd)
{
    const RequestLine line("GET", "/", "h", HTTP_1_1);
    EXPECT_EQ(blocxx::Format("[%1]", line).toString(), "[GET / HTTP/1.1\r\n]");
}

TEST(RequestLine, FormatPadsTheWholeLine)
{
    const RequestLine line("GET", "/", "h", HTTP_1_1);
    EXPECT_EQ(blocxx::Format("[%<1:30>]", line).toString(), "[              GET / HTTP/1.1\r\n]");
    EXPECT_EQ(blocxx::Format("[%<1:-20>]", line).toString(), "[GET / HTTP/1.1\r\n    ]");
}
