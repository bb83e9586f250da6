#pragma once

#include <openssl/ssl.h>

#include <sys/types.h>

#include <filesystem>
#include <memory>
#include <vector>

namespace demo
{

/// Frees an OpenSSL object with the function for its type.
template <auto Free>
struct Release
{
    template <class T>
    void operator()(T* object) const
    {
        Free(object);
    }
};

using KeyPtr = std::unique_ptr<EVP_PKEY, Release<EVP_PKEY_free>>;
using CertificatePtr = std::unique_ptr<X509, Release<X509_free>>;
using ContextPtr = std::unique_ptr<SSL_CTX, Release<SSL_CTX_free>>;
using BioPtr = std::unique_ptr<BIO, Release<BIO_free_all>>;
using SessionPtr = std::unique_ptr<SSL, Release<SSL_free>>;

/// A certificate and its private key.
struct Identity
{
    KeyPtr key;
    CertificatePtr certificate;
};

/// A folder whose files are removed with this object, and the folder itself if it did not exist before.
class TemporaryFiles
{
public:
    explicit TemporaryFiles(const std::filesystem::path& folder);
    ~TemporaryFiles();
    TemporaryFiles(const TemporaryFiles&) = delete;
    TemporaryFiles& operator=(const TemporaryFiles&) = delete;

    /// Opens a new file for writing. Throws std::system_error if it exists, so that no file of the user's is
    /// overwritten, or removed at the end.
    BioPtr create(const char* name, mode_t mode);

private:
    std::filesystem::path m_folder;
    bool m_madeFolder;
    std::vector<std::filesystem::path> m_files;
};

/// A certificate authority and the certificates that it issued: one for the server (localhost, 127.0.0.1 and ::1),
/// which is kept in memory, and one for a client. As long as this object exists, the folder holds `ca.pem`,
/// `client.pem` and `client-key.pem`.
class Certificates
{
public:
    /// Throws std::runtime_error when OpenSSL refuses or a file cannot be written.
    explicit Certificates(const std::filesystem::path& folder);

    std::filesystem::path authorityFile() const { return m_folder / AUTHORITY_FILE; }

    /// A server context that presents the server's certificate and requests, but does not require, one from the client.
    ContextPtr makeServerContext() const;

private:
    static constexpr const char* AUTHORITY_FILE = "ca.pem";

    std::filesystem::path m_folder;
    TemporaryFiles m_files;
    Identity m_authority;
    Identity m_server;
};

} // namespace demo
