// Further kinds of bodies to send and to receive, and of addresses.

#include "Zolget.hpp"
#include "support/ChildProcess.hpp"
#include "support/ScriptedServer.hpp"
#include "support/TemporaryDirectory.hpp"

#include <gmock/gmock.h>

#include <zlib.h>

#include <string>
#include <vector>

using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;
using zol_test::ChildProcess;
using zol_test::ScriptedServer;
using zol_test::ServerConnection;
using zol_test::TemporaryDirectory;
using zolget_test::okResponse;
using zolget_test::Outcome;
using zolget_test::respondingWith;
using zolget_test::urlOf;
using zolget_test::zolget;
using zolget_test::zolgetWithInput;

namespace
{

std::string gzip(const std::string& text)
{
    constexpr int GZIP_FRAME = 15 + 16;
    z_stream stream = {};
    EXPECT_EQ(deflateInit2(&stream, Z_BEST_SPEED, Z_DEFLATED, GZIP_FRAME, 8, Z_DEFAULT_STRATEGY), Z_OK);
    std::vector<unsigned char> in(text.begin(), text.end());
    std::vector<unsigned char> out(deflateBound(&stream, text.size()));
    stream.next_in = in.data();
    stream.avail_in = static_cast<unsigned>(in.size());
    stream.next_out = out.data();
    stream.avail_out = static_cast<unsigned>(out.size());
    EXPECT_EQ(deflate(&stream, Z_FINISH), Z_STREAM_END);
    out.resize(stream.total_out);
    deflateEnd(&stream);
    return {out.begin(), out.end()};
}

/// Receives a request with its body of announced length or in chunks, and responds.
void receiveAll(ServerConnection& connection)
{
    const std::string head = connection.receiveHead();
    const std::string name = "\r\nContent-Length: ";
    const std::size_t length = head.find(name);
    if (length != std::string::npos)
    {
        connection.receive(std::stoul(head.substr(length + name.size())));
    }
    else
    {
        for (std::string last; last.size() < 5 || last.compare(last.size() - 5, 5, "0\r\n\r\n") != 0;)
        {
            last += connection.receive(1);
        }
    }
    connection.send(okResponse("thanks"));
}

} // namespace

TEST(ZolgetStandardInput, IsSentInChunks)
{
    const ScriptedServer server(receiveAll);
    const Outcome run = zolgetWithInput("typed text", {"--data-file", "-", urlOf(server)});
    EXPECT_EQ(run.status, 0) << run.errors;
    EXPECT_EQ(run.output, "thanks");
    const std::string request = server.requests().front();
    EXPECT_THAT(request, StartsWith("POST / HTTP/1.1\r\n"));
    EXPECT_THAT(request, HasSubstr("\r\nContent-Type: application/octet-stream\r\nTransfer-Encoding: chunked\r\n"));
    EXPECT_THAT(request, EndsWith("\r\n\r\na\r\ntyped text\r\n0\r\n\r\n"));
}

TEST(ZolgetStandardInput, IsSentBetweenFiles)
{
    const TemporaryDirectory folder;
    const ScriptedServer server(receiveAll);
    const Outcome run = zolgetWithInput("b", {"--data-file", folder.write("1", "a"), "--data-file", "-", "--data-file",
                                              folder.write("2", "c"), urlOf(server)});
    EXPECT_EQ(run.status, 0) << run.errors;
    EXPECT_THAT(server.requests().front(), HasSubstr("\r\n\r\n1\r\na\r\n1\r\nb\r\n1\r\nc\r\n0\r\n\r\n"));
}

TEST(ZolgetStandardInput, IsNotSentTwice)
{
    const ScriptedServer server(
        [](ServerConnection& connection)
        {
            connection.receiveHead();
            connection.receive(std::string("1\r\nx\r\n0\r\n\r\n").size());
            connection.send("HTTP/1.1 307 Moved\r\nLocation: /end\r\nContent-Length: 0\r\n\r\n");
        });
    const Outcome run = zolgetWithInput("x", {"-L", "--data-file", "-", urlOf(server)});
    EXPECT_EQ(run.status, 6);
    EXPECT_THAT(run.errors, HasSubstr("cannot be read again"));
    EXPECT_EQ(server.connections(), 1U);
}

TEST(ZolgetStandardInput, ExitsWith8WhenItCannotBeRead)
{
    ScriptedServer server(receiveAll);
    server.ignoreErrors();
    ChildProcess process({"sh", "-c", "exec \"$0\" --data-file - \"$1\" <&-", ZOLGET_PROGRAM, urlOf(server)});
    EXPECT_EQ(process.wait(), 8);
    EXPECT_THAT(process.errorOutput(), HasSubstr("cannot read standard input: Bad file descriptor"));
}

TEST(ZolgetStandardInput, IsNotWaitedForLongerThanEverythingMayTake)
{
    const TemporaryDirectory folder;
    ScriptedServer server(receiveAll);
    server.ignoreErrors();
    // Opened in both directions, a FIFO has a writer that never writes.
    ChildProcess process({"sh", "-c", "mkfifo \"$2\" && exec \"$0\" --max-time 0.5 --data-file - \"$1\" <>\"$2\"",
                          ZOLGET_PROGRAM, urlOf(server), folder.file("fifo")});
    EXPECT_EQ(process.wait(), 11);
    EXPECT_THAT(process.errorOutput(), HasSubstr("was not done within the 0.5 s of --max-time: "));
}

TEST(ZolgetForm, IsReadBackByAnotherParser)
{
    const TemporaryDirectory folder;
    const ScriptedServer server(receiveAll);
    const Outcome run = zolget({"-F", "title=A day at the \xc3\xa4 sea", "-F",
                                "photo=@" + folder.write("my sea.jpg", std::string("pix\0els\r\n--x", 12)), "-F",
                                "empty=", urlOf(server)});
    EXPECT_EQ(run.status, 0) << run.errors;
    const std::string request = server.requests().front();
    EXPECT_THAT(request, StartsWith("POST / HTTP/1.1\r\n"));
    ChildProcess::Options options;
    options.input = request.substr(request.find("\r\n") + 2);
    ChildProcess python({"python3", "-c", R"(
import email.policy, email, sys
message = email.message_from_bytes(sys.stdin.buffer.read(), policy=email.policy.HTTP)
assert message.get_content_type() == 'multipart/form-data', message.get_content_type()
for part in message.iter_parts():
    print(part.get_param('name', header='content-disposition'), part.get_filename(), part.get_content_type(),
          repr(part.get_payload(decode=True)))
)"},
                        options);
    EXPECT_EQ(python.wait(), 0) << python.errorOutput();
    EXPECT_EQ(python.output(), "title None text/plain b'A day at the \\xc3\\xa4 sea'\n"
                               "photo my sea.jpg application/octet-stream b'pix\\x00els\\r\\n--x'\n"
                               "empty None text/plain b''\n");
}

TEST(ZolgetForm, SendsNothingWhenAFileIsMissing)
{
    const TemporaryDirectory folder;
    const ScriptedServer server(respondingWith(okResponse("")));
    const Outcome run = zolget({"-F", "a=@" + folder.file("missing"), urlOf(server)});
    EXPECT_EQ(run.status, 8);
    EXPECT_THAT(run.errors, HasSubstr("missing: No such file or directory"));
    EXPECT_EQ(server.connections(), 0U);
}

TEST(ZolgetCompressed, IsAskedForAndUndone)
{
    const std::string text(100000, 'x');
    const std::string packed = gzip(text);
    const ScriptedServer server(respondingWith("HTTP/1.1 200 OK\r\nContent-Encoding: gzip\r\nContent-Length: " +
                                               std::to_string(packed.size()) + "\r\n\r\n" + packed));
    const Outcome run = zolget({"--compressed", urlOf(server)});
    EXPECT_EQ(run.status, 0) << run.errors;
    EXPECT_EQ(run.output, text);
    EXPECT_THAT(server.requests().front(), HasSubstr("\r\nAccept-Encoding: gzip, deflate\r\n"));
    EXPECT_THAT(zolget({"--compressed", "-v", urlOf(server)}).errors, HasSubstr("> Accept-Encoding: gzip, deflate\n"));
    EXPECT_EQ(zolget({urlOf(server)}).output, packed);
    EXPECT_THAT(server.requests().back(), Not(HasSubstr("Accept-Encoding")));
}

TEST(ZolgetCompressed, ExitsWith7WhenItIsDamagedOrCut)
{
    const std::string packed = gzip(std::string(1000, 'x'));
    for (const std::string& bytes : {packed.substr(0, packed.size() - 4), "nonsense" + packed})
    {
        const ScriptedServer server(respondingWith("HTTP/1.1 200 OK\r\nContent-Encoding: gzip\r\nContent-Length: " +
                                                   std::to_string(bytes.size()) + "\r\n\r\n" + bytes));
        const Outcome run = zolget({"--compressed", urlOf(server)});
        EXPECT_EQ(run.status, 7) << run.errors;
    }
}

TEST(ZolgetFamily, LimitsTheAddresses)
{
    const ScriptedServer four(respondingWith(okResponse("4")));
    ScriptedServer::Options options;
    options.ipv6 = true;
    const ScriptedServer six(options, respondingWith(okResponse("6")));
    EXPECT_EQ(zolget({"-4", urlOf(four)}).output, "4");
    EXPECT_EQ(zolget({"-6", urlOf(six)}).output, "6");
    EXPECT_EQ(zolget({"-6", urlOf(four)}).status, 3);
    EXPECT_EQ(zolget({"-4", urlOf(six)}).status, 3);
    EXPECT_EQ(zolget({"-4", "http://localhost:" + std::to_string(four.port()) + "/"}).output, "4");
}

TEST(ZolgetProxy, IsNotTakenFromTheEnvironment)
{
    const ScriptedServer server(respondingWith(okResponse("direct")));
    ChildProcess::Options options;
    for (const char* name : {"http_proxy", "HTTP_PROXY", "all_proxy", "ALL_PROXY"})
    {
        options.environment.emplace_back(name, "http://127.0.0.1:1/");
    }
    ChildProcess process(zolget_test::command({urlOf(server)}), options);
    EXPECT_EQ(process.wait(), 0) << process.errorOutput();
    EXPECT_EQ(process.output(), "direct");
}

TEST(ZolgetHead, IsAskedForAndShown)
{
    const ScriptedServer server(
        [](ServerConnection& connection)
        {
            connection.receiveHead();
            connection.send("HTTP/1.1 200 OK\r\nContent-Length: 1000\r\n\r\n");
            EXPECT_TRUE(connection.waitUntilPeerCloses());
        });
    const Outcome run = zolget({"-I", urlOf(server)});
    EXPECT_EQ(run.status, 0) << run.errors;
    EXPECT_EQ(run.output, "HTTP/1.1 200 OK\nContent-Length: 1000\n\n");
    EXPECT_THAT(server.requests().front(), StartsWith("HEAD / HTTP/1.1\r\n"));
}

TEST(ZolgetErrorBody, IsShownOnRequestOnly)
{
    const ScriptedServer server(respondingWith("HTTP/1.1 404 Not Found\r\nContent-Length: 4\r\n\r\ngone"));
    const TemporaryDirectory folder;
    EXPECT_EQ(zolget({urlOf(server)}).output, "");
    EXPECT_EQ(zolget({"--error-body", urlOf(server)}).output, "gone");
    EXPECT_EQ(zolget({"-i", urlOf(server)}).output, "HTTP/1.1 404 Not Found\nContent-Length: 4\n\ngone");
    const Outcome run = zolget({"--error-body", "-o", folder.file("page"), urlOf(server)});
    EXPECT_EQ(run.status, 6);
    EXPECT_EQ(run.output, "gone");
    EXPECT_THAT(zolget_test::namesIn(folder.path()), testing::IsEmpty());
}

TEST(ZolgetQuiet, SaysNothing)
{
    const TemporaryDirectory folder;
    const ScriptedServer server(respondingWith("HTTP/1.1 503 Busy\r\nContent-Length: 0\r\n\r\n"));
    const Outcome run = zolget({"-q", "--retry", "1", urlOf(server)});
    EXPECT_EQ(run.status, 6);
    EXPECT_EQ(run.errors, "");
    EXPECT_EQ(zolget({"-q", "--data-file", folder.file("missing"), urlOf(server)}).errors, "");
}
