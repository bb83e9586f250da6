#include "Example.hpp"
#include "support/NginxServer.hpp"
#include "support/ScriptedServer.hpp"
#include "support/TemporaryDirectory.hpp"

#include <gmock/gmock.h>

#include <filesystem>
#include <string>

namespace
{

using namespace examples_test;
using testing::HasSubstr;
using namespace zol_test;

const std::string PARTS = "--b\r\nContent-Type: text/html; charset=utf-8\r\n\r\none\r\n"
                          "--b\r\nContent-Disposition: attachment; filename=../two\r\n\r\n\r\n"
                          "--b\r\nContent-Type: image/png\r\n\r\nthree\r\n";

/// A server of files that are multipart bodies.
class MultipartExamples : public testing::Test
{
protected:
    static NginxServer::Options options()
    {
        NginxServer::Options options;
        options.server = "location /parts/ { default_type 'multipart/mixed; boundary=b'; }\n";
        return options;
    }

    std::string serve(const std::string& body) const
    {
        m_server.folder().write("html/parts/body", body);
        return urlOf(m_server, "/parts/body");
    }

    const NginxServer m_server{options()};
    const std::string m_folder = m_server.folder().file("saved/here");
};

TEST_F(MultipartExamples, ReceiveMultipartShowsEveryPart)
{
    EXPECT_EQ(outputOf("receive_multipart", {serve(PARTS + "--b--\r\n")}), "3 bytes of text/html; charset=utf-8\n"
                                                                           "0 bytes of text/plain\n"
                                                                           "5 bytes of image/png\n");
}

TEST_F(MultipartExamples, ReceiveMultipartTellsABodyThatIsCut)
{
    const std::string whole = PARTS + "--b";
    for (std::size_t length = 0; length < whole.size(); length += 17)
    {
        const Outcome outcome = run("receive_multipart", {serve(whole.substr(0, length))});
        EXPECT_EQ(outcome.status, 1) << length;
        EXPECT_EQ(outcome.output, "") << length;
        EXPECT_THAT(outcome.errors, HasSubstr("ended before its closing delimiter")) << length;
    }
}

TEST_F(MultipartExamples, ReceiveMultipartKeepsNoMoreThanItsLimits)
{
    const std::string large = "--b\r\n\r\n" + std::string(1048576, 'x') + "\r\n--b--\r\n";
    const Outcome tooLarge = run("receive_multipart", {serve(large)});
    EXPECT_EQ(tooLarge.status, 1);
    EXPECT_THAT(tooLarge.errors, HasSubstr("1048576"));
    std::string many;
    for (int i = 0; i < 101; ++i)
    {
        many += "--b\r\n\r\n\r\n";
    }
    const Outcome outcome = run("receive_multipart", {serve(many + "--b--\r\n")});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.errors, HasSubstr("100 parts"));
}

TEST_F(MultipartExamples, ReceiveMultipartRefusesAnotherType)
{
    const Outcome outcome = run("receive_multipart", {urlOf(m_server)});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.errors, HasSubstr("multipart"));
}

TEST_F(MultipartExamples, SavePartsWritesAFileForEach)
{
    EXPECT_EQ(outputOf("save_parts", {serve(PARTS + "--b--\r\n"), m_folder}),
              m_folder + "/part-1: text/html; charset=utf-8\n" + m_folder + "/part-2: text/plain\n" + m_folder +
                  "/part-3: image/png\n");
    EXPECT_EQ(readFile(m_folder + "/part-1"), "one");
    EXPECT_EQ(readFile(m_folder + "/part-2"), "");
    EXPECT_EQ(readFile(m_folder + "/part-3"), "three");
}

TEST_F(MultipartExamples, SavePartsTakesALargePart)
{
    const std::string large(8000000, 'x');
    outputOf("save_parts", {serve("--b\r\n\r\n" + large + "\r\n--b--\r\n"), m_folder});
    EXPECT_TRUE(readFile(m_folder + "/part-1") == large);
}

TEST_F(MultipartExamples, SavePartsNamesNoPartThatIsCut)
{
    const Outcome outcome = run("save_parts", {serve(PARTS), m_folder});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.output, Not(HasSubstr("part-3")));
    EXPECT_THAT(outcome.errors, HasSubstr("ended before its closing delimiter"));
}

TEST_F(MultipartExamples, SavePartsTellsWhatItCannotDo)
{
    EXPECT_EQ(run("save_parts", {urlOf(m_server, "/missing"), m_folder}).errors,
              "save_parts: HTTP/1.1 404 Not Found\n");
    std::filesystem::create_directories(m_folder + "/part-1");
    EXPECT_THAT(run("save_parts", {serve(PARTS + "--b--\r\n"), m_folder}).errors,
                HasSubstr("cannot write " + m_folder + "/part-1"));
}

} // namespace
