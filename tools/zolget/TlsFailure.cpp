#include "TlsFailure.hpp"

#include <utility>

namespace zolget
{

namespace
{

bool contains(std::string_view text, std::string_view part)
{
    return text.find(part) != std::string_view::npos;
}

/// Without the name of a function at the beginning, and without advice at the end, after a semicolon, that names a
/// member of SSLOpts.
std::string withoutApiNames(std::string_view text)
{
    constexpr std::string_view FUNCTION_END = "(): ";
    const std::size_t function = text.find(FUNCTION_END);
    if (function != std::string_view::npos && text.find(' ') > function)
    {
        text.remove_prefix(function + FUNCTION_END.size());
    }
    const std::size_t advice = text.rfind(';');
    if (advice != std::string_view::npos && contains(text.substr(advice), "SSLOpts::"))
    {
        text = text.substr(0, advice);
    }
    return std::string(text);
}

/// With the name of the option in place of that of the member of SSLOpts with which the text begins.
std::string withOptionNames(std::string text)
{
    const std::pair<std::string_view, const char*> names[] = {{"SSLOpts::ciphers:", "--ciphers:"},
                                                              {"SSLOpts::cipherSuites:", "--tls13-ciphers:"},
                                                              {"SSLOpts::minimumVersion:", "--tls-min:"}};
    for (const auto& [member, option] : names)
    {
        if (text.compare(0, member.size(), member) == 0)
        {
            text.replace(0, member.size(), option);
        }
    }
    return text;
}

} // namespace

std::string describeContextFailure(std::string_view text)
{
    std::string reason = withOptionNames(withoutApiNames(text));
    if (contains(reason, "it is encrypted"))
    {
        return reason + "; remove the pass phrase from the key first";
    }
    if (contains(reason, "key values mismatch"))
    {
        return reason + "; --key takes the private key of the certificate given with --cert";
    }
    if (contains(reason, "read key"))
    {
        return reason + "; --key takes the file of the private key, in PEM form (default: the file given with --cert)";
    }
    if (contains(reason, "read certificate"))
    {
        return reason + "; --cert takes a certificate in PEM form";
    }
    if (contains(reason, "revocation lists"))
    {
        return reason + "; --crl takes revocation lists in PEM form";
    }
    if (contains(reason, "truststore"))
    {
        return reason + "; --ca takes certificates in PEM form";
    }
    return reason;
}

std::string describeHandshakeFailure(std::string_view text)
{
    const bool isUntrusted = contains(text, "SSLOpts::trustStore");
    const bool lacksList = contains(text, "SSLOpts::crls");
    return withoutApiNames(text) + (isUntrusted ? "; --ca PATH trusts the certificate authorities in PATH" : "") +
           (lacksList ? "; every issuer in its chain needs a revocation list in what --crl names" : "");
}

std::string describeSessionFailure(std::string_view text)
{
    // Under TLS 1.3 the server checks the client's certificate after the client has finished (RFC 8446, section
    // 4.4.2.4).
    const bool wantsCertificate = contains(text, "alert certificate required");
    return std::string(text) + (wantsCertificate ? "; --cert and --key send a client certificate" : "");
}

bool isTlsAlert(std::string_view text)
{
    return contains(text, " alert ");
}

} // namespace zolget
