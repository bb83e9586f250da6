// Fetches certificates in PEM and prints their subjects and the ends of their validity: read_pem HOST[:PORT] PATH

#include "zol/http.hpp"

#include <openssl/bio.h>
#include <openssl/err.h>
#include <openssl/pem.h>
#include <openssl/x509.h>

#include <iostream>
#include <memory>

namespace
{

using namespace ZOLNS2;

template <auto Free>
struct Freer
{
    template <class T>
    void operator()(T* object) const
    {
        Free(object);
    }
};
using Chain = std::unique_ptr<BIO, Freer<BIO_free_all>>;
using Certificate = std::unique_ptr<X509, Freer<X509_free>>;

HTTP::Response fetch(const char* host, const char* path)
{
    HTTP::Headers headers;
    headers.addHeader("Host", host);
    headers.addHeader("Connection", "close");
    const HTTP::RequestLine line("GET", path, host, HTTP::HTTP_1_1);
    const HTTP::Request request(line, headers, blocxx::IntrusiveReference<blocxx::SSLClientCtx>());
    return HTTP::getPage(request, blocxx::Timeout::relative(10));
}

/// PEM is read by lines, which the buffering filter makes of what the content delivers.
Chain linesOf(const MIME::ContentRef& content)
{
    Chain lines(BIO_new(BIO_f_buffer()));
    BIO_push(lines.get(), MIME::BIO_new_httpcontent(content));
    return lines;
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 3)
    {
        std::cerr << "usage: read_pem HOST[:PORT] PATH\n";
        return 2;
    }
    try
    {
        HTTP::Response response = fetch(argv[1], argv[2]);
        const Chain lines = linesOf(response.getNextPart());
        const Chain out(BIO_new_fp(stdout, BIO_NOCLOSE));
        int found = 0;
        while (const Certificate certificate{PEM_read_bio_X509(lines.get(), nullptr, nullptr, nullptr)})
        {
            X509_NAME_print_ex(out.get(), X509_get_subject_name(certificate.get()), 0, XN_FLAG_ONELINE);
            BIO_puts(out.get(), ", until ");
            ASN1_TIME_print(out.get(), X509_get0_notAfter(certificate.get()));
            BIO_puts(out.get(), "\n");
            ++found;
        }
        // The end of the text is an error to OpenSSL too, but one of its own.
        if (ERR_GET_REASON(ERR_peek_last_error()) != PEM_R_NO_START_LINE || found == 0 || !response.bodyIsComplete())
        {
            std::cerr << "read_pem: no certificate, or not all of it\n";
            return 1;
        }
        return 0;
    }
    catch (const std::exception& error)
    {
        std::cerr << "read_pem: " << error.what() << '\n';
        return 1;
    }
}
