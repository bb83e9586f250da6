// Redirects, and what zolget says of those that it does not follow.

#include "Zolget.hpp"
#include "support/ScriptedServer.hpp"

#include <gmock/gmock.h>

#include <string>

using testing::HasSubstr;
using testing::Not;
using zol_test::ScriptedServer;
using zol_test::ServerConnection;
using zolget_test::okResponse;
using zolget_test::Outcome;
using zolget_test::respondingWith;
using zolget_test::urlOf;
using zolget_test::zolget;

namespace
{

std::string redirectTo(const std::string& location)
{
    return "HTTP/1.1 302 Found\r\nLocation: " + location + "\r\nContent-Length: 0\r\n\r\n";
}

/// Redirects every path but /end.
void redirect(ServerConnection& connection)
{
    const bool isEnd = connection.receiveHead().find(" /end ") != std::string::npos;
    connection.send(isEnd ? okResponse("the end") : redirectTo("/end"));
}

} // namespace

TEST(ZolgetRedirect, IsFollowedWhenAsked)
{
    const ScriptedServer server(redirect);
    const Outcome run = zolget({"-L", urlOf(server, "/begin")});
    EXPECT_EQ(run.status, 0) << run.errors;
    EXPECT_EQ(run.output, "the end");
}

TEST(ZolgetRedirect, IsNamedWithItsTargetWhenItIsNotFollowed)
{
    const ScriptedServer server(redirect);
    const Outcome run = zolget({urlOf(server, "/begin")});
    EXPECT_EQ(run.status, 6);
    EXPECT_EQ(run.output, "");
    EXPECT_THAT(run.errors,
                HasSubstr("; it leads to " + urlOf(server, "/end") + "; redirects are not followed without -L"));
}

TEST(ZolgetRedirect, IsNotFollowedForEver)
{
    const ScriptedServer server(respondingWith(redirectTo("/again")));
    const Outcome run = zolget({"-L", urlOf(server)});
    EXPECT_EQ(run.status, 6);
    EXPECT_EQ(server.connections(), 21U);
    EXPECT_THAT(run.errors, HasSubstr("it leads to " + urlOf(server, "/again") + "; it was not followed: "));
    EXPECT_THAT(run.errors, HasSubstr("20"));
}

TEST(ZolgetRedirect, DoesNotCarryCredentialsElsewhere)
{
    const ScriptedServer target(respondingWith(okResponse("elsewhere")));
    const ScriptedServer server(respondingWith(redirectTo(urlOf(target, "/end"))));
    const Outcome run = zolget({"-L", "-u", "me:secret", "-H", "Cookie: a=b", urlOf(server)});
    EXPECT_EQ(run.status, 0) << run.errors;
    EXPECT_EQ(run.output, "elsewhere");
    EXPECT_THAT(server.requests().front(), HasSubstr("\r\nAuthorization: Basic bWU6c2VjcmV0\r\n"));
    EXPECT_THAT(target.requests().front(), Not(HasSubstr("Authorization")));
    EXPECT_THAT(target.requests().front(), Not(HasSubstr("Cookie")));
}

TEST(ZolgetRedirect, NamesATargetThatCannotBeFollowed)
{
    const ScriptedServer server(respondingWith(redirectTo("ftp://host/\x1b[2J")));
    const Outcome run = zolget({"-L", urlOf(server)});
    EXPECT_EQ(run.status, 6);
    EXPECT_THAT(run.errors, HasSubstr("it leads to ftp://host/\\x1b[2J; it was not followed: "));
}

TEST(ZolgetRedirect, MayNameNoTarget)
{
    const ScriptedServer server(respondingWith("HTTP/1.1 302 Found\r\nContent-Length: 0\r\n\r\n"));
    EXPECT_THAT(zolget({urlOf(server)}).errors, HasSubstr("it names no target"));
}
