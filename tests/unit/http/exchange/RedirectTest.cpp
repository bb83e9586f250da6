#include "exchange/Redirect.hpp"

#include "ExchangeWith.hpp"
#include "support/ScriptedContent.hpp"

#include <gmock/gmock.h>

#include <string>
#include <vector>

namespace
{

using namespace exchange_test;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;
using zol_test::scripted;
using zol_test::ScriptedServer;
using zol_test::ServerConnection;

ExchangeOptions following(unsigned most = 5)
{
    ExchangeOptions options;
    options.mostRedirects = most;
    return options;
}

std::string redirectTo(const std::string& location, int status = 302)
{
    return "HTTP/1.1 " + std::to_string(status) + " Moved\r\nContent-Length: 0\r\nLocation: " + location + "\r\n\r\n";
}

const std::string FINAL = "HTTP/1.1 200 OK\r\nContent-Length: 5\r\n\r\nfinal";

/// Sends the responses in turn, one a connection; a request's body of that size is received first.
ScriptedServer::Script inTurn(std::vector<std::string> responses)
{
    return [responses](ServerConnection& connection)
    {
        const std::string head = connection.receiveHead();
        const size_t at = head.find("Content-Length: ");
        if (at != std::string::npos)
        {
            connection.receive(std::stoul(head.substr(at + 16)));
        }
        connection.send(responses.at(connection.index()));
    };
}

Headers fieldsOf(const std::vector<std::pair<const char*, const char*>>& fields)
{
    Headers headers;
    for (const auto& [name, value] : fields)
    {
        headers.addHeader(name, value);
    }
    return headers;
}

TEST(ExchangeRedirect, IsNotFollowedUnlessAskedFor)
{
    const ExchangeResponse response = responseTo(redirectTo("/other"));
    EXPECT_EQ(response.getStatus(), 302);
    EXPECT_EQ(textOf(response.getHeaders().getHeaderValue("Location")), "/other");
    EXPECT_TRUE(response.redirectNote().empty());
}

TEST(ExchangeRedirect, IsFollowedRelativeToTheUrlAskedFor)
{
    ScriptedServer server(inTurn({redirectTo("other?x#fragment"), FINAL}));
    const ExchangeResponse response = exchange(requestOf("GET", server.address()), following());
    EXPECT_EQ(bodyOf(response), "final");
    EXPECT_THAT(server.requests().at(1), StartsWith("GET /other?x HTTP/1.1\r\nHost: " + server.address() + "\r\n"));
    EXPECT_EQ(textOf(response.getUrl()), "http://" + server.address() + "/other?x");
}

TEST(ExchangeRedirect, EndsAtItsLimitAndSaysSo)
{
    ScriptedServer server(inTurn({redirectTo("/1"), redirectTo("/2"), redirectTo("/3")}));
    const ExchangeResponse response = exchange(get(server), following(2));
    EXPECT_EQ(response.getStatus(), 302);
    EXPECT_EQ(server.connections(), 3U);
    EXPECT_THAT(textOf(response.redirectNote()), HasSubstr("2 others"));
}

TEST(ExchangeRedirect, ChangesTheMethodAsTheStatusSays)
{
    struct Case
    {
        int status;
        const char* method;
        const char* next;
    };
    for (const Case& one : {Case{301, "POST", "GET"}, Case{302, "POST", "GET"}, Case{303, "POST", "GET"},
                            Case{307, "POST", "POST"}, Case{308, "POST", "POST"}, Case{303, "PUT", "GET"},
                            Case{301, "PUT", "PUT"}, Case{303, "HEAD", "HEAD"}, Case{302, "HEAD", "HEAD"}})
    {
        SCOPED_TRACE(std::to_string(one.status) + one.method);
        const bool hasContent = std::string(one.method) != "HEAD";
        ScriptedServer server(inTurn({redirectTo("/x", one.status), FINAL}));
        const Headers headers =
            hasContent ? fieldsOf({{"Content-Length", "4"}, {"Content-Type", "text/x"}}) : Headers();
        exchange(requestOf(one.method, server.address(), headers,
                           hasContent ? ContentRef(scripted({"data"})) : ContentRef()),
                 following());
        ASSERT_TRUE(server.waitUntilIdle());
        const std::string second = server.requests().at(1);
        EXPECT_THAT(second, StartsWith(std::string(one.next) + " /x "));
        if (hasContent && std::string(one.next) == "GET")
        {
            EXPECT_THAT(second, Not(HasSubstr("Content-")));
        }
        else if (hasContent)
        {
            EXPECT_THAT(second, HasSubstr("\r\n\r\ndata"));
        }
    }
}

TEST(ExchangeRedirect, TakesCredentialsToTheSameOrigin)
{
    ScriptedServer server(inTurn({redirectTo("/x"), FINAL}));
    exchange(requestOf("GET", server.address(), fieldsOf({{"Authorization", "a"}, {"Cookie", "c"}})), following());
    EXPECT_THAT(server.requests().at(1), HasSubstr("Authorization: a\r\nCookie: c\r\n"));
}

TEST(ExchangeRedirect, LeavesCredentialsOutForAnotherOriginAndBehindIt)
{
    std::string back;
    ScriptedServer other(
        [&](ServerConnection& connection)
        {
            connection.receiveHead();
            connection.send(redirectTo(back));
        });
    ScriptedServer server(inTurn({redirectTo("http://" + other.address() + "/x"), FINAL}));
    back = "http://" + server.address() + "/y";
    exchange(requestOf("GET", server.address(),
                       fieldsOf({{"Host", "wrong"},
                                 {"authorization", "a"},
                                 {"Proxy-Authorization", "p"},
                                 {"Cookie", "c"},
                                 {"X", "kept"}})),
             following());
    EXPECT_EQ(other.requests().at(0), "GET /x HTTP/1.1\r\nHost: " + other.address() + "\r\nX: kept\r\n\r\n");
    EXPECT_EQ(server.requests().at(1), "GET /y HTTP/1.1\r\nHost: " + server.address() + "\r\nX: kept\r\n\r\n");
}

TEST(ExchangeRedirect, WithContentThatCanBeReadOnceIsReturned)
{
    const auto content = scripted({"data"});
    content->refusesSecondReader = true;
    ScriptedServer server(inTurn({redirectTo("/x", 307)}));
    const ExchangeResponse response = exchange(post(server, content, 4), following());
    EXPECT_EQ(response.getStatus(), 307);
    EXPECT_THAT(textOf(response.redirectNote()), HasSubstr("cannot be read again"));
    EXPECT_THAT(textOf(response.redirectNote()), HasSubstr("scripted refusal"));
}

TEST(ExchangeRedirect, WithContentThatCanBeReadOnceIsFollowedAsGet)
{
    const auto content = scripted({"data"});
    content->refusesSecondReader = true;
    ScriptedServer server(inTurn({redirectTo("/x", 303), FINAL}));
    EXPECT_EQ(exchange(post(server, content, 4), following()).getStatus(), 200);
}

TEST(ExchangeRedirect, ThatCannotBeFollowedIsReturnedAndSaysWhy)
{
    struct Case
    {
        const char* location;
        const char* words;
    };
    for (const Case& one :
         {Case{"", "names no location"}, Case{"ftp://example.com/", "ftp"}, Case{"http://user@127.0.0.1/", "user"},
          Case{"http://[::1/", "["}, Case{"javascript:alert(1)", "javascript"}})
    {
        SCOPED_TRACE(one.location);
        ScriptedServer server(inTurn({redirectTo(one.location)}));
        const ExchangeResponse response = exchange(get(server), following());
        EXPECT_EQ(response.getStatus(), 302);
        EXPECT_THAT(textOf(response.redirectNote()), HasSubstr(one.words));
    }
}

TEST(ExchangeRedirect, OtherStatusesAreNone)
{
    for (const int status : {300, 304, 305, 306, 201})
    {
        ScriptedServer server(inTurn({redirectTo("/x", status)}));
        const ExchangeResponse response = exchange(get(server), following());
        EXPECT_EQ(response.getStatus(), status);
        EXPECT_TRUE(response.redirectNote().empty());
    }
}

} // namespace
