#pragma once

#include "zol/http/Url.hpp"

#include <string_view>

namespace ZOLNS2::HTTP
{

/// Reads a URL from the server and the target of a request. What RequestBuilder has written is in its final form already,
/// so that nothing has to be joined, split and encoded anew, which would cost as much as the sending.
class PlainUrl
{
public:
    /// Server and target have to outlive the object.
    PlainUrl(bool isSecure, std::string_view server, std::string_view target);

    /// Whether both are in that form. If not, or if one is wrong, url() must not be called.
    explicit operator bool() const { return m_isPlain; }

    /// "http://" (or "https://"), server and target as the constructor of Url reads that text.
    Url url() const;

private:
    bool m_isSecure;
    std::string_view m_host;
    blocxx::UInt16 m_port;
    std::string_view m_target;
    bool m_isPlain = false;
};

} // namespace ZOLNS2::HTTP
