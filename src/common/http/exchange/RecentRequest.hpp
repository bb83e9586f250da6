#pragma once

#include "blocxx/String.hpp"
#include "zol/http/ExchangeOptions.hpp"
#include "zol/http/Request.hpp"
#include "zol/http/Url.hpp"

#include <optional>
#include <string>
#include <string_view>

namespace ZOLNS2::HTTP
{

/// The last request that was sent over a kept connection, if it had no content, with what has been made of it. Checking a
/// request, reading its URL and writing its head costs as much as sending it, and programs that keep a connection often
/// send the same request again: that is recognised by a few comparisons, and its head goes out as it stands.
class RecentRequest
{
public:
    /// @param request has been checked, and has no content
    /// @param url     what it asks for
    void remember(const Request& request, const Url& url);

    /// @return this object, if `request` is the same in all that is checked, asked for and sent; else null. One whose
    ///         headers are equal but no copies of the others is taken for another.
    RecentRequest* ifSame(const Request& request);

    /// @name Of the request that is remembered
    /// @{
    const Url& url() const { return *m_url; }
    const blocxx::String& urlText();
    /// As it is written on the wire under these options.
    std::string_view head(const ExchangeOptions& options);
    /// @}

private:
    std::optional<Request> m_request;
    std::optional<Url> m_url; // only with the request that it belongs to
    // Made when the request comes again.
    blocxx::String m_urlText;
    std::string m_head;
    bool m_decompresses = false; // in the head
};

} // namespace ZOLNS2::HTTP
