#include "TLSGreeting.hpp"
#include "TLSPeers.hpp"
#include "support/ScriptedServer.hpp"
#include "support/TemporaryDirectory.hpp"

#include "blocxx/SSLCtxMgr.hpp"
#include "blocxx/Socket.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <openssl/ssl.h>

#include <cstdlib>
#include <string>

using blocxx::Socket;
using blocxx::SocketAddress;
using blocxx::SSLClientCtx;
using blocxx::SSLOpts;
using testing::AllOf;
using testing::HasSubstr;
using zol_test::Certificate;
using zol_test::CertificateFields;
using zol_test::ConnectFailure;
using zol_test::failureAt;
using zol_test::greet;
using zol_test::greetingOf;
using zol_test::readUpTo;
using zol_test::ScriptedServer;
using zol_test::serverCertificate;
using zol_test::testAuthority;
using zol_test::tlsServer;
using zol_test::trustingClient;
using zol_test::uncheckedClient;

namespace
{

void expectVerifyFailure(const ConnectFailure& failure, const std::string& host, const std::string& reason)
{
    EXPECT_EQ(failure.type, "SSLException");
    EXPECT_THAT(failure.text, HasSubstr("SSL connect error: certificate verify failed for " + host + " (127.0.0.1:"));
    EXPECT_THAT(failure.text, HasSubstr(": " + reason + "; "));
}

Certificate certificateFor(const CertificateFields& fields)
{
    return zol_test::issue(testAuthority(), fields);
}

} // namespace

TEST(SSLVerification, NameOfTheCertificateIsAccepted)
{
    ScriptedServer server(tlsServer(), greet);
    EXPECT_EQ(greetingOf(server, trustingClient(), "server.example"), "hello");
    EXPECT_EQ(greetingOf(server, trustingClient(), "SERVER.example"), "hello");
    EXPECT_EQ(greetingOf(server, trustingClient(), "server.example."), "hello");
    EXPECT_EQ(greetingOf(server, trustingClient(), "any.wild.example"), "hello");
}

TEST(SSLVerification, AnotherNameIsRefused)
{
    ScriptedServer server(tlsServer(), greet);
    for (const std::string host : {"other.example", "a.b.wild.example", "wild.example"})
    {
        const ConnectFailure failure = failureAt(server, trustingClient(), host);
        expectVerifyFailure(failure, host, "hostname mismatch");
        EXPECT_THAT(failure.text, HasSubstr("ask for the host by a name that its certificate carries"));
    }
}

TEST(SSLVerification, NameThatBeginsWithADotStandsForNoOther)
{
    ScriptedServer server(tlsServer(), greet);
    for (const std::string host : {".wild.example", ".example"})
    {
        const ConnectFailure failure = failureAt(server, trustingClient(), host);
        EXPECT_EQ(failure.type, "SSLException") << host;
    }
    EXPECT_THAT(failureAt(server, trustingClient(), ".wild.example").text,
                HasSubstr("SSL connect error: not a host name for TLS: .wild.example"));
}

TEST(SSLVerification, AddressOfTheCertificateIsAcceptedInEveryForm)
{
    ScriptedServer server(tlsServer(), greet);
    EXPECT_EQ(greetingOf(server, trustingClient(), "127.0.0.1"), "hello");
    EXPECT_EQ(greetingOf(server, trustingClient(), "127.1"), "hello");

    ScriptedServer::Options six = tlsServer();
    six.ipv6 = true;
    ScriptedServer sixServer(six, greet);
    Socket socket(trustingClient());
    socket.connect(SocketAddress::getByName("::1", sixServer.port()));
    EXPECT_EQ(readUpTo(socket, 5), "hello");
}

TEST(SSLVerification, AnotherAddressIsRefused)
{
    CertificateFields fields;
    fields.ipAddresses = {"127.0.0.2"};
    ScriptedServer server(tlsServer(certificateFor(fields)), greet);
    expectVerifyFailure(failureAt(server, trustingClient()), "127.0.0.1", "IP address mismatch");
}

TEST(SSLVerification, AddressAmongTheNamesDoesNotCount)
{
    CertificateFields fields;
    fields.dnsNames = {"127.0.0.1"};
    ScriptedServer server(tlsServer(certificateFor(fields)), greet);
    expectVerifyFailure(failureAt(server, trustingClient()), "127.0.0.1", "IP address mismatch");
}

TEST(SSLVerification, SubjectDoesNotNameAHost)
{
    CertificateFields fields;
    fields.commonName = "server.example";
    ScriptedServer server(tlsServer(certificateFor(fields)), greet);
    expectVerifyFailure(failureAt(server, trustingClient(), "server.example"), "server.example", "hostname mismatch");
}

TEST(SSLVerification, ExpiredAndFutureCertificatesAreRefused)
{
    CertificateFields fields;
    fields.ipAddresses = {"127.0.0.1"};
    fields.validFromDays = -10;
    fields.validToDays = -1;
    ScriptedServer expired(tlsServer(certificateFor(fields)), greet);
    const ConnectFailure failure = failureAt(expired, trustingClient());
    expectVerifyFailure(failure, "127.0.0.1", "certificate has expired");
    EXPECT_THAT(failure.text, HasSubstr("check this machine's clock"));
    fields.validFromDays = 2;
    fields.validToDays = 10;
    ScriptedServer future(tlsServer(certificateFor(fields)), greet);
    expectVerifyFailure(failureAt(future, trustingClient()), "127.0.0.1", "certificate is not yet valid");
}

TEST(SSLVerification, UntrustedIssuerIsRefusedAndTheTextSaysWhatToDo)
{
    const Certificate stranger = zol_test::makeAuthority("stranger");
    CertificateFields fields;
    fields.ipAddresses = {"127.0.0.1"};
    ScriptedServer server(tlsServer(zol_test::issue(stranger, fields), stranger), greet);
    const ConnectFailure failure = failureAt(server, trustingClient());
    expectVerifyFailure(failure, "127.0.0.1", "self-signed certificate in certificate chain");
    EXPECT_THAT(failure.text, AllOf(HasSubstr("SSLOpts::trustStore"), HasSubstr("SSLOpts::inMemoryTrustStore")));
}

TEST(SSLVerification, SelfSignedCertificateIsRefusedUnlessItIsTrustedItself)
{
    CertificateFields fields;
    fields.ipAddresses = {"127.0.0.1"};
    const Certificate own = zol_test::selfSigned(fields);
    ScriptedServer::Options options;
    options.certificate = own.certificatePem();
    options.privateKey = own.keyPem();
    ScriptedServer server(options, greet);
    expectVerifyFailure(failureAt(server, trustingClient()), "127.0.0.1", "self-signed certificate");
    EXPECT_EQ(greetingOf(server, zol_test::clientTrusting(own), "127.0.0.1"), "hello");
}

TEST(SSLVerification, TrustedCertificateNeedNotBeARoot)
{
    ScriptedServer server(tlsServer(), greet);
    EXPECT_EQ(greetingOf(server, zol_test::clientTrusting(serverCertificate()), "127.0.0.1"), "hello");
}

TEST(SSLVerification, DisabledAcceptsAnything)
{
    CertificateFields fields;
    fields.validFromDays = -10;
    fields.validToDays = -1;
    const Certificate own = zol_test::selfSigned(fields);
    ScriptedServer::Options options;
    options.certificate = own.certificatePem();
    options.privateKey = own.keyPem();
    ScriptedServer server(options, greet);
    EXPECT_EQ(greetingOf(server, uncheckedClient(), "any.example"), "hello");
}

TEST(SSLVerification, OptionalAndAutoupdateVerifyAsRequiredDoes)
{
    const Certificate stranger = zol_test::makeAuthority("stranger");
    ScriptedServer server(tlsServer(), greet);
    for (const auto mode : {SSLOpts::MODE_OPTIONAL, SSLOpts::MODE_AUTOUPDATE})
    {
        SSLOpts opts;
        opts.verifyMode = mode;
        opts.inMemoryTrustStore.push_back(testAuthority().x509.get());
        EXPECT_EQ(greetingOf(server, new SSLClientCtx(opts), "127.0.0.1"), "hello");
        SSLOpts distrusting;
        distrusting.verifyMode = mode;
        distrusting.inMemoryTrustStore.push_back(stranger.x509.get());
        EXPECT_EQ(failureAt(server, new SSLClientCtx(distrusting)).type, "SSLException");
    }
}

TEST(SSLVerification, TrustStoreMayBeAFile)
{
    const zol_test::TemporaryDirectory folder;
    SSLOpts opts;
    opts.trustStore = folder.write("trust.pem", testAuthority().certificatePem());
    ScriptedServer server(tlsServer(), greet);
    EXPECT_EQ(greetingOf(server, new SSLClientCtx(opts), "127.0.0.1"), "hello");
}

TEST(SSLVerification, TrustStoreMayBeADirectory)
{
    const zol_test::TemporaryDirectory folder;
    char hash[32];
    std::snprintf(hash, sizeof hash, "%08lx.0",
                  X509_NAME_hash_ex(X509_get_subject_name(testAuthority().x509.get()), nullptr, nullptr, nullptr));
    folder.write(hash, testAuthority().certificatePem());
    SSLOpts opts;
    opts.trustStore = folder.path().string();
    ScriptedServer server(tlsServer(), greet);
    EXPECT_EQ(greetingOf(server, new SSLClientCtx(opts), "127.0.0.1"), "hello");
}

TEST(SSLVerification, SystemsStoreIsTrustedOnlyWhenNoOtherIsNamed)
{
    // OpenSSL's variable for the system's store.
    const zol_test::TemporaryDirectory folder;
    ::setenv("SSL_CERT_FILE", folder.write("trust.pem", testAuthority().certificatePem()).c_str(), 1);
    ScriptedServer server(tlsServer(), greet);
    EXPECT_EQ(greetingOf(server, new SSLClientCtx, "127.0.0.1"), "hello");

    const Certificate stranger = zol_test::makeAuthority("stranger");
    expectVerifyFailure(failureAt(server, zol_test::clientTrusting(stranger)), "127.0.0.1",
                        "self-signed certificate in certificate chain");
    ::unsetenv("SSL_CERT_FILE");
}
