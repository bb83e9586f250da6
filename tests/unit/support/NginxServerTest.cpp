#include "support/NginxServer.hpp"

#include <gtest/gtest.h>

namespace
{

using zol_test::ChildProcess;
using zol_test::NginxServer;

// An independent client.
std::string responseOf(std::uint16_t port, const std::string& host, const std::string& target)
{
    ChildProcess client({"python3", "-c",
                         "import http.client,sys\n"
                         "c=http.client.HTTPConnection(sys.argv[1],int(sys.argv[2]),timeout=10)\n"
                         "c.request('GET',sys.argv[3])\n"
                         "r=c.getresponse()\n"
                         "print(r.status,r.getheader('transfer-encoding'),r.read().decode(),end='')",
                         host, std::to_string(port), target});
    EXPECT_EQ(client.wait(), 0) << client.errorOutput();
    return client.output();
}

TEST(NginxServer, ServesFilesAndConfiguredResponsesOnBothFamilies)
{
    NginxServer::Options options;
    options.ipv6 = true;
    options.server = "location = /echo { echo -n pieces; }";
    const NginxServer server(options);
    server.folder().write("html/later.txt", "written later");
    EXPECT_EQ(responseOf(server.port(), "127.0.0.1", "/later.txt"), "200 None written later");
    EXPECT_EQ(responseOf(server.ipv6Port(), "::1", "/echo"), "200 chunked pieces");
    EXPECT_NE(server.accessLog().find("GET /echo"), std::string::npos);
}

TEST(NginxServer, SaysWhyItDoesNotStart)
{
    NginxServer::Options options;
    options.server = "no_such_directive;";
    try
    {
        const NginxServer server(options);
        FAIL() << "started";
    }
    catch (const std::runtime_error& error)
    {
        EXPECT_NE(std::string(error.what()).find("no_such_directive"), std::string::npos) << error.what();
    }
}

} // namespace
