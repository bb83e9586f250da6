#include "Fetch.hpp"
#include "Trust.hpp"
#include "support/Certificates.hpp"
#include "support/NginxServer.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace
{

using namespace ZOLNS2;
using namespace zol_integration;
using testing::HasSubstr;
using zol_test::Certificate;
using zol_test::NginxServer;

class NginxTls : public testing::Test
{
protected:
    Certificate m_authority = zol_test::makeAuthority();

    NginxServer::Options options(const zol_test::CertificateFields& fields, const std::string& more = "")
    {
        const Certificate own = zol_test::issue(m_authority, fields);
        NginxServer::Options options;
        options.certificate = own.certificatePem();
        options.privateKey = own.keyPem();
        options.server = "location = /name { return 200 $ssl_server_name; }\n"
                         "location = /protocol { return 200 $ssl_protocol; }\n"
                         "location = /echo { echo one; echo_flush; echo two; }\n"
                         "location /stored/ { dav_methods PUT; }\n" +
                         more;
        return options;
    }

    static zol_test::CertificateFields forLoopback()
    {
        zol_test::CertificateFields fields;
        fields.dnsNames = {"localhost"};
        fields.ipAddresses = {"127.0.0.1"};
        return fields;
    }

    Ask ask(const std::string& target) const
    {
        Ask result;
        result.target = target;
        result.tls = trusting(m_authority);
        return result;
    }
};

TEST_F(NginxTls, FilesOfEverySizeArriveWhole)
{
    const NginxServer server(options(forLoopback()));
    for (const std::size_t size : {0U, 1U, 16384U, 16385U, 1U << 20})
    {
        SCOPED_TRACE(size);
        const std::string content = pattern(size);
        server.folder().write("html/file.bin", content);
        EXPECT_EQ(bodyOf(fetch(server.tlsPort(), ask("/file.bin"))), content);
    }
}

TEST_F(NginxTls, AGibibyteStreams)
{
    const NginxServer server(options(forLoopback()));
    const std::uint64_t size = std::uint64_t(1) << 30;
    server.folder().writeSparse("html/big.bin", size);
    EXPECT_EQ(pull(fetch(server.tlsPort(), ask("/big.bin")).getNextPart(), [](std::string_view) {}), size);
}

TEST_F(NginxTls, ChunksAreDecoded)
{
    const NginxServer server(options(forLoopback()));
    EXPECT_EQ(bodyOf(fetch(server.tlsPort(), ask("/echo"))), "one\ntwo\n");
}

TEST_F(NginxTls, TheEndOfTheConnectionEndsTheBodyInOrder)
{
    const NginxServer server(options(forLoopback()));
    Ask older = ask("/echo");
    older.version = HTTP::HTTP_1_0;
    HTTP::Response response = fetch(server.tlsPort(), older);
    const Body body = readBody(response.getNextPart());
    EXPECT_EQ(body.bytes, "one\ntwo\n");
    EXPECT_TRUE(body.ended);
    EXPECT_TRUE(body.complete);
}

TEST_F(NginxTls, UploadsArriveWhole)
{
    const NginxServer server(options(forLoopback()));
    const std::string content = pattern(2000000);
    Ask put = ask("/stored/file.bin").with("Content-Length", std::to_string(content.size()));
    put.method = "PUT";
    put.content = MIME::ContentRef(new MIME::ApplicationOctetStreamContent(content.data(), content.size()));
    server.folder().write("html/stored/keep", "");
    EXPECT_EQ(fetch(server.tlsPort(), put).statusLine.statusCode, 201);
    EXPECT_EQ(zol_test::readFile(server.folder().file("html/stored/file.bin")), content);
}

TEST_F(NginxTls, TheServerLearnsTheNameThatIsAskedFor)
{
    const NginxServer server(options(forLoopback()));
    EXPECT_EQ(bodyOf(fetch("localhost:" + std::to_string(server.tlsPort()), ask("/name"))), "localhost");
    EXPECT_EQ(bodyOf(fetch(server.tlsPort(), ask("/name"))), "") << "an address is not a server name";
}

TEST_F(NginxTls, TheNewestProtocolIsSpoken)
{
    const NginxServer server(options(forLoopback(), "ssl_protocols TLSv1.2 TLSv1.3;"));
    EXPECT_EQ(bodyOf(fetch(server.tlsPort(), ask("/protocol"))), "TLSv1.3");
}

TEST_F(NginxTls, TheOldestProtocolThatIsSpokenIsTwelve)
{
    const NginxServer twelve(options(forLoopback(), "ssl_protocols TLSv1.2;"));
    EXPECT_EQ(bodyOf(fetch(twelve.tlsPort(), ask("/protocol"))), "TLSv1.2");
    const NginxServer eleven(options(forLoopback(), "ssl_protocols TLSv1.1; ssl_ciphers ALL:@SECLEVEL=0;"));
    const Refusal refusal = refusalOf([&] { fetch(eleven.tlsPort(), ask("/protocol")); });
    EXPECT_EQ(refusal.type, "SSLException");
    EXPECT_THAT(refusal.message, HasSubstr("127.0.0.1"));
}

TEST_F(NginxTls, AnAuthorityThatIsNotTrustedIsRefused)
{
    const NginxServer server(options(forLoopback()));
    Ask untrusting = ask("/");
    untrusting.tls = trusting(zol_test::makeAuthority("another authority"));
    const Refusal refusal = refusalOf([&] { fetch(server.tlsPort(), untrusting); });
    EXPECT_EQ(refusal.type, "SSLException");
    EXPECT_THAT(refusal.message, HasSubstr("127.0.0.1"));
    EXPECT_THAT(refusal.message, HasSubstr("unable to get local issuer certificate"));
}

TEST_F(NginxTls, ANameThatIsNotInTheCertificateIsRefused)
{
    zol_test::CertificateFields fields;
    fields.dnsNames = {"elsewhere.test"};
    const NginxServer server(options(fields));
    const Refusal byName = refusalOf([&] { fetch("localhost:" + std::to_string(server.tlsPort()), ask("/")); });
    EXPECT_EQ(byName.type, "SSLException");
    EXPECT_THAT(byName.message, HasSubstr("localhost"));
    EXPECT_THAT(byName.message, HasSubstr("hostname mismatch"));
    const Refusal byAddress = refusalOf([&] { fetch(server.tlsPort(), ask("/")); });
    EXPECT_EQ(byAddress.type, "SSLException");
    EXPECT_THAT(byAddress.message, HasSubstr("IP address mismatch"));
}

TEST_F(NginxTls, PlainTextToATlsPortIsRefused)
{
    const NginxServer server(options(forLoopback()));
    Ask plain = ask("/");
    plain.tls = blocxx::SSLClientCtxRef();
    EXPECT_EQ(refusalOf([&] { fetch(server.tlsPort(), plain); }).code, 400);
}

TEST_F(NginxTls, TlsToAPlainPortIsRefused)
{
    const NginxServer server(options(forLoopback()));
    EXPECT_EQ(refusalOf([&] { fetch(server.port(), ask("/")); }).type, "SSLException");
}

} // namespace
