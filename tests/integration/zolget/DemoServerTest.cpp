// The demonstration server, as zolget sees it.

#include "Zolget.hpp"
#include "support/ChildProcess.hpp"
#include "support/Descriptor.hpp"
#include "support/TemporaryDirectory.hpp"

#include <gmock/gmock.h>

#include <csignal>
#include <filesystem>
#include <memory>
#include <regex>
#include <string>
#include <vector>

using testing::HasSubstr;
using zol_test::ChildProcess;
using zol_test::TemporaryDirectory;
using zolget_test::zolget;

namespace
{

class DemoServer : public testing::Test
{
protected:
    DemoServer()
    {
        // Its standard input is a pipe that stays open until the test closes it.
        const int input = m_input.readEnd.get();
        ChildProcess::Options options;
        options.inherit = {input};
        m_process = std::make_unique<ChildProcess>(
            std::vector<std::string>{"sh", "-c", "exec \"$0\" --certificate-dir \"$1\" <\"$2\"", DEMO_SERVER_PROGRAM,
                                     m_certificates, "/proc/self/fd/" + std::to_string(input)},
            options);
        EXPECT_TRUE(m_process->waitForOutput("\n"));
        std::smatch found;
        const std::string line = m_process->output();
        EXPECT_TRUE(std::regex_match(line, found, std::regex("port=([0-9]+) tls-port=([0-9]+) ca=(.*)\n"))) << line;
        m_http = "http://127.0.0.1:" + found.str(1);
        m_https = "https://localhost:" + found.str(2);
        m_authority = found.str(3);
    }

    TemporaryDirectory m_folder;
    std::string m_certificates = m_folder.file("certificates");
    zol_test::Pipe m_input;
    std::unique_ptr<ChildProcess> m_process;
    std::string m_http;
    std::string m_https;
    std::string m_authority;
};

} // namespace

TEST_F(DemoServer, ServesItsPages)
{
    EXPECT_EQ(zolget({m_http + "/hello"}).output, "Hello from the demo server.\n");
    EXPECT_EQ(zolget({m_http + "/big?size=1000000"}).output.size(), 1000000U);
    EXPECT_EQ(zolget({m_http + "/chunked?pieces=2&pause=1"}).output, "piece 1 of 2\npiece 2 of 2\n");
    EXPECT_EQ(zolget({m_http + "/multipart"}).output, "the first part\nthe second part\nthe third part\n");
    EXPECT_EQ(zolget({m_http + "/multipart?chunked=1"}).output, "the first part\nthe second part\nthe third part\n");
    EXPECT_EQ(zolget({m_http + "/multipart?epilogue=1000000"}).status, 0);
    EXPECT_EQ(zolget({m_http + "/odd-type"}).output, "The type of this page ends with a semicolon.\n");
    EXPECT_EQ(zolget({m_http + "/count"}).output, "request 1 of this connection\n");
    EXPECT_EQ(zolget({"--max-time", "0.3", m_http + "/drip"}).status, 11);
    EXPECT_EQ(zolget({"-d", "text", m_http + "/echo"}).output, "text");
    EXPECT_THAT(zolget({"-H", "X-A: 1", m_http + "/request"}).output, HasSubstr("\r\nX-A: 1\r\n"));
    EXPECT_EQ(zolget({m_http + "/nothing"}).output, "");
    EXPECT_EQ(zolget({m_http + "/cut?size=100"}).status, 7);
    EXPECT_EQ(zolget({m_http + "/missing"}).status, 6);
    EXPECT_EQ(zolget({"-X", "HEAD", m_http + "/big?size=1000"}).status, 0);
}

TEST_F(DemoServer, ServesOverTls)
{
    EXPECT_EQ(zolget({"--ca", m_authority, m_https + "/hello"}).output, "Hello from the demo server.\n");
    EXPECT_EQ(zolget({m_https + "/hello"}).status, 5);
    EXPECT_EQ(zolget({"--ca", m_authority, m_https + "/client"}).output, "nobody\n");
    EXPECT_EQ(zolget({"--ca", m_authority, "--cert", m_certificates + "/client.pem", "--key",
                      m_certificates + "/client-key.pem", m_https + "/client"})
                  .output,
              "CN=demo client\n");
}

TEST_F(DemoServer, EndsWithItsStandardInputAndLeavesNothingBehind)
{
    EXPECT_TRUE(std::filesystem::exists(m_authority));
    m_input.writeEnd.reset();
    EXPECT_EQ(m_process->wait(), 0);
    EXPECT_FALSE(std::filesystem::exists(m_certificates));
}

TEST_F(DemoServer, EndsWhenToldToEvenWhileItServes)
{
    ChildProcess client(zolget_test::command({m_http + "/chunked?pieces=1000&pause=10000"}));
    EXPECT_TRUE(client.waitForOutput("piece 1"));
    ::kill(m_process->pid(), SIGTERM);
    EXPECT_EQ(m_process->wait(), 0);
    EXPECT_FALSE(std::filesystem::exists(m_certificates));
    EXPECT_EQ(client.wait(), 7);
}
