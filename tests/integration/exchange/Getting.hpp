#pragma once

#include "support/Certificates.hpp"
#include "support/ExchangeFailures.hpp"
#include "support/NginxServer.hpp"
#include "support/TextOf.hpp"

#include "zol/http/Exchange.hpp"
#include "zol/http/RequestBuilder.hpp"
#include "zol/mime/Content.hpp"

#include <cstdint>
#include <string>

/// What the tests of exchange() against real servers share.
namespace exchange_integration
{

using zol_test::expectFailure;
using zol_test::failureOf;
using zol_test::textOf;
using ZOLNS2::HTTP::exchange;
using ZOLNS2::HTTP::ExchangeException;
using ZOLNS2::HTTP::ExchangeOptions;
using ZOLNS2::HTTP::ExchangeResponse;
using ZOLNS2::HTTP::Request;
using ZOLNS2::HTTP::RequestBuilder;
using ZOLNS2::HTTP::Url;
using ZOLNS2::MIME::ContentRef;

/// "http://127.0.0.1:<port><target>"
std::string plainUrl(std::uint16_t port, const std::string& target = "/", const std::string& host = "127.0.0.1");
/// "https://127.0.0.1:<port><target>"
std::string secureUrl(std::uint16_t port, const std::string& target = "/", const std::string& host = "127.0.0.1");

RequestBuilder asking(const std::string& method, const std::string& url);

Request get(const std::string& url, const blocxx::SSLClientCtxRef& tls = blocxx::SSLClientCtxRef());

/// A GET that asks to keep the connection.
Request getAndKeep(const std::string& url, const blocxx::SSLClientCtxRef& tls = blocxx::SSLClientCtxRef());

ExchangeOptions following(unsigned mostRedirects);
ExchangeOptions decompressing();

/// The whole body; fails the test if it is not complete.
std::string bodyOf(const ExchangeResponse& response);

std::string headerOf(const ExchangeResponse& response, const char* name);

/// A certificate's fields for a server at 127.0.0.1 and localhost.
zol_test::CertificateFields loopbackFields();

/// A client's context that trusts one authority and shows a certificate of its own.
blocxx::SSLClientCtxRef showing(const zol_test::Certificate& own, const zol_test::Certificate& authority);

/// How many requests the server has logged. It does so after its response: waits until there are as many as expected.
std::size_t requestsSeenBy(const zol_test::NginxServer& server, std::size_t expected);

} // namespace exchange_integration
