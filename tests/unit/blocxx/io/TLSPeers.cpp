#include "TLSPeers.hpp"

namespace zol_test
{

const Certificate& testAuthority()
{
    static const Certificate authority = makeAuthority();
    return authority;
}

const Certificate& serverCertificate()
{
    static const Certificate certificate = []
    {
        CertificateFields fields;
        fields.dnsNames = {"server.example", "*.wild.example"};
        fields.ipAddresses = {"127.0.0.1", "::1"};
        return issue(testAuthority(), fields);
    }();
    return certificate;
}

ScriptedServer::Options tlsServer(const Certificate& certificate, const Certificate& issuer)
{
    ScriptedServer::Options options;
    options.certificate = certificate.certificatePem() + issuer.certificatePem();
    options.privateKey = certificate.keyPem();
    return options;
}

ScriptedServer::Options tlsServer()
{
    return tlsServer(serverCertificate());
}

blocxx::SSLClientCtxRef clientTrusting(const Certificate& authority)
{
    blocxx::SSLOpts opts;
    opts.inMemoryTrustStore.push_back(authority.x509.get());
    return new blocxx::SSLClientCtx(opts);
}

blocxx::SSLClientCtxRef trustingClient()
{
    return clientTrusting(testAuthority());
}

blocxx::SSLClientCtxRef uncheckedClient()
{
    blocxx::SSLOpts opts;
    opts.verifyMode = blocxx::SSLOpts::MODE_DISABLED;
    return new blocxx::SSLClientCtx(opts);
}

} // namespace zol_test
