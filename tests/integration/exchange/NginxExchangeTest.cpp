#include "Getting.hpp"
#include "support/NginxServer.hpp"
#include "support/ScriptedContent.hpp"

#include "zol/mime/FileContent.hpp"
#include "zol/mime/TypedContent.hpp"

#include <gmock/gmock.h>

#include <sstream>
#include <string>

namespace
{

using namespace exchange_integration;
using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;
using zol_test::distinctBytes;
using zol_test::NginxServer;

NginxServer::Options configuration()
{
    NginxServer::Options options;
    options.ipv6 = true;
    options.server = R"(
        location = /host { return 200 "$http_host $server_addr"; }
        location = /secret { auth_basic "a realm"; auth_basic_user_file passwords; try_files /secret.txt =500; }
        location = /odd-type { default_type "text/html;"; return 200 "<p>odd</p>"; }
        location = /moved { return 302 /target; }
        location = /none { return 204; }
        location = /cookies { add_header Set-Cookie a=1; add_header SET-cookie b=2; return 200 ok; }
        location = /chunks { echo_duplicate 3000 "0123456789abcdef"; }
        location /squeezed/ { gzip on; gzip_min_length 1; gzip_types *; gzip_http_version 1.0; }
        location /static/ { add_header Content-Encoding gzip; }
        location /whole/ { add_header Content-Encoding gzip; max_ranges 0; }
        location /stored/ { dav_methods PUT; create_full_put_path on; }
        location /small/ { dav_methods PUT; client_max_body_size 1k; }
        location = /taken { echo_read_request_body; echo_request_body; }
    )";
    return options;
}

class NginxExchange : public testing::Test
{
protected:
    NginxServer m_server{configuration()};

    std::string url(const std::string& target) const { return plainUrl(m_server.port(), target); }
    void file(const std::string& name, const std::string& content) { m_server.folder().write("html/" + name, content); }

    std::string stored(const std::string& name) const
    {
        return zol_test::readFile(m_server.folder().file("html/stored/" + name));
    }
};

TEST_F(NginxExchange, ATypeThatEndsInASemicolonReturns)
{
    const ExchangeResponse response = exchange(get(url("/odd-type")));
    EXPECT_EQ(headerOf(response, "Content-Type"), "text/html;");
    EXPECT_EQ(textOf(toString(response.getContentType())), "text/html");
    EXPECT_EQ(bodyOf(response), "<p>odd</p>");
}

TEST_F(NginxExchange, AnErrorHasItsBody)
{
    const ExchangeResponse response = exchange(get(url("/nothing-here")));
    EXPECT_EQ(response.getStatus(), 404);
    EXPECT_FALSE(response.isSuccess());
    EXPECT_EQ(textOf(response.getStatusLine().reasonPhrase), "Not Found");
    const std::string body = bodyOf(response);
    EXPECT_EQ(std::to_string(body.size()), headerOf(response, "Content-Length"));
    EXPECT_THAT(body, HasSubstr("404 Not Found"));
}

TEST_F(NginxExchange, ARedirectThatIsNotFollowedHasLocationAndBody)
{
    const ExchangeResponse response = exchange(get(url("/moved")));
    EXPECT_EQ(response.getStatus(), 302);
    EXPECT_EQ(headerOf(response, "location"), url("/target"));
    EXPECT_EQ(textOf(response.redirectNote()), "");
    EXPECT_EQ(textOf(response.getUrl()), url("/moved"));
    EXPECT_THAT(bodyOf(response), HasSubstr("302 Found"));
}

TEST_F(NginxExchange, RepeatedFieldsStayApart)
{
    const ExchangeResponse response = exchange(get(url("/cookies")));
    std::ostringstream fields;
    fields << response.getHeaders();
    EXPECT_THAT(fields.str(), HasSubstr("Set-Cookie: a=1\r\nSET-cookie: b=2\r\n"));
    EXPECT_EQ(bodyOf(response), "ok");
}

TEST_F(NginxExchange, TakesAnIpv6Address)
{
    const std::string server = "[::1]:" + std::to_string(m_server.ipv6Port());
    EXPECT_EQ(bodyOf(exchange(get("http://" + server + "/host"))), server + " ::1");
}

// The name has an address of each family, and the servers have different ports.
TEST_F(NginxExchange, LooksForAddressesOfTheWantedFamilyOnly)
{
    const std::string name = "many.names.example";
    const Request six = get(plainUrl(m_server.ipv6Port(), "/host", name));
    const Request four = get(plainUrl(m_server.port(), "/host", name));
    ExchangeOptions only6;
    only6.family = blocxx::LookUp::E_IPV6_ONLY;
    ExchangeOptions only4;
    only4.family = blocxx::LookUp::E_IPV4_ONLY;
    EXPECT_THAT(bodyOf(exchange(six, only6)), EndsWith(" ::1"));
    EXPECT_THAT(bodyOf(exchange(four, only4)), EndsWith(" 127.0.0.1"));
    EXPECT_THAT(bodyOf(exchange(six)), EndsWith(" ::1"));
    EXPECT_THAT(bodyOf(exchange(four)), EndsWith(" 127.0.0.1"));
    expectFailure([&] { exchange(six, only4); }, ExchangeException::E_CONNECT, ExchangeException::E_ERROR, "127.0.0.2");
    expectFailure([&] { exchange(four, only6); }, ExchangeException::E_CONNECT, ExchangeException::E_ERROR, "[::1]");
}

TEST_F(NginxExchange, BasicAuthenticationIsUnderstood)
{
    file("secret.txt", "the secret");
    m_server.folder().write("passwords", "me:{PLAIN}a password\n");
    const ExchangeResponse refused = exchange(get(url("/secret")));
    EXPECT_EQ(refused.getStatus(), 401);
    EXPECT_EQ(headerOf(refused, "WWW-Authenticate"), "Basic realm=\"a realm\"");
    EXPECT_EQ(bodyOf(exchange(asking("GET", url("/secret")).basicAuthentication("me", "a password").build())),
              "the secret");
}

// The connection stays open: a body that is looked for here would not come.
TEST_F(NginxExchange, ResponsesWithoutABodyEndAtOnce)
{
    file("page.html", "<p>a page</p>");
    const ExchangeResponse page = exchange(get(url("/page.html")));
    const Request ifChanged = asking("GET", url("/page.html"))
                                  .header("If-None-Match", page.getHeaders().getHeaderValue("ETag"))
                                  .keepAlive(true)
                                  .build();
    ExchangeOptions options;
    options.progressTimeout = blocxx::Timeout::relative(5);
    struct Case
    {
        Request request;
        int status;
    };
    for (const Case& one : {Case{asking("HEAD", url("/page.html")).keepAlive(true).build(), 200},
                            Case{asking("HEAD", url("/chunks")).keepAlive(true).build(), 200},
                            Case{getAndKeep(url("/none")), 204}, Case{ifChanged, 304}})
    {
        SCOPED_TRACE(one.status);
        const ExchangeResponse response = exchange(one.request, options);
        EXPECT_EQ(response.getStatus(), one.status);
        EXPECT_TRUE(response.reusable());
        EXPECT_EQ(bodyOf(response), "");
    }
    EXPECT_EQ(headerOf(exchange(asking("HEAD", url("/page.html")).build()), "Content-Length"), "13");
}

TEST_F(NginxExchange, FilesOfEverySizeArriveWhole)
{
    for (const std::size_t size : {0U, 1U, 65535U, 65536U, 65537U, 1U << 22})
    {
        SCOPED_TRACE(size);
        const std::string content = distinctBytes(size);
        file("file.bin", content);
        EXPECT_TRUE(bodyOf(exchange(getAndKeep(url("/file.bin")))) == content);
        EXPECT_TRUE(bodyOf(exchange(get(url("/file.bin")))) == content);
    }
}

TEST_F(NginxExchange, ChunksAreDecodedForBothVersions)
{
    std::string expected;
    for (int i = 0; i < 3000; ++i)
    {
        expected += "0123456789abcdef";
    }
    const ExchangeResponse chunked = exchange(getAndKeep(url("/chunks")));
    EXPECT_EQ(headerOf(chunked, "Transfer-Encoding"), "chunked");
    EXPECT_EQ(bodyOf(chunked), expected);
    EXPECT_TRUE(chunked.reusable());
    const ExchangeResponse older =
        exchange(asking("GET", url("/chunks")).version(ZOLNS2::HTTP::HTTP_1_0).keepAlive(true).build());
    EXPECT_EQ(headerOf(older, "Transfer-Encoding"), "");
    EXPECT_EQ(bodyOf(older), expected);
    EXPECT_FALSE(older.reusable()) << "the body went on to the close";
}

std::string compressible()
{
    std::string text;
    for (int line = 0; line < 20000; ++line)
    {
        text += "line " + std::to_string(line) + "\n";
    }
    return text;
}

TEST_F(NginxExchange, GzipIsUndoneOnRequest)
{
    const std::string content = compressible();
    file("squeezed/page.txt", content);
    const Request request = getAndKeep(url("/squeezed/page.txt"));
    const ExchangeResponse plain = exchange(request);
    EXPECT_EQ(headerOf(plain, "Content-Encoding"), "") << "the library does not ask for it by itself";
    EXPECT_EQ(bodyOf(plain), content);

    const ExchangeResponse decoded = exchange(request, decompressing());
    EXPECT_EQ(headerOf(decoded, "Content-Encoding"), "gzip");
    EXPECT_FALSE(decoded.getContent()->hasContentLength());
    EXPECT_TRUE(bodyOf(decoded) == content);
    EXPECT_TRUE(decoded.reusable());

    const ExchangeResponse raw =
        exchange(asking("GET", url("/squeezed/page.txt")).header("Accept-Encoding", "gzip").build());
    const std::string bytes = bodyOf(raw);
    EXPECT_EQ(headerOf(raw, "Content-Encoding"), "gzip");
    EXPECT_THAT(bytes, StartsWith("\x1f\x8b"));
    EXPECT_LT(bytes.size(), content.size());
}

TEST_F(NginxExchange, TheLimitCountsDecodedBytes)
{
    const std::string content = compressible();
    file("squeezed/page.txt", content);
    ExchangeOptions options = decompressing();
    options.bodyLimit = content.size();
    EXPECT_TRUE(bodyOf(exchange(get(url("/squeezed/page.txt")), options)) == content);
    options.bodyLimit = content.size() - 1;
    const ExchangeResponse response = exchange(get(url("/squeezed/page.txt")), options);
    expectFailure([&] { response.readAll(); }, ExchangeException::E_BODY, ExchangeException::E_LIMIT,
                  std::to_string(options.bodyLimit));
    EXPECT_EQ(response.bodyEnd(), ExchangeResponse::E_TOO_LARGE);
}

// The server has the compressed form alone, and sends ranges of that.
TEST_F(NginxExchange, AnAnswerToARangeIsNeverDecoded)
{
    const std::string content = compressible();
    file("squeezed/page.txt", content);
    const std::string compressed =
        bodyOf(exchange(asking("GET", url("/squeezed/page.txt")).header("Accept-Encoding", "gzip").build()));
    file("static/page", compressed);
    file("whole/page", compressed);
    EXPECT_TRUE(bodyOf(exchange(get(url("/static/page")), decompressing())) == content);

    const ExchangeResponse part =
        exchange(asking("GET", url("/static/page")).header("Range", "bytes=0-99").build(), decompressing());
    EXPECT_EQ(part.getStatus(), 206);
    EXPECT_EQ(headerOf(part, "Content-Encoding"), "gzip");
    EXPECT_TRUE(bodyOf(part) == compressed.substr(0, 100));

    const ExchangeResponse whole =
        exchange(asking("GET", url("/whole/page")).header("Range", "bytes=0-99").build(), decompressing());
    EXPECT_EQ(whole.getStatus(), 200);
    EXPECT_EQ(headerOf(whole, "Content-Encoding"), "gzip");
    EXPECT_TRUE(bodyOf(whole) == compressed);
}

TEST_F(NginxExchange, ALargeContentIsSentOnceTheServerAgrees)
{
    const std::string content = distinctBytes(5000000);
    file("stored/keep", "");
    const std::string path = m_server.folder().write("upload.bin", content);
    ExchangeOptions options;
    options.expectContinue = true;
    options.continueTimeout = blocxx::Timeout::infinite; // the server's word has to come
    options.deadline = blocxx::Timeout::relative(60);
    const Request put =
        asking("PUT", url("/stored/file.bin")).content(ContentRef(new ZOLNS2::MIME::FileContent(path.c_str()))).build();
    const ExchangeResponse response = exchange(put, options);
    EXPECT_EQ(response.getStatus(), 201);
    EXPECT_EQ(bodyOf(response), "");
    EXPECT_TRUE(stored("file.bin") == content);

    const ContentRef text(new ZOLNS2::MIME::TypedContent(content.substr(0, 100000).c_str(), "text/plain"));
    EXPECT_EQ(exchange(asking("PUT", url("/stored/second.bin")).content(text).build(), options).getStatus(), 201);
}

TEST_F(NginxExchange, ALargeContentIsSentAtOnceToo)
{
    const std::string content = distinctBytes(5000000);
    const ContentRef pieces(
        zol_test::scripted({content.substr(0, 1), content.substr(1, 3000000), content.substr(3000001)}));
    EXPECT_EQ(exchange(asking("PUT", url("/stored/a/b.bin")).content(pieces).build()).getStatus(), 201);
    EXPECT_TRUE(stored("a/b.bin") == content);
}

TEST_F(NginxExchange, AContentWithoutLengthIsSentInChunks)
{
    const std::string content = distinctBytes(3000000);
    const auto pieces = zol_test::scripted({content.substr(0, 1), content.substr(1, 2000000), content.substr(2000001)});
    pieces->lengthIsKnown = false;
    EXPECT_EQ(exchange(asking("PUT", url("/stored/chunked.bin")).content(pieces).build()).getStatus(), 201);
    EXPECT_TRUE(stored("chunked.bin") == content);
}

TEST_F(NginxExchange, APostIsAnsweredWithWhatItBrought)
{
    const ContentRef json(new ZOLNS2::MIME::TypedContent("{\"answer\": 42}", "application/json"));
    EXPECT_EQ(bodyOf(exchange(asking("POST", url("/taken")).content(json).build())), "{\"answer\": 42}");
}

TEST_F(NginxExchange, ARefusalSparesTheContentThatWasOfferedFirst)
{
    file("small/keep", "");
    const auto content = zol_test::scripted({distinctBytes(5000000)});
    ExchangeOptions options;
    options.expectContinue = true;
    options.continueTimeout = blocxx::Timeout::relative(30);
    const ExchangeResponse response = exchange(asking("PUT", url("/small/file.bin")).content(content).build(), options);
    EXPECT_EQ(response.getStatus(), 413);
    EXPECT_THAT(bodyOf(response), HasSubstr("413 Request Entity Too Large"));
    EXPECT_FALSE(response.reusable());
    EXPECT_TRUE(content->requests.empty());
}

TEST_F(NginxExchange, ARefusalWhileTheContentIsSentIsReturned)
{
    file("small/keep", "");
    const ContentRef content(zol_test::scripted({distinctBytes(50000000)}));
    const ExchangeResponse response = exchange(asking("PUT", url("/small/file.bin")).content(content).build());
    EXPECT_EQ(response.getStatus(), 413);
    EXPECT_THAT(bodyOf(response), HasSubstr("413 Request Entity Too Large"));
    EXPECT_FALSE(response.reusable());
}

} // namespace
