#include "blocxx/TlsFacts.hpp"

#include "Peers.hpp"
#include "TLSPeers.hpp"
#include "support/ScriptedServer.hpp"

#include "blocxx/Socket.hpp"

#include <gtest/gtest.h>
#include <openssl/err.h>
#include <openssl/ssl.h>
#include <openssl/x509.h>

#include <ctime>
#include <regex>
#include <string>

using blocxx::Socket;
using blocxx::SSLClientCtxRef;
using blocxx::TlsFacts;
using zol_test::Certificate;
using zol_test::CertificateFields;
using zol_test::loopback;
using zol_test::ScriptedServer;
using zol_test::ServerConnection;
using zol_test::tlsServer;
using zol_test::trustingClient;
using zol_test::uncheckedClient;

namespace
{

void waitForThePeer(ServerConnection& connection)
{
    connection.waitUntilPeerCloses();
}

TlsFacts factsOf(const ScriptedServer::Options& options, const SSLClientCtxRef& client)
{
    ScriptedServer server(options, waitForThePeer);
    Socket socket(client);
    socket.connect(loopback(server.port()));
    return socket.getTlsFacts().value();
}

/// A server whose own certificate bears a name of three fields, and is valid until a given time.
ScriptedServer::Options serverNamed(const char* organization, int type, const std::string& commonName)
{
    CertificateFields fields;
    fields.ipAddresses = {"127.0.0.1"};
    const Certificate own = zol_test::selfSigned(fields);
    X509_NAME* const name = X509_NAME_new();
    X509_NAME_add_entry_by_txt(name, "O", type, reinterpret_cast<const unsigned char*>(organization), -1, -1, 0);
    X509_NAME_add_entry_by_txt(name, "CN", type, reinterpret_cast<const unsigned char*>(commonName.data()),
                               static_cast<int>(commonName.size()), -1, 0);
    X509_set_subject_name(own.x509.get(), name);
    X509_NAME_free(name);
    ASN1_TIME_set_string_X509(X509_getm_notAfter(own.x509.get()), "20651231235958Z");
    X509_sign(own.x509.get(), own.key.get(), EVP_sha256());
    ScriptedServer::Options options;
    options.certificate = own.certificatePem();
    options.privateKey = own.keyPem();
    return options;
}

int chooseProtocol(SSL*, const unsigned char** chosen, unsigned char* length, const unsigned char* offered,
                   unsigned int, void*)
{
    *length = offered[0];
    *chosen = offered + 1;
    return SSL_TLSEXT_ERR_OK;
}

} // namespace

TEST(TlsFacts, TellVersionCipherAndCertificate)
{
    ScriptedServer::Options options = tlsServer();
    options.adjust = [](SSL_CTX* context) { SSL_CTX_set_ciphersuites(context, "TLS_AES_128_GCM_SHA256"); };
    const TlsFacts facts = factsOf(options, trustingClient());
    EXPECT_EQ(facts.version, "TLSv1.3");
    EXPECT_EQ(facts.cipher, "TLS_AES_128_GCM_SHA256");
    EXPECT_EQ(facts.subject, "CN=test");
    EXPECT_EQ(facts.issuer, "CN=test authority");
    EXPECT_TRUE(std::regex_match(facts.notAfter.c_str(), std::regex("20\\d\\d-\\d\\d-\\d\\dT\\d\\d:\\d\\d:\\d\\dZ")))
        << facts.notAfter.c_str();
    EXPECT_EQ(facts.applicationProtocol, "");
}

TEST(TlsFacts, TellAnOlderVersion)
{
    ScriptedServer::Options options = tlsServer();
    options.adjust = [](SSL_CTX* context) { SSL_CTX_set_max_proto_version(context, TLS1_2_VERSION); };
    EXPECT_EQ(factsOf(options, trustingClient()).version, "TLSv1.2");
}

TEST(TlsFacts, TellTheEndOfTheValidityInUniversalTime)
{
    EXPECT_EQ(factsOf(serverNamed("Example", MBSTRING_ASC, "test"), uncheckedClient()).notAfter,
              "2065-12-31T23:59:58Z");
}

TEST(TlsFacts, WriteNamesInPrintableASCII)
{
    const TlsFacts facts =
        factsOf(serverNamed("J\xc3\xb6rg, \"Sons\"", MBSTRING_UTF8, "a\x1b[31m\nb\xc2\x9b"), uncheckedClient());
    EXPECT_EQ(facts.subject, "CN=a\\1B[31m\\0Ab\\C2\\9B,O=J\\C3\\B6rg\\, \\\"Sons\\\"");
}

TEST(TlsFacts, TellTheApplicationProtocol)
{
    ScriptedServer::Options options = tlsServer();
    options.adjust = [](SSL_CTX* context) { SSL_CTX_set_alpn_select_cb(context, chooseProtocol, nullptr); };
    const SSLClientCtxRef client = trustingClient();
    ASSERT_EQ(SSL_CTX_set_alpn_protos(client->getSSLCtx(), reinterpret_cast<const unsigned char*>("\x08http/1.1"), 9),
              0);
    EXPECT_EQ(factsOf(options, client).applicationProtocol, "http/1.1");
    const SSLClientCtxRef odd = trustingClient();
    ASSERT_EQ(SSL_CTX_set_alpn_protos(odd->getSSLCtx(), reinterpret_cast<const unsigned char*>("\x03h\x1b\x9b"), 4), 0);
    EXPECT_EQ(factsOf(options, odd).applicationProtocol, "h??");
}

TEST(TlsFacts, AreThereWhileATLSSocketIsConnected)
{
    ScriptedServer server(tlsServer(), waitForThePeer);
    Socket socket(trustingClient());
    EXPECT_FALSE(socket.getTlsFacts());
    socket.connect(loopback(server.port()));
    EXPECT_TRUE(socket.getTlsFacts());
    EXPECT_EQ(ERR_peek_error(), 0U);
    socket.disconnect();
    EXPECT_FALSE(socket.getTlsFacts());
}

TEST(TlsFacts, OfAPlainSocketDoNotExist)
{
    ScriptedServer server(waitForThePeer);
    Socket socket;
    socket.connect(loopback(server.port()));
    EXPECT_FALSE(socket.getTlsFacts());
}
