// What zolget -v shows.

#include "Zolget.hpp"
#include "support/Certificates.hpp"
#include "support/ScriptedServer.hpp"
#include "support/TemporaryDirectory.hpp"

#include <gmock/gmock.h>

#include <string>

using testing::ContainsRegex;
using testing::HasSubstr;
using testing::Not;
using zol_test::ScriptedServer;
using zolget_test::okResponse;
using zolget_test::Outcome;
using zolget_test::respondingWith;
using zolget_test::urlOf;
using zolget_test::zolget;

TEST(ZolgetTrace, ShowsTheHeadsAndTheAddress)
{
    const ScriptedServer server(respondingWith(okResponse("body")));
    const Outcome run = zolget({"-v", "-H", "X-A: 1", urlOf(server, "/page")});
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.output, "body");
    EXPECT_THAT(run.errors, HasSubstr("> GET /page HTTP/1.1\n> Host: " + server.address() + "\n"));
    EXPECT_THAT(run.errors, HasSubstr("> X-A: 1\n"));
    EXPECT_THAT(run.errors, HasSubstr("- connected to " + server.address() + "\n"));
    EXPECT_THAT(run.errors, HasSubstr("< HTTP/1.1 200 OK\n< Content-Type: text/plain\n< Content-Length: 4\n"));
}

TEST(ZolgetTrace, HidesCredentials)
{
    const ScriptedServer server(respondingWith("HTTP/1.1 200 OK\r\nSet-Cookie: id=topsecret\r\n\r\n"));
    for (const char* verbosity : {"-v", "-vv", "-vvv"})
    {
        const Outcome run = zolget({verbosity, "-u", "me:topsecret", "-H", "Cookie: id=topsecret", "-H",
                                    "proxy-authorization: topsecret", urlOf(server)});
        EXPECT_EQ(run.status, 0) << run.errors;
        EXPECT_THAT(run.errors, HasSubstr("> Authorization: ***\n"));
        EXPECT_THAT(run.errors, HasSubstr("> Cookie: ***\n"));
        EXPECT_THAT(run.errors, HasSubstr("< Set-Cookie: ***\n"));
        EXPECT_THAT(run.errors, Not(HasSubstr("topsecret")));
        EXPECT_THAT(run.errors, Not(HasSubstr("bWU6dG9wc2VjcmV0")));
    }
    EXPECT_THAT(server.requests().front(), HasSubstr("\r\nAuthorization: Basic bWU6dG9wc2VjcmV0\r\n"));
}

TEST(ZolgetTrace, ShowsTls)
{
    const zol_test::TemporaryDirectory folder;
    const zol_test::Certificate authority = zol_test::makeAuthority();
    zol_test::CertificateFields fields;
    fields.ipAddresses = {"127.0.0.1"};
    const zol_test::Certificate own = zol_test::issue(authority, fields);
    ScriptedServer::Options options;
    options.certificate = own.certificatePem();
    options.privateKey = own.keyPem();
    const ScriptedServer server(options, respondingWith(okResponse("secure")));
    const Outcome run =
        zolget({"-v", "--ca", folder.write("ca.pem", authority.certificatePem()), "https://" + server.address() + "/"});
    EXPECT_EQ(run.status, 0) << run.errors;
    EXPECT_THAT(run.errors, ContainsRegex("\n- TLSv1\\.[23], [A-Z0-9_-]+\n"));
    EXPECT_THAT(run.errors, ContainsRegex("\n- certificate of CN=.*, issued by CN=.*, valid until [0-9]{4}-"));
}

TEST(ZolgetTrace, ShowsTheHeadsOfRedirectsAndInterimResponses)
{
    const ScriptedServer server(
        [](zol_test::ServerConnection& connection)
        {
            const bool isEnd = connection.receiveHead().find(" /end ") != std::string::npos;
            connection.send(isEnd ? okResponse("") : "HTTP/1.1 301 Moved\r\nLocation: /end\r\n\r\n");
        });
    EXPECT_THAT(zolget({"-v", "-L", urlOf(server)}).errors,
                ContainsRegex("< HTTP/1.1 301 Moved\n< Location: /end\n- connected to .*\n> GET /end HTTP/1.1\n"));
    const ScriptedServer early(respondingWith("HTTP/1.1 103 Early Hints\r\nLink: x\r\n\r\n" + okResponse("")));
    EXPECT_THAT(zolget({"-v", urlOf(early)}).errors,
                HasSubstr("< HTTP/1.1 103 Early Hints\n< Link: x\n< HTTP/1.1 200"));
}

namespace
{

/// Whether a terminal could take a part of the text for a command.
bool hasControls(const std::string& text)
{
    for (std::size_t index = 0; index < text.size(); ++index)
    {
        const auto byte = static_cast<unsigned char>(text[index]);
        if ((byte < 0x20 && byte != '\n') || byte == 0x7f || (byte >= 0x80 && byte < 0xa0))
        {
            return true;
        }
    }
    return false;
}

const std::string CONTROLS = "\x1b]0;x\x07 \x7f \x9b"
                             "2J \xc2\x9b"
                             "2J \xc2\x85 \b \v";

} // namespace

TEST(ZolgetTerminal, GetsNothingUnescapedFromHeads)
{
    const ScriptedServer server(respondingWith("HTTP/1.1 200 " + CONTROLS + "\r\nX-A: " + CONTROLS +
                                               "\r\nX-B: a\tb\r\nContent-Length: 0\r\n\r\n"));
    const Outcome run = zolget({"-i", "-vvv", urlOf(server)});
    EXPECT_EQ(run.status, 0) << run.errors;
    EXPECT_FALSE(hasControls(run.output)) << run.output;
    EXPECT_FALSE(hasControls(run.errors)) << run.errors;
    EXPECT_THAT(run.output, HasSubstr("X-A: \\x1b]0;x\\x07 \\x7f \\x9b2J \\xc2\\x9b2J"));
    EXPECT_THAT(run.errors, HasSubstr("< X-A: \\x1b]0;x\\x07 \\x7f \\x9b2J \\xc2\\x9b2J"));
}

TEST(ZolgetTerminal, GetsNothingUnescapedFromMessages)
{
    for (const std::string& response : {"HTTP/1.1 404 " + CONTROLS + "\r\n\r\n",
                                        "HTTP/1.1 302 Found\r\nLocation: http://x y/" + CONTROLS + "\r\n\r\n",
                                        CONTROLS + "\r\n\r\n", "HTTP/1.1 200 OK\r\n" + CONTROLS + "\r\n\r\n",
                                        "HTTP/1.1 200 OK\r\nTransfer-Encoding: " + CONTROLS + "\r\n\r\n",
                                        "HTTP/1.1 200 OK\r\nContent-Length: " + CONTROLS + "\r\n\r\n",
                                        "HTTP/1.1 200 OK\r\nContent-Type: multipart/" + CONTROLS + "\r\n\r\n"})
    {
        const ScriptedServer server(respondingWith(response));
        const Outcome run = zolget({"-vvv", urlOf(server)});
        EXPECT_NE(run.status, 0) << response;
        EXPECT_FALSE(hasControls(run.errors)) << run.errors;
    }
}

TEST(ZolgetTerminal, GetsNothingUnescapedFromTheTableOfParts)
{
    const zol_test::TemporaryDirectory folder;
    const ScriptedServer server(respondingWith("HTTP/1.1 200 OK\r\nContent-Type: text/" + CONTROLS + "\r\n\r\nbody"));
    const Outcome run = zolget({"--parts", folder.path().string(), urlOf(server)});
    EXPECT_EQ(run.status, 0) << run.errors;
    EXPECT_FALSE(hasControls(run.output)) << run.output;
}

TEST(ZolgetTerminal, GetsBodiesAsTheyAre)
{
    const ScriptedServer server(respondingWith(okResponse(CONTROLS)));
    EXPECT_EQ(zolget({urlOf(server)}).output, CONTROLS);
}
