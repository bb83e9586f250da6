#include "Fetch.hpp"
#include "InAllThreads.hpp"
#include "Trust.hpp"
#include "support/Certificates.hpp"
#include "support/NginxServer.hpp"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace
{

using namespace ZOLNS2;
using namespace zol_integration;
using zol_test::NginxServer;

constexpr int THREADS = 64;
constexpr int FETCHES = 5;

/// Runs `action(thread, round)` in all threads at once; returns what went wrong.
template <class Action>
std::vector<std::string> inAllRounds(Action action)
{
    return concurrency_test::inAllThreads(THREADS,
                                          [&](int thread)
                                          {
                                              for (int round = 0; round < FETCHES; ++round)
                                              {
                                                  action(thread, round);
                                              }
                                          });
}

TEST(ManyThreads, FetchAtOnce)
{
    NginxServer::Options options;
    options.server = "location = /chunks { echo_duplicate 100 abcdefghij; echo_flush; echo_duplicate 100 x; }";
    const NginxServer server(options);
    const std::string content = pattern(100000);
    server.folder().write("html/file.bin", content);
    std::string chunks;
    for (int i = 0; i < 100; ++i)
    {
        chunks += "abcdefghij";
    }
    chunks += std::string(100, 'x');
    const auto problems = inAllRounds(
        [&](int thread, int round)
        {
            const bool file = (thread + round) % 2 == 0;
            Ask ask;
            ask.target = file ? "/file.bin" : "/chunks";
            EXPECT_TRUE(bodyOf(fetch(server.port(), ask)) == (file ? content : chunks));
        });
    EXPECT_EQ(problems, std::vector<std::string>());
}

TEST(ManyThreads, ShareOneTlsContextAndOneContent)
{
    const zol_test::Certificate authority = zol_test::makeAuthority();
    zol_test::CertificateFields fields;
    fields.ipAddresses = {"127.0.0.1"};
    const zol_test::Certificate own = zol_test::issue(authority, fields);
    NginxServer::Options options;
    options.certificate = own.certificatePem();
    options.privateKey = own.keyPem();
    options.server = "location /stored/ { dav_methods PUT; create_full_put_path on; }";
    const NginxServer server(options);
    const std::string content = pattern(20000);
    Ask ask;
    ask.tls = trusting(authority);
    ask.method = "PUT";
    ask.content = MIME::ContentRef(new MIME::ApplicationOctetStreamContent(content.data(), content.size()));
    ask = ask.with("Content-Length", std::to_string(content.size()));
    const auto problems = inAllRounds(
        [&](int thread, int round)
        {
            Ask mine = ask;
            mine.target = "/stored/" + std::to_string(thread) + "-" + std::to_string(round);
            EXPECT_EQ(fetch(server.tlsPort(), mine).statusLine.statusCode, 201);
            EXPECT_TRUE(zol_test::readFile(server.folder().file("html" + mine.target)) == content);
        });
    EXPECT_EQ(problems, std::vector<std::string>());
}

} // namespace
