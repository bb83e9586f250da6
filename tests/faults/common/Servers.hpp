#pragma once

#include <cstdint>
#include <string>

namespace zol_faults
{

/// Servers in a process of their own, which no fault of this process touches. Started at the first call; they end with
/// this process.
///
/// The targets: "/plain", "/to-the-close", "/chunked", "/gzip", "/multipart", "/large" and
/// "/echo", which returns the body that it is sent.
struct Servers
{
    std::uint16_t plain = 0;
    std::uint16_t tls = 0;      ///< with a certificate for 127.0.0.1 and localhost
    std::uint16_t impostor = 0; ///< with one for another name and address, from the same authority
    std::string authority;      ///< PEM file of the authority of both
    std::string stranger;       ///< PEM file of an authority that has issued nothing here
    std::string upload;         ///< a file to be sent

    static const Servers& running();
};

/// The page of all targets but "/large" and "/multipart".
std::string page();
std::string largePage();

/// What the two parts of "/multipart" hold.
std::string firstPart();
std::string secondPart();

/// The body of "/multipart".
std::string multipartBody();

/// What the file of `Servers::upload` holds.
std::string uploaded();

} // namespace zol_faults
