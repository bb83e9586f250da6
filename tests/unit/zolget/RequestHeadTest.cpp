#include "RequestHead.hpp"

#include <gtest/gtest.h>

#include <sstream>
#include <string>

using zolget::completeHeaders;
using zolget::makeRequestBody;
using zolget::Options;
using zolget::RequestBodyRef;

namespace
{

Options fetching(const std::string& url)
{
    Options options;
    options.url = zolget::parseUrl(url);
    return options;
}

std::string headersOf(const Options& options)
{
    std::ostringstream text;
    text << completeHeaders(options, makeRequestBody(options));
    return text.str();
}

std::string valueOf(const Options& options, const char* name)
{
    return completeHeaders(options, makeRequestBody(options)).getHeaderValue(name).c_str();
}

} // namespace

TEST(RequestHead, HasWhatAServerNeeds)
{
    const std::string headers = headersOf(fetching("http://host/page"));
    const std::string agent = valueOf(fetching("http://host/page"), "User-Agent");
    EXPECT_EQ(agent.find("zolget/"), 0U);
    EXPECT_EQ(headers, "Host: host\r\nUser-Agent: " + agent + "\r\nAccept: */*\r\nConnection: close\r\n");
}

TEST(RequestHead, NamesHostAndPortAsTheUrlDoes)
{
    EXPECT_EQ(valueOf(fetching("http://host:8080/"), "Host"), "host:8080");
    EXPECT_EQ(valueOf(fetching("https://[::1]:8443/"), "Host"), "[::1]:8443");
}

TEST(RequestHead, PrefersWhatTheUserGave)
{
    Options options = fetching("http://host/");
    options.data = "x";
    options.headers = {
        {"HOST", "other"}, {"user-agent", "me"},    {"Accept", "text/html"}, {"connection", "keep-alive"},
        {"X-A", "1"},      {"Content-Type", "a/b"}, {"content-length", "1"}};
    EXPECT_EQ(headersOf(options), "HOST: other\r\nuser-agent: me\r\nAccept: text/html\r\nconnection: keep-alive\r\n"
                                  "X-A: 1\r\nContent-Type: a/b\r\ncontent-length: 1\r\n");
}

TEST(RequestHead, DescribesTheBody)
{
    Options options = fetching("http://host/");
    options.data = "five!";
    EXPECT_EQ(valueOf(options, "Content-Length"), "5");
    EXPECT_EQ(valueOf(options, "Content-Type").find("text/plain"), 0U);
}

TEST(RequestHead, AnnouncesAnEmptyBody)
{
    Options options = fetching("http://host/");
    options.data = "";
    EXPECT_EQ(valueOf(options, "Content-Length"), "0");
    EXPECT_EQ(valueOf(options, "Content-Type"), "");
}

TEST(RequestHead, AnnouncesTheMissingBodyOfMethodsThatExpectOne)
{
    Options options = fetching("http://host/");
    for (const char* method : {"POST", "PUT", "PATCH"})
    {
        options.method = method;
        EXPECT_EQ(valueOf(options, "Content-Length"), "0");
    }
    for (const char* method : {"GET", "HEAD", "DELETE"})
    {
        options.method = method;
        EXPECT_EQ(valueOf(options, "Content-Length"), "");
    }
}

TEST(RequestHead, AsksInTheWantedVersion)
{
    Options options = fetching("http://host/page?q");
    std::ostringstream text;
    text << makeRequest(options, RequestBodyRef(), {}).getRequestLine();
    options.useHttp10 = true;
    text << makeRequest(options, RequestBodyRef(), {}).getRequestLine();
    EXPECT_EQ(text.str(), "GET /page?q HTTP/1.1\r\nGET /page?q HTTP/1.0\r\n");
}
