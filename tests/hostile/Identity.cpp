#include "Identity.hpp"

#include "Signing.hpp"

namespace hostile
{

namespace
{

Fields authorityFields(const char* name = "hostile authority")
{
    Fields fields;
    fields.name = name;
    fields.isAuthority = true;
    return fields;
}

Identity identityOf(const Signed& authority, const Signed& server)
{
    return {pemOf(server), keyPemOf(server), pemOf(authority), ""};
}

/// Of a name of its own, as a client may trust several.
Fields anAuthority()
{
    static int count = 0;
    return authorityFields(("hostile authority " + std::to_string(++count)).c_str());
}

Identity issued(const Fields& fields)
{
    const Signed authority = make(nullptr, anAuthority());
    return identityOf(authority, make(&authority, fields));
}

/// A server below an intermediate authority, which it shows.
Identity below(const Fields& rootFields, const Fields& intermediateFields, const Fields& fields = Fields())
{
    const Signed root = make(nullptr, rootFields);
    const Signed intermediate = make(&root, intermediateFields);
    const Signed server = make(&intermediate, fields);
    Identity identity = identityOf(root, server);
    identity.chain += pemOf(intermediate);
    return identity;
}

} // namespace

Identity soundIdentity()
{
    return issued(Fields());
}

Identity selfSignedIdentity()
{
    return identityOf(make(nullptr, authorityFields()), make(nullptr, Fields()));
}

Identity unknownIssuerIdentity()
{
    Identity identity = soundIdentity();
    identity.authority = pemOf(make(nullptr, authorityFields("another authority")));
    return identity;
}

Identity expiredIdentity()
{
    Fields fields;
    fields.firstDay = -30;
    fields.lastDay = -1;
    return issued(fields);
}

Identity futureIdentity()
{
    Fields fields;
    fields.firstDay = 1;
    return issued(fields);
}

Identity otherNameIdentity()
{
    Fields fields;
    fields.alternativeNames = "DNS:other.example";
    return issued(fields);
}

Identity otherAddressIdentity()
{
    Fields fields;
    fields.alternativeNames = "IP:127.0.0.2";
    return issued(fields);
}

Identity namedBySubjectIdentity()
{
    Fields fields;
    fields.alternativeNames.clear();
    return issued(fields);
}

Identity nameForAnAddressIdentity()
{
    Fields fields;
    fields.alternativeNames = "DNS:127.0.0.1";
    return issued(fields);
}

Identity wildcardAddressIdentity()
{
    Fields fields;
    fields.alternativeNames = "DNS:*.0.0.1,DNS:*";
    return issued(fields);
}

Identity nulInNameIdentity()
{
    Fields fields;
    fields.alternativeNames = NAME_WITH_NUL;
    return issued(fields);
}

Identity missingIntermediateIdentity()
{
    Identity identity = soundIntermediateIdentity();
    const std::string end = "-----END CERTIFICATE-----\n";
    identity.chain.resize(identity.chain.find(end) + end.size());
    return identity;
}

Identity soundIntermediateIdentity()
{
    return below(authorityFields(), authorityFields("intermediate"));
}

Identity expiredIntermediateIdentity()
{
    Fields fields = authorityFields("intermediate");
    fields.firstDay = -30;
    fields.lastDay = -1;
    return below(authorityFields(), fields);
}

Identity leafAsAuthorityIdentity()
{
    Fields fields;
    fields.name = "a server like any other";
    return below(authorityFields(), fields);
}

Identity pathTooLongIdentity()
{
    Fields root = authorityFields();
    root.pathLength = 0;
    return below(root, authorityFields("intermediate"));
}

Identity constrainedIdentity()
{
    Fields fields = authorityFields("constrained");
    fields.nameConstraints = "critical,permitted;IP:10.0.0.0/255.0.0.0";
    return below(authorityFields(), fields);
}

Identity constrainedOtherwiseIdentity()
{
    Fields fields = authorityFields("constrained");
    fields.nameConstraints = "critical,excluded;DNS:localhost";
    return below(authorityFields(), fields);
}

Identity clientsCertificateIdentity()
{
    Fields fields;
    fields.extendedUse = "clientAuth";
    return issued(fields);
}

Identity unknownCriticalIdentity()
{
    Fields fields;
    fields.hasUnknownCritical = true;
    return issued(fields);
}

Identity revokedIdentity()
{
    const Signed authority = make(nullptr, authorityFields());
    const Signed server = make(&authority, Fields());
    Identity identity = identityOf(authority, server);
    identity.lists = listNaming(&server, authority, 1);
    return identity;
}

Identity expiredListIdentity()
{
    const Signed authority = make(nullptr, authorityFields());
    Identity identity = identityOf(authority, make(&authority, Fields()));
    identity.lists = listNaming(nullptr, authority, -1);
    return identity;
}

Identity soundListIdentity()
{
    const Signed authority = make(nullptr, authorityFields());
    Identity identity = identityOf(authority, make(&authority, Fields()));
    identity.lists = listNaming(nullptr, authority, 1);
    return identity;
}

Identity missingListIdentity()
{
    const Signed root = make(nullptr, authorityFields());
    const Signed intermediate = make(&root, authorityFields("intermediate"));
    Identity identity = identityOf(root, make(&intermediate, Fields()));
    identity.chain += pemOf(intermediate);
    identity.lists = listNaming(nullptr, root, 1);
    return identity;
}

Identity shortKeyIdentity()
{
    Fields fields;
    fields.rsaBits = 1024;
    return issued(fields);
}

Identity shortAuthorityKeyIdentity()
{
    Fields fields = authorityFields("short");
    fields.rsaBits = 1024;
    return below(authorityFields(), fields);
}

Identity sha1Identity()
{
    Fields fields;
    fields.digest = EVP_sha1();
    return issued(fields);
}

/// About 60 KiB, which is below what a certificate message may have.
Identity manyNamesIdentity()
{
    Fields fields;
    for (int i = 0; i < 2000; ++i)
    {
        fields.alternativeNames += ",DNS:a-long-name-number-" + std::to_string(i) + ".example";
    }
    return issued(fields);
}

/// More than 100 KiB, which is what OpenSSL takes at most (SSL_CTX_set_max_cert_list).
Identity oversizedChainIdentity()
{
    Identity identity = manyNamesIdentity();
    const std::string once = identity.chain;
    identity.chain += once + once;
    return identity;
}

Identity brokenSignatureIdentity()
{
    const Signed authority = make(nullptr, authorityFields());
    const Signed impostor = make(nullptr, authorityFields());
    return identityOf(authority, make(&impostor, Fields()));
}

} // namespace hostile
