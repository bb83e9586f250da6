// Bodies of several parts, in both directions.

#include "Zolget.hpp"
#include "support/ChildProcess.hpp"
#include "support/ScriptedServer.hpp"
#include "support/TemporaryDirectory.hpp"

#include <gmock/gmock.h>

#include <filesystem>
#include <string>
#include <utility>

using testing::ElementsAre;
using testing::HasSubstr;
using zol_test::readFile;
using zol_test::ScriptedServer;
using zol_test::ServerConnection;
using zol_test::TemporaryDirectory;
using zolget_test::namesIn;
using zolget_test::okResponse;
using zolget_test::Outcome;
using zolget_test::respondingWith;
using zolget_test::urlOf;
using zolget_test::zolget;

namespace
{

const std::string HEAD = "HTTP/1.1 200 OK\r\nContent-Type: multipart/mixed; boundary=edge\r\n\r\n";
const std::string PARTS = "--edge\r\nContent-Type: text/plain\r\n\r\nfirst \r\n"
                          "--edge\r\nContent-Type: application/octet-stream\r\n\r\nsecond";
const std::string END = "\r\n--edge--\r\n";
const std::string PICTURE = "\r\n--edge\r\nContent-Type: image/png\r\n\r\npicture";

/// In chunks of up to 9 bytes.
std::string inChunks(const std::string& bytes)
{
    std::string coded;
    for (std::size_t begin = 0; begin < bytes.size(); begin += 9)
    {
        const std::string data = bytes.substr(begin, 9);
        coded += std::to_string(data.size()) + "\r\n" + data + "\r\n";
    }
    return coded + "0\r\n\r\n";
}

/// Responds with the type and the body of the request.
void echo(ServerConnection& connection)
{
    const std::string head = connection.receiveHead();
    const auto valueOf = [&head](const std::string& name)
    {
        const std::size_t begin = head.find(name) + name.size() + 2;
        return head.substr(begin, head.find("\r\n", begin) - begin);
    };
    const std::string body = connection.receive(std::stoul(valueOf("Content-Length")));
    connection.send("HTTP/1.1 200 OK\r\nContent-Type: " + valueOf("Content-Type") + "\r\n\r\n" + body);
}

} // namespace

TEST(ZolgetMultipart, WritesThePartsOneAfterTheOther)
{
    const ScriptedServer server(respondingWith(HEAD + PARTS + END));
    const Outcome run = zolget({urlOf(server)});
    EXPECT_EQ(run.status, 0) << run.errors;
    EXPECT_EQ(run.output, "first second");
}

TEST(ZolgetMultipart, WritesEachPartIntoAFileOfItsOwn)
{
    const TemporaryDirectory folder;
    const ScriptedServer server(respondingWith(HEAD + PARTS + END));
    const Outcome run = zolget({"--parts", folder.file("parts"), urlOf(server)});
    EXPECT_EQ(run.status, 0) << run.errors;
    EXPECT_THAT(namesIn(folder.file("parts")), ElementsAre("part-001.txt", "part-002.bin"));
    EXPECT_EQ(readFile(folder.file("parts/part-001.txt")), "first ");
    EXPECT_EQ(readFile(folder.file("parts/part-002.bin")), "second");
    EXPECT_EQ(run.output, "part        length  type\n"
                          "   1             6  text/plain\n"
                          "   2             6  application/octet-stream\n");
}

TEST(ZolgetMultipart, TreatsABodyWithoutPartsAsOnePart)
{
    const TemporaryDirectory folder;
    const ScriptedServer server(respondingWith(okResponse("whole")));
    const Outcome run = zolget({"--parts", folder.path(), urlOf(server)});
    EXPECT_EQ(run.status, 0) << run.errors;
    EXPECT_THAT(run.output, HasSubstr("\n   1             5  "));
    ASSERT_THAT(namesIn(folder.path()), ElementsAre(HasSubstr("part-001.")));
    EXPECT_EQ(readFile(folder.file(namesIn(folder.path()).front())), "whole");
}

TEST(ZolgetMultipart, NamesThePartsAfterTheirTypes)
{
    for (const auto& [type, name] :
         {std::pair("text/html; charset=x", "part-001.html"), std::pair("Application/XML", "part-001.xml"),
          std::pair("text/xml", "part-001.xml"), std::pair("text/csv", "part-001.txt"),
          std::pair("image/png", "part-001.bin")})
    {
        const TemporaryDirectory folder;
        const ScriptedServer server(
            respondingWith("HTTP/1.1 200 OK\r\nContent-Type: " + std::string(type) + "\r\n\r\nsome bytes"));
        const Outcome run = zolget({"--parts", folder.path(), urlOf(server)});
        EXPECT_EQ(run.status, 0) << run.errors;
        EXPECT_THAT(namesIn(folder.path()), ElementsAre(name));
        EXPECT_EQ(run.output, "part        length  type\n   1            10  " + std::string(type) + "\n");
    }
}

TEST(ZolgetMultipart, KeepsThePartsOfACutBodyAndExitsWith7)
{
    const TemporaryDirectory folder;
    const ScriptedServer server(respondingWith(HEAD + PARTS));
    const Outcome run = zolget({"--parts", folder.path(), urlOf(server)});
    EXPECT_EQ(run.status, 7);
    EXPECT_THAT(run.errors, HasSubstr("the body from"));
    EXPECT_THAT(namesIn(folder.path()), ElementsAre("part-001.txt"));
    EXPECT_EQ(readFile(folder.file("part-001.txt")), "first ");
    EXPECT_EQ(run.output, "part        length  type\n   1             6  text/plain\n");
}

TEST(ZolgetMultipart, WritesNoFileForACutBodyWithoutParts)
{
    const TemporaryDirectory folder;
    const ScriptedServer server(respondingWith("HTTP/1.1 200 OK\r\nContent-Length: 10\r\n\r\nshort"));
    EXPECT_EQ(zolget({"--parts", folder.path(), urlOf(server)}).status, 7);
    EXPECT_THAT(namesIn(folder.path()), ElementsAre());
}

TEST(ZolgetMultipart, ExitsWith7WithoutTheClosingBoundary)
{
    const TemporaryDirectory folder;
    const ScriptedServer server(respondingWith(HEAD + PARTS));
    const Outcome run = zolget({"-o", folder.file("page"), urlOf(server)});
    EXPECT_EQ(run.status, 7);
    EXPECT_THAT(run.errors, HasSubstr("the body from"));
    EXPECT_THAT(namesIn(folder.path()), ElementsAre());
}

TEST(ZolgetMultipart, TakesPartsOfAnyType)
{
    const TemporaryDirectory folder;
    const ScriptedServer server(respondingWith(HEAD + PARTS + PICTURE + END));
    const Outcome run = zolget({"--parts", folder.path(), urlOf(server)});
    EXPECT_EQ(run.status, 0) << run.errors;
    EXPECT_EQ(readFile(folder.file("part-003.bin")), "picture");
}

TEST(ZolgetMultipart, TakesChunkedParts)
{
    const ScriptedServer server(respondingWith(
        "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\nContent-Type: multipart/mixed; boundary=edge\r\n"
        "\r\n" +
        inChunks(PARTS + END)));
    const Outcome run = zolget({urlOf(server)});
    EXPECT_EQ(run.status, 0) << run.errors;
    EXPECT_EQ(run.output, "first second");
}

TEST(ZolgetMultipart, ExitsWith7WhenItsChunksAreDamaged)
{
    const ScriptedServer server(respondingWith(
        "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\nContent-Type: multipart/mixed; boundary=edge\r\n"
        "\r\n9\r\n--edge\r\n\r\n?\r\n"));
    const Outcome run = zolget({urlOf(server)});
    EXPECT_EQ(run.status, 7) << run.errors;
    EXPECT_THAT(run.errors, HasSubstr("chunked coding"));
}

TEST(ZolgetMultipart, WritesPartsAsTheyArrive)
{
    const TemporaryDirectory folder;
    const ScriptedServer server(
        [](ServerConnection& connection)
        {
            connection.receiveHead();
            connection.send(HEAD + PARTS + "\r\n--edge\r\n\r\n");
            // The client ends only when the rest has come.
            EXPECT_TRUE(connection.waitUntilPeerCloses());
        });
    zol_test::ChildProcess process(zolget_test::command({"--parts", folder.path().string(), urlOf(server)}));
    EXPECT_TRUE(process.waitForOutput("   2             6  application/octet-stream\n"));
    EXPECT_EQ(readFile(folder.file("part-002.bin")), "second");
    process.stop();
    EXPECT_THAT(namesIn(folder.path()), ElementsAre("part-001.txt", "part-002.bin"));
}

TEST(ZolgetMultipart, TakesATypeThatIsNoMediaTypeAsOnePart)
{
    const ScriptedServer server(respondingWith("HTTP/1.1 200 OK\r\nContent-Type: multipart\r\n\r\nbody"));
    EXPECT_EQ(zolget({urlOf(server)}).output, "body");
}

TEST(ZolgetMultipart, ExitsWith9ForMorePartsThanAFolderTakes)
{
    const TemporaryDirectory folder;
    std::string body;
    for (int part = 0; part < 1001; ++part)
    {
        body += "--edge\r\n\r\n.\r\n";
    }
    const ScriptedServer server(respondingWith(HEAD + body + "--edge--"));
    EXPECT_EQ(zolget({"--parts", folder.file("parts"), urlOf(server)}).status, 9);
    EXPECT_EQ(namesIn(folder.file("parts")).size(), 1000U);
    const Outcome run = zolget({urlOf(server)});
    EXPECT_EQ(run.status, 0) << run.errors;
    EXPECT_EQ(run.output, std::string(1001, '.'));
}

TEST(ZolgetMultipart, ExitsWith9ForATypeWithoutBoundary)
{
    const ScriptedServer server(respondingWith("HTTP/1.1 200 OK\r\nContent-Type: multipart/mixed\r\n\r\n"));
    EXPECT_EQ(zolget({urlOf(server)}).status, 9);
}

TEST(ZolgetMultipart, ExitsWith8ForAFolderThatCannotBeCreated)
{
    const TemporaryDirectory folder;
    const ScriptedServer server(respondingWith(okResponse("")));
    for (const std::string& path : {folder.write("file", ""), folder.file("none/parts")})
    {
        const Outcome run = zolget({"--parts", path, urlOf(server)});
        EXPECT_EQ(run.status, 8);
        EXPECT_THAT(run.errors, HasSubstr("cannot write into the folder " + path));
    }
    EXPECT_EQ(server.connections(), 0U);
}

TEST(ZolgetMultipart, SendsPartsInTheOrderGiven)
{
    const TemporaryDirectory folder;
    const std::string big(200000, 'b');
    const ScriptedServer server(echo);
    const Outcome run =
        zolget({"--part", "text/plain:one", "--part-file", "application/x-thing:" + folder.write("f", big), "--part",
                "text/html:", "--part-file", "text/plain:" + folder.write("g", "four"), "--parts", folder.file("parts"),
                urlOf(server)});
    EXPECT_EQ(run.status, 0) << run.errors;
    EXPECT_THAT(namesIn(folder.file("parts")),
                ElementsAre("part-001.txt", "part-002.bin", "part-003.html", "part-004.txt"));
    EXPECT_EQ(readFile(folder.file("parts/part-001.txt")), "one");
    EXPECT_EQ(readFile(folder.file("parts/part-002.bin")), big);
    EXPECT_EQ(readFile(folder.file("parts/part-003.html")), "");
    EXPECT_EQ(readFile(folder.file("parts/part-004.txt")), "four");
    EXPECT_THAT(server.requests().front(), HasSubstr("\r\nContent-Type: multipart/mixed; boundary="));
    EXPECT_THAT(server.requests().front(), HasSubstr("\r\nContent-Type: application/x-thing\r\n\r\nbbb"));
}

TEST(ZolgetMultipart, SendsNothingWhenAPartsFileIsMissing)
{
    const TemporaryDirectory folder;
    const ScriptedServer server(respondingWith(okResponse("")));
    const Outcome run = zolget({"--part-file", "text/plain:" + folder.file("missing"), urlOf(server)});
    EXPECT_EQ(run.status, 8);
    EXPECT_EQ(server.connections(), 0U);
}
