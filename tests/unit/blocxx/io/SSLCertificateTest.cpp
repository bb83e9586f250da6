#include "TLSGreeting.hpp"
#include "TLSPeers.hpp"
#include "support/ScriptedServer.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <openssl/ssl.h>

#include <string>
#include <vector>

using testing::HasSubstr;
using zol_test::Certificate;
using zol_test::CertificateFields;
using zol_test::ConnectFailure;
using zol_test::failureAt;
using zol_test::greet;
using zol_test::greetingOf;
using zol_test::issue;
using zol_test::ScriptedServer;
using zol_test::testAuthority;
using zol_test::trustingClient;

namespace
{

CertificateFields ofServer()
{
    CertificateFields fields;
    fields.dnsNames = {"server.example"};
    fields.ipAddresses = {"127.0.0.1"};
    return fields;
}

CertificateFields ofAuthority(const std::string& commonName = "middle authority")
{
    CertificateFields fields;
    fields.commonName = commonName;
    fields.isAuthority = true;
    return fields;
}

CertificateFields ofServerNamed(const std::string& name)
{
    CertificateFields fields;
    fields.dnsNames = {name};
    return fields;
}

// A server that sends these certificates, its own first, however weak they are.
ScriptedServer::Options sending(const std::vector<Certificate>& chain)
{
    ScriptedServer::Options options;
    for (const Certificate& certificate : chain)
    {
        options.certificate += certificate.certificatePem();
    }
    options.privateKey = chain.front().keyPem();
    options.adjust = [](SSL_CTX* context) { SSL_CTX_set_security_level(context, 0); };
    return options;
}

void expectAccepted(const std::vector<Certificate>& chain, const std::string& host = "127.0.0.1")
{
    ScriptedServer server(sending(chain), greet);
    EXPECT_EQ(greetingOf(server, trustingClient(), host), "hello") << host;
}

void expectRefused(const std::vector<Certificate>& chain, const std::string& reason,
                   const std::string& host = "127.0.0.1")
{
    ScriptedServer server(sending(chain), greet);
    const ConnectFailure failure = failureAt(server, trustingClient(), host);
    EXPECT_EQ(failure.type, "SSLException") << host;
    EXPECT_THAT(failure.text, HasSubstr(reason));
}

// Below the test authority, the lowest first.
std::vector<Certificate> authorities(int count)
{
    std::vector<Certificate> chain;
    for (int i = 0; i < count; ++i)
    {
        const Certificate& above = chain.empty() ? testAuthority() : chain.front();
        const Certificate made = issue(above, ofAuthority("authority " + std::to_string(i)));
        chain.insert(chain.begin(), made);
    }
    return chain;
}

std::vector<Certificate> below(std::vector<Certificate> chain, const CertificateFields& fields)
{
    const Certificate own = issue(chain.front(), fields);
    chain.insert(chain.begin(), own);
    return chain;
}

// A chain with something in it that is of about that many bytes and leads nowhere.
std::vector<Certificate> chainOf(int bytes)
{
    CertificateFields ballast;
    ballast.comment = std::string(static_cast<std::size_t>(bytes), 'x');
    return {issue(testAuthority(), ofServer()), testAuthority(), zol_test::selfSigned(ballast)};
}

} // namespace

TEST(WeakCertificate, KeyIsRefused)
{
    CertificateFields fields = ofServer();
    fields.rsaBits = 2048;
    expectAccepted({issue(testAuthority(), fields)});
    fields.rsaBits = 1024;
    expectRefused({issue(testAuthority(), fields)}, "EE certificate key too weak");
    CertificateFields weak = ofAuthority();
    weak.rsaBits = 1024;
    expectRefused(below({issue(testAuthority(), weak)}, ofServer()), "CA certificate key too weak");
}

TEST(WeakCertificate, SignatureIsRefused)
{
    CertificateFields issuerFields = ofAuthority();
    issuerFields.rsaBits = 2048;
    const Certificate issuer = issue(testAuthority(), issuerFields);
    expectAccepted(below({issuer}, ofServer()));
    for (const char* digest : {"SHA1", "MD5"})
    {
        CertificateFields fields = ofServer();
        fields.digest = digest;
        expectRefused(below({issuer}, fields), "CA signature digest algorithm too weak");
    }
    issuerFields.digest = "SHA1";
    expectRefused(below({issue(testAuthority(), issuerFields)}, ofServer()), "CA signature digest algorithm too weak");
}

TEST(CertificateChain, MayBeLarge)
{
    expectAccepted(chainOf(95 * 1024));
}

TEST(CertificateChain, ThatIsTooLargeIsRefusedBeforeItIsReadWhole)
{
    expectRefused(chainOf(101 * 1024), "excessive message size");
    expectRefused(chainOf(1024 * 1024), "excessive message size");
}

TEST(CertificateChain, MayBeDeepUpToALimit)
{
    expectAccepted(below(authorities(9), ofServer()));
    expectRefused(below(authorities(10), ofServer()), "certificate chain too long");
}

TEST(CertificateChain, ThroughACertificateThatMayNotSignIsRefused)
{
    CertificateFields fields = ofServer();
    fields.commonName = "no authority";
    expectRefused(below({issue(testAuthority(), fields)}, ofServer()), "invalid CA certificate");
}

TEST(CertificateChain, LongerThanAnAuthorityAllowsIsRefused)
{
    CertificateFields fields = ofAuthority();
    fields.pathLength = 0;
    const Certificate limited = issue(testAuthority(), fields);
    expectAccepted(below({limited}, ofServer()));
    const Certificate lower = issue(limited, ofAuthority("lower authority"));
    expectRefused(below({lower, limited}, ofServer()), "path length constraint exceeded");
}

TEST(CertificateChain, ThatLacksAnIntermediateAuthorityIsRefused)
{
    const std::vector<Certificate> chain = below(authorities(1), ofServer());
    expectAccepted(chain);
    expectRefused({chain.front()}, "unable to get local issuer certificate");
}

TEST(CertificateChain, WithAnAuthorityThatHasExpiredIsRefused)
{
    CertificateFields fields = ofAuthority();
    fields.validFromDays = -10;
    fields.validToDays = -1;
    expectRefused(below({issue(testAuthority(), fields)}, ofServer()), "certificate has expired");
    fields.validFromDays = 2;
    fields.validToDays = 10;
    expectRefused(below({issue(testAuthority(), fields)}, ofServer()), "certificate is not yet valid");
}

TEST(NameConstraints, OfAnAuthorityHold)
{
    struct Row
    {
        const char* constraints;
        const char* host;
        const char* reason; // empty if the certificate is accepted
    };
    const Row rows[] = {
        {"critical,permitted;DNS:example,permitted;IP:127.0.0.0/255.0.0.0", "server.example", ""},
        {"critical,permitted;DNS:elsewhere.example", "server.example", "permitted subtree violation"},
        {"critical,excluded;DNS:server.example", "server.example", "excluded subtree violation"},
        {"critical,excluded;IP:127.0.0.0/255.0.0.0", "127.0.0.1", "excluded subtree violation"},
        // One name that is not allowed refuses the certificate, whatever the name that is asked for.
        {"critical,permitted;DNS:example,permitted;IP:10.0.0.0/255.0.0.0", "server.example",
         "permitted subtree violation"},
    };
    for (const Row& row : rows)
    {
        CertificateFields fields = ofAuthority();
        fields.nameConstraints = row.constraints;
        const std::vector<Certificate> chain = below({issue(testAuthority(), fields)}, ofServer());
        if (*row.reason == '\0')
        {
            expectAccepted(chain, row.host);
        }
        else
        {
            expectRefused(chain, row.reason, row.host);
        }
    }
}

TEST(CertificatePurpose, MustAllowAServer)
{
    CertificateFields fields = ofServer();
    fields.extendedKeyUsage = "serverAuth,clientAuth";
    expectAccepted({issue(testAuthority(), fields)});
    for (const char* usage : {"clientAuth", "emailProtection"})
    {
        fields.extendedKeyUsage = usage;
        expectRefused({issue(testAuthority(), fields)}, "unsuitable certificate purpose");
    }
}

TEST(CertificateName, HasAWildcardAsAWholeFirstLabelOrNotAtAll)
{
    expectAccepted({issue(testAuthority(), ofServerNamed("*.wild.example"))}, "foo.wild.example");
    for (const std::string name : {"*", "*.example", "*.*.example", "f*.wild.example", "*o.wild.example",
                                   "foo.*.example", "foo.wild.*", "*.*", "**.wild.example", "foo.wild.example*"})
    {
        expectRefused({issue(testAuthority(), ofServerNamed(name))}, "hostname mismatch", "foo.wild.example");
    }
    expectRefused({issue(testAuthority(), ofServerNamed("*.example"))}, "hostname mismatch", "foo.example");
    expectRefused({issue(testAuthority(), ofServerNamed("*.0.0.1"))}, "IP address mismatch", "127.0.0.1");
}

TEST(CertificateName, IsComparedAsAWhole)
{
    using namespace std::string_literals;
    for (const std::string& name :
         {"server.example\0.attacker.example"s, "server.example\0"s, "\0server.example"s, " server.example"s,
          "server.example "s, "server. example"s, "server.example,other.example"s, ".server.example"s, "server"s,
          ".example"s, "example"s, ""s, " "s, "a.server.example"s})
    {
        expectRefused({issue(testAuthority(), ofServerNamed(name))}, "hostname mismatch", "server.example");
    }
}

TEST(CertificateName, OfAnInternationalHostIsTheEncodedOne)
{
    expectAccepted({issue(testAuthority(), ofServerNamed("xn--bcher-kva.example"))}, "xn--bcher-kva.example");
    for (const std::string name : {"b\xc3\xbc"
                                   "cher.example",
                                   "b\xfc"
                                   "cher.example",
                                   "xn--*.example"})
    {
        expectRefused({issue(testAuthority(), ofServerNamed(name))}, "hostname mismatch", "xn--bcher-kva.example");
    }
}

TEST(CertificateName, IsNotTheAddressInTheSubject)
{
    CertificateFields fields;
    fields.commonName = "127.0.0.1";
    expectRefused({issue(testAuthority(), fields)}, "IP address mismatch");
}
