#include "zol/http/RequestBuilder.hpp"

#include "exchange/DefaultSslContext.hpp"
#include "exchange/MediaType.hpp"
#include "exchange/Refusal.hpp"
#include "exchange/RequestCheck.hpp"
#include "exchange/Text.hpp"

#include "blocxx/SSLException.hpp"
#include "zol/http/ChunkedContent.hpp"
#include "zol/http/ExchangeException.hpp"
#include "zol/mime/ContentException.hpp"

#include <openssl/evp.h>

#include <algorithm>
#include <cstddef>
#include <string>
#include <string_view>

namespace ZOLNS2::HTTP
{

namespace
{

using blocxx::String;

/// The methods that give a meaning to content: a server may wait for the length of one (RFC 9110, section 8.6).
bool expectsContent(const String& method)
{
    return method == "POST" || method == "PUT" || method == "PATCH";
}

String typeOf(const MIME::ContentRef& content)
{
    try
    {
        return MIME::mediaTypeText(content->getContentType());
    }
    catch (const MIME::ContentException& error)
    {
        refuseRequest(String("The content has a type that no header can name: ") + error.getMessage());
    }
}

std::string base64(std::string_view bytes)
{
    std::string text((bytes.size() + 2) / 3 * 4 + 1, '\0');
    const int length =
        ::EVP_EncodeBlock(reinterpret_cast<unsigned char*>(text.data()),
                          reinterpret_cast<const unsigned char*>(bytes.data()), static_cast<int>(bytes.size()));
    text.resize(static_cast<std::size_t>(length));
    return text;
}

} // namespace

/// How the end of the content is told.
struct RequestBuilder::Framing
{
    MIME::ContentRef content;          ///< as it is sent
    bool isChunked = false;            ///< the content writes chunked coding
    std::optional<std::size_t> length; ///< to be told; none if there is nothing to tell, or the caller has told it
};

RequestBuilder::RequestBuilder(const String& method, const Url& url) : m_method(method), m_url(url) {}

RequestBuilder& RequestBuilder::header(const String& name, const String& value)
{
    m_headers.addHeader(name, value);
    return *this;
}

RequestBuilder& RequestBuilder::content(const MIME::ContentRef& body)
{
    m_content = body;
    return *this;
}

RequestBuilder& RequestBuilder::sslContext(const Request::SSLContextRef& context)
{
    m_sslContext = context;
    return *this;
}

RequestBuilder& RequestBuilder::basicAuthentication(const String& user, const String& password)
{
    m_credentials.emplace(user, password);
    return *this;
}

RequestBuilder& RequestBuilder::version(Version version)
{
    m_version = version;
    return *this;
}

RequestBuilder& RequestBuilder::keepAlive(bool wanted)
{
    m_keepAlive = wanted;
    return *this;
}

bool RequestBuilder::isGiven(const char* name) const
{
    return std::any_of(m_headers.begin(), m_headers.end(),
                       [name](const Header& header) { return header.name.equalsIgnoreCase(name); });
}

// RFC 7617, section 2
String RequestBuilder::authorization() const
{
    const auto& [user, password] = *m_credentials;
    if (user.indexOf(':') != String::npos)
    {
        refuseRequest("A user name with a colon cannot be sent by basic authentication");
    }
    const String both = user + ':' + password;
    const std::string_view text = viewOf(both);
    if (std::any_of(text.begin(), text.end(), isControl))
    {
        refuseRequest("A user name or password with control characters cannot be sent by basic authentication");
    }
    return "Basic " + base64(text);
}

RequestBuilder::Framing RequestBuilder::framing() const
{
    Framing result;
    result.content = m_content;
    if (!m_content)
    {
        result.length = expectsContent(m_method) ? std::optional<std::size_t>(0) : std::nullopt;
        return result;
    }
    const bool isCoded = m_content.cast_to<ChunkedContent>();
    if (!isCoded && !isGiven("Transfer-Encoding"))
    {
        if (m_content->hasContentLength())
        {
            result.length = m_content->getContentLength();
            result.content = *result.length == 0 ? MIME::ContentRef() : m_content;
            return result;
        }
        if (isGiven("Content-Length"))
        {
            return result;
        }
    }
    result.content = isCoded ? m_content : MIME::ContentRef(new ChunkedContent(m_content));
    result.isChunked = true;
    return result;
}

Headers RequestBuilder::headersFor(const Framing& framing) const
{
    Headers headers;
    const auto addMissing = [&](const char* name, const auto& value)
    {
        if (!isGiven(name))
        {
            headers.addHeader(name, value());
        }
    };
    addMissing("Host", [&] { return m_url.authority(); });
    for (const Header& header : m_headers)
    {
        headers.addHeader(header.name, header.value);
    }
    addMissing("Connection", [&] { return String(m_keepAlive ? "keep-alive" : "close"); });
    if (m_credentials)
    {
        headers.addHeader("Authorization", authorization());
    }
    if (m_content)
    {
        addMissing("Content-Type", [&] { return typeOf(m_content); });
    }
    if (framing.isChunked)
    {
        addMissing("Transfer-Encoding", [] { return String("chunked"); });
    }
    if (framing.length)
    {
        addMissing("Content-Length", [&] { return String(blocxx::UInt64{*framing.length}); });
    }
    return headers;
}

Request RequestBuilder::build() const
{
    const Framing how = framing();
    const RequestLine line(m_method, m_url.target(), m_url.hostAndPort(), m_version);
    const bool makesContext = m_url.isSecure() && !m_sslContext;
    const Request request(line, headersFor(how), how.content,
                          m_url.isSecure() ? m_sslContext : Request::SSLContextRef());
    checkRequest(request);
    // What is refused should not have to wait for the system's certificates.
    return makesContext ? Request(line, request.getHeaders(), how.content, defaultSslContext()) : request;
}

} // namespace ZOLNS2::HTTP
