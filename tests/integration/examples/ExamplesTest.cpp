#include "Example.hpp"
#include "support/Certificates.hpp"
#include "support/ScriptedServer.hpp"
#include "support/TemporaryDirectory.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

namespace
{

using testing::HasSubstr;
using testing::MatchesRegex;
using namespace zol_test;
using examples_test::example;

TEST(DigestMultipart, PrintsTheDigestThatOpensslPrints)
{
    const TemporaryDirectory directory;
    ChildProcess digest = example("digest_multipart", {directory.write("a", "some text\r\n"), directory.write("b", ""),
                                                       directory.writeSparse("c", 1000000)});
    ASSERT_EQ(digest.wait(), 0) << digest.errorOutput();
    EXPECT_THAT(digest.output(), HasSubstr("\r\n\r\nsome text\r\n\r\n--"));

    ChildProcess openssl({"openssl", "dgst", "-sha256", "-r", directory.write("body", digest.output())});
    ASSERT_EQ(openssl.wait(), 0) << openssl.errorOutput();
    EXPECT_EQ(digest.errorOutput(), openssl.output().substr(0, 64) + "\n");
}

TEST(DigestMultipart, RefusesAFolder)
{
    const TemporaryDirectory directory;
    ChildProcess digest = example("digest_multipart", {directory.path().string()});
    EXPECT_EQ(digest.wait(), 1);
    EXPECT_EQ(digest.errorOutput(), "digest_multipart: cannot open " + directory.path().string() + "\n");
}

TEST(DigestMultipart, NamesAMissingFile)
{
    ChildProcess digest = example("digest_multipart", {"/nonexistent/file"});
    EXPECT_EQ(digest.wait(), 1);
    EXPECT_EQ(digest.errorOutput(), "digest_multipart: cannot open /nonexistent/file\n");
}

TEST(ReadPem, PrintsEveryCertificateOfAFetchedText)
{
    CertificateFields fields;
    fields.commonName = "first";
    const std::string first = selfSigned(fields).certificatePem();
    fields.commonName = "second";
    const std::string text = "some words\n" + first + selfSigned(fields).certificatePem();
    ScriptedServer server(respondingWith("HTTP/1.1 200 OK\r\nContent-Type: application/x-pem-file\r\n\r\n" + text));
    ChildProcess pem = example("read_pem", {server.address(), "/"});
    EXPECT_EQ(pem.wait(), 0) << pem.errorOutput();
    EXPECT_THAT(pem.output(), MatchesRegex("CN = first, until .* GMT\nCN = second, until .* GMT\n"));
}

TEST(ReadPem, ReportsATextThatIsCutOrHoldsNoCertificate)
{
    const std::string text = selfSigned(CertificateFields()).certificatePem();
    for (const std::string& body : {std::string("nothing"), text.substr(0, text.size() / 2), text.substr(0, 10)})
    {
        ScriptedServer server(respondingWith("HTTP/1.1 200 OK\r\n\r\n" + body));
        ChildProcess pem = example("read_pem", {server.address(), "/"});
        EXPECT_EQ(pem.wait(), 1);
        EXPECT_THAT(pem.errorOutput(), HasSubstr("no certificate, or not all of it"));
    }
    ScriptedServer cut(respondingWith("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\nffff\r\n" + text));
    ChildProcess pem = example("read_pem", {cut.address(), "/"});
    EXPECT_EQ(pem.wait(), 1) << "the certificate is whole, the body is not";
}

} // namespace
