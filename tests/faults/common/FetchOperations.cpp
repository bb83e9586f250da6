#include "common/Operations.hpp"
#include "common/Reading.hpp"
#include "common/Servers.hpp"

#include "blocxx/SSLCtxMgr.hpp"
#include "blocxx/Timeout.hpp"
#include "zol/http/Exchange.hpp"
#include "zol/http/HTTPClient.hpp"
#include "zol/http/RequestBuilder.hpp"
#include "zol/mime/FileContent.hpp"
#include "zol/mime/MultipartContent.hpp"

namespace zol_faults
{

using namespace ZOLNS2;

namespace
{

using Trust = std::function<blocxx::SSLClientCtxRef()>;

blocxx::SSLClientCtxRef noTls()
{
    return {};
}

blocxx::SSLClientCtxRef trusting(const std::string& file)
{
    blocxx::SSLOpts options;
    options.trustStore = file.c_str();
    return blocxx::SSLClientCtxRef(new blocxx::SSLClientCtx(options));
}

blocxx::SSLClientCtxRef trustTheAuthority()
{
    return trusting(Servers::running().authority);
}

blocxx::SSLClientCtxRef trustAStranger()
{
    return trusting(Servers::running().stranger);
}

std::string serverAt(std::uint16_t port)
{
    return "127.0.0.1:" + std::to_string(port);
}

HTTP::Response fetched(const std::string& server, const std::string& target, const blocxx::SSLClientCtxRef& tls)
{
    HTTP::Headers headers;
    headers.addHeader("Host", "localhost");
    headers.addHeader("Connection", "close");
    const HTTP::RequestLine line("GET", target.c_str(), server.c_str(), HTTP::HTTP_1_1);
    return HTTP::getPage(HTTP::Request(line, headers, tls), blocxx::Timeout::relative(30));
}

HTTP::ExchangeResponse exchanged(const std::string& server, const std::string& target,
                                 const blocxx::SSLClientCtxRef& tls)
{
    const std::string url = (tls ? "https://" : "http://") + server + target;
    HTTP::ExchangeOptions options;
    options.decompress = true;
    return HTTP::exchange(HTTP::RequestBuilder("GET", HTTP::Url(url.c_str())).sslContext(tls).build(), options);
}

Operation getPageOf(std::uint16_t port, const std::string& target, const Trust& trust, std::string expected)
{
    const std::string server = serverAt(port);
    return {[=] { return wholeOf(fetched(server, target, trust())); }, std::move(expected)};
}

Operation exchangeOf(const std::string& server, const std::string& target, const Trust& trust, std::string expected)
{
    return {[=] { return wholeOf(exchanged(server, target, trust())); }, std::move(expected)};
}

Operation exchangeOfParts()
{
    const auto run = [server = serverAt(Servers::running().plain)]() -> std::optional<std::string>
    {
        const HTTP::ExchangeResponse response = exchanged(server, "/multipart", noTls());
        std::string parts = partsOf(response.getContent());
        return response.bodyEnd() == HTTP::ExchangeResponse::E_COMPLETE ? std::optional<std::string>(std::move(parts))
                                                                        : std::nullopt;
    };
    return {run, firstPart() + '|' + secondPart() + '|'};
}

// A form with a file is sent, comes back, and is read.
Operation uploadOf()
{
    const auto run = [server = serverAt(Servers::running().plain)]() -> std::optional<std::string>
    {
        const blocxx::IntrusiveReference<MIME::MultipartContent> form(new MIME::MultipartContent("form-data", "B"));
        form->addField("title", firstPart().c_str());
        form->addFile("file", Servers::running().upload.c_str(), "text/plain");
        const std::string url = "http://" + server + "/echo";
        const HTTP::ExchangeResponse response =
            HTTP::exchange(HTTP::RequestBuilder("POST", HTTP::Url(url.c_str())).content(form).build());
        const std::optional<std::string> bytes = wholeOf(response);
        const auto found = [&](const std::string& text) { return bytes->find(text) != std::string::npos; };
        if (!bytes)
        {
            return std::nullopt;
        }
        return found(firstPart() + "\r\n--B\r\n") && found(uploaded() + "\r\n--B--") ? "all came back" : *bytes;
    };
    return {run, "all came back"};
}

Operation refused(Operation operation)
{
    operation.expected = std::nullopt;
    operation.refusal = "certificate verify failed";
    return operation;
}

Operation plainGetPageOf(const std::string& target, const std::string& expected)
{
    return getPageOf(Servers::running().plain, target, noTls, expected);
}

Operation plainExchangeOf(const std::string& target, const std::string& expected, const std::string& host = "127.0.0.1")
{
    return exchangeOf(host + ":" + std::to_string(Servers::running().plain), target, noTls, expected);
}

Operation impostorExchangeOf(const std::string& host)
{
    const std::string server = host + ":" + std::to_string(Servers::running().impostor);
    return refused(exchangeOf(server, "/plain", trustTheAuthority, ""));
}

std::string parts()
{
    return firstPart() + '|' + secondPart() + '|';
}

} // namespace

const std::vector<OperationCase> PLAIN_OPERATIONS = {
    {"GetPagePlain", [] { return plainGetPageOf("/plain", page() + '|'); }},
    {"GetPageToTheClose", [] { return plainGetPageOf("/to-the-close", page() + '|'); }},
    {"GetPageChunked", [] { return plainGetPageOf("/chunked", page() + '|'); }},
    {"GetPageMultipart", [] { return plainGetPageOf("/multipart", parts()); }},
    {"ExchangePlain", [] { return plainExchangeOf("/plain", page()); }},
    {"ExchangeByName", [] { return plainExchangeOf("/plain", page(), "localhost"); }},
    {"ExchangeChunked", [] { return plainExchangeOf("/chunked", page()); }},
    {"ExchangeGzip", [] { return plainExchangeOf("/gzip", page()); }},
    {"ExchangeLarge", [] { return plainExchangeOf("/large", largePage()); }},
    {"ExchangeMultipart", [] { return exchangeOfParts(); }},
    {"ExchangeUpload", [] { return uploadOf(); }},
};

const std::vector<OperationCase> TLS_OPERATIONS = {
    {"GetPageTls", [] { return getPageOf(Servers::running().tls, "/chunked", trustTheAuthority, page() + '|'); }},
    {"ExchangeTls", [] { return exchangeOf(serverAt(Servers::running().tls), "/chunked", trustTheAuthority, page()); }},
};

const std::vector<OperationCase> LARGE_OPERATIONS = {
    {"GetPageLarge", [] { return plainGetPageOf("/large", largePage() + '|'); }},
    {"GetPageLargeTls",
     [] { return getPageOf(Servers::running().tls, "/large", trustTheAuthority, largePage() + '|'); }},
    {"ExchangeLargeTls",
     [] { return exchangeOf(serverAt(Servers::running().tls), "/large", trustTheAuthority, largePage()); }},
};

const OperationCase TLS_HANDSHAKE = {"TlsHandshake", []
                                     {
                                         const blocxx::SSLClientCtxRef context = trustTheAuthority();
                                         return exchangeOf(
                                             serverAt(Servers::running().tls), "/plain",
                                             [context] { return blocxx::SSLClientCtxRef(context); }, page());
                                     }};

const std::vector<OperationCase> IMPOSTOR_OPERATIONS = {
    {"GetPageWrongAddress",
     [] { return refused(getPageOf(Servers::running().impostor, "/plain", trustTheAuthority, "")); }},
    {"ExchangeWrongAddress", [] { return impostorExchangeOf("127.0.0.1"); }},
    {"ExchangeWrongName", [] { return impostorExchangeOf("localhost"); }},
    {"ExchangeUntrusted",
     [] { return refused(exchangeOf(serverAt(Servers::running().tls), "/plain", trustAStranger, "")); }},
};

} // namespace zol_faults
