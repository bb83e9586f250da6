// Shows the subjects of the certificates that a URL names, in PEM, and the ends of their validity: read_pem URL
#include "zol/http.hpp"

#include <openssl/bio.h>
#include <openssl/err.h>
#include <openssl/pem.h>

#include <iostream>
#include <memory>
#include <stdexcept>

int main(int argc, char** argv)
try
{
    using namespace ZOLNS2;
    using Chain = std::unique_ptr<BIO, void (*)(BIO*)>;
    using Certificate = std::unique_ptr<X509, void (*)(X509*)>;
    if (argc != 2)
    {
        std::cerr << "usage: read_pem URL\n";
        return 2;
    }
    const HTTP::ExchangeResponse response = HTTP::exchange(HTTP::RequestBuilder("GET", HTTP::Url(argv[1])).build());
    if (!response.isSuccess())
        throw std::runtime_error(response.getStatusLine().toString().c_str());

    // PEM is read by lines, which the buffering filter makes of what the body delivers.
    const Chain lines(BIO_push(BIO_new(BIO_f_buffer()), MIME::BIO_new_httpcontent(response.getContent())),
                      BIO_free_all);
    const Chain out(BIO_new_fp(stdout, BIO_NOCLOSE), BIO_free_all);
    int found = 0;
    while (const auto certificate = Certificate(PEM_read_bio_X509(lines.get(), nullptr, nullptr, nullptr), X509_free))
    {
        X509_NAME_print_ex(out.get(), X509_get_subject_name(certificate.get()), 0, XN_FLAG_ONELINE);
        BIO_puts(out.get(), ", until ");
        ASN1_TIME_print(out.get(), X509_get0_notAfter(certificate.get()));
        BIO_puts(out.get(), "\n");
        ++found;
    }
    // The end of the text is an error to OpenSSL too, but one of its own.
    const bool isEndOfText = ERR_GET_REASON(ERR_peek_last_error()) == PEM_R_NO_START_LINE;
    if (response.bodyEnd() != HTTP::ExchangeResponse::E_COMPLETE)
        throw std::runtime_error(response.bodyEndText().c_str());
    if (!isEndOfText || found == 0)
        throw std::runtime_error("no certificate, or not all of it");
    return 0;
}
catch (const std::exception& error)
{
    std::cerr << "read_pem: " << error.what() << '\n';
    return 1;
}
