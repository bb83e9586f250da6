#pragma once

#include "zol/Export.hpp"
#include "zol/mime/Content.hpp"

#include <openssl/bio.h>

namespace ZOLNS2::MIME
{

/// The method of BIOs that read a content. There is one for the process, made on first use by whichever thread comes
/// first, and never freed.
/// @throws std::bad_alloc if OpenSSL has no memory for it
ZOL_API BIO_METHOD* BIO_s_httpcontent();

/// A BIO that delivers the bytes of `content`; it can only be read, and it holds `content` and one stream state until
/// it is freed. The caller owns it and frees it with BIO_free.
///
/// BIO_read returns the number of bytes read, 0 when the content had none this time (ask again), and -1 at the end; no
/// retry flag is ever set, and BIO_ctrl returns 0 for every command, so BIO_eof and BIO_pending say nothing. What the
/// content throws passes through OpenSSL's functions to the caller of BIO_read, also through filter BIOs in
/// between; the chain can then only be freed.
///
/// @code
/// BIO* const chain = BIO_push(BIO_new(BIO_f_buffer()), MIME::BIO_new_httpcontent(content));
/// X509* const certificate = PEM_read_bio_X509(chain, nullptr, nullptr, nullptr);
/// BIO_free_all(chain);
/// X509_free(certificate);
/// @endcode
///
/// A null content makes a BIO whose reads return -1.
/// @return null if OpenSSL cannot make a BIO
/// @throws what createInitialStreamState() of the content throws; no BIO is left then
ZOL_API BIO* BIO_new_httpcontent(const ContentRef& content);

} // namespace ZOLNS2::MIME
