#include "RequestHead.hpp"

#include "FailureOf.hpp"
#include "RequestBody.hpp"

#include <gtest/gtest.h>

#include <sstream>
#include <string>

using zolget::makeRequest;
using zolget::makeRequestBody;
using zolget::Options;
using zolget::RequestParts;
using ZOLNS2::HTTP::Request;

namespace
{

Options fetching(const std::string& url)
{
    Options options;
    options.urls.emplace_back(url);
    return options;
}

Request requestFor(const Options& options)
{
    RequestParts parts;
    parts.body = makeRequestBody(options);
    return makeRequest(options, options.urls.front(), parts);
}

std::string headersOf(const Options& options)
{
    std::ostringstream text;
    text << requestFor(options).getHeaders();
    return text.str();
}

std::string valueOf(const Options& options, const char* name)
{
    return requestFor(options).getHeaders().getHeaderValue(name).c_str();
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
    EXPECT_EQ(valueOf(options, "Content-Type").find("text/plain"), 0U);
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
    text << requestFor(options).getRequestLine();
    options.useHttp10 = true;
    text << requestFor(options).getRequestLine();
    EXPECT_EQ(text.str(), "GET /page?q HTTP/1.1\r\nGET /page?q HTTP/1.0\r\n");
}

TEST(RequestHead, LogsIn)
{
    Options options = fetching("http://host/");
    options.credentials = zolget::CredentialsOption{"me", "secret"};
    EXPECT_EQ(valueOf(options, "Authorization"), "Basic bWU6c2VjcmV0");
}

TEST(RequestHead, KeepsTheConnectionForWhatFollows)
{
    RequestParts parts;
    parts.keepsConnection = true;
    const Options options = fetching("http://host/");
    EXPECT_EQ(makeRequest(options, options.urls.front(), parts).getHeaders().getHeaderValue("Connection"),
              blocxx::String("keep-alive"));
}

TEST(RequestHead, RefusesWhatContradictsTheBody)
{
    Options options = fetching("http://host/");
    options.data = "x";
    options.headers = {{"Content-Length", "2"}};
    const auto caught = zolget_test::failureOf([&options] { requestFor(options); });
    EXPECT_EQ(caught.status, zolget::ExitStatus::USAGE);
}
