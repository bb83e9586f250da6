#include "Example.hpp"
#include "support/Certificates.hpp"
#include "support/NginxServer.hpp"
#include "support/ScriptedServer.hpp"
#include "support/TemporaryDirectory.hpp"

#include <gmock/gmock.h>

#include <string>

namespace
{

using namespace examples_test;
using testing::HasSubstr;
using testing::MatchesRegex;
using namespace zol_test;

TEST(DigestBody, ShowsTheDigestThatOpensslShows)
{
    const NginxServer server;
    for (const int size : {0, 1, 1000000})
    {
        const std::string file = server.folder().write("html/file", std::string(static_cast<size_t>(size), 'x'));
        ChildProcess openssl({"openssl", "dgst", "-sha256", "-r", file});
        ASSERT_EQ(openssl.wait(), 0) << openssl.errorOutput();
        EXPECT_EQ(outputOf("digest_body", {urlOf(server, "/file")}), openssl.output().substr(0, 64) + "\n");
    }
}

TEST(DigestBody, HasNoneOfABodyThatIsCutOrMissing)
{
    ScriptedServer cut(respondingWith("HTTP/1.1 200 OK\r\nContent-Length: 10\r\n\r\nbody"));
    const Outcome outcome = run("digest_body", {urlOf(cut)});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.output, "");
    EXPECT_THAT(outcome.errors, HasSubstr("6 bytes before its announced length"));

    const NginxServer server;
    EXPECT_EQ(run("digest_body", {urlOf(server, "/missing")}).errors, "digest_body: HTTP/1.1 404 Not Found\n");
}

TEST(ReadPem, ShowsEveryCertificateOfAText)
{
    CertificateFields fields;
    fields.commonName = "first";
    const std::string first = selfSigned(fields).certificatePem();
    fields.commonName = "second";
    const NginxServer server;
    server.folder().write("html/two.pem", "some words\n" + first + selfSigned(fields).certificatePem());
    EXPECT_THAT(outputOf("read_pem", {urlOf(server, "/two.pem")}),
                MatchesRegex("CN = first, until .* GMT\nCN = second, until .* GMT\n"));
}

TEST(ReadPem, TellsATextThatIsCutOrHoldsNoCertificate)
{
    const std::string text = selfSigned(CertificateFields()).certificatePem();
    const std::string half = text.substr(0, text.size() / 2);
    for (const std::string& body : {std::string("nothing"), half, text.substr(0, 10), text + half})
    {
        ScriptedServer server(respondingWith("HTTP/1.1 200 OK\r\n\r\n" + body));
        const Outcome outcome = run("read_pem", {urlOf(server)});
        EXPECT_EQ(outcome.status, 1);
        EXPECT_THAT(outcome.errors, HasSubstr("no certificate, or not all of it"));
    }
    ScriptedServer cut(respondingWith("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\nffff\r\n" + text));
    EXPECT_EQ(run("read_pem", {urlOf(cut)}).status, 1) << "the certificate is whole, the body is not";
}

} // namespace
