#include "RequestBody.hpp"

#include "FailureOf.hpp"
#include "support/TemporaryDirectory.hpp"

#include <gmock/gmock.h>

#include <array>
#include <cstddef>
#include <filesystem>
#include <string>
#include <vector>

using testing::HasSubstr;
using zol_test::TemporaryDirectory;
using zolget::ExitStatus;
using zolget::makeRequestBody;
using zolget::Options;
using zolget::RequestBodyRef;
using zolget_test::failureOf;
using ZOLNS2::MIME::END_OF_DATA;

namespace
{

/// What a reader of a body gets.
struct Reading
{
    std::string bytes;
    bool endedBadly;
};

/// Reads to the end of the data, through empty reads.
Reading read(const RequestBodyRef& body)
{
    const auto state = body->createInitialStreamState();
    std::string bytes;
    std::array<char, 4096> block;
    std::size_t count = 0;
    for (int reads = 0; (count = body->getData(block.data(), block.size(), state)) != END_OF_DATA; ++reads)
    {
        EXPECT_LT(reads, 1000) << "the body never ends";
        if (reads == 1000)
        {
            break;
        }
        bytes.append(block.data(), count);
    }
    return {bytes, body->endedBadly(state)};
}

std::string contentOf(const RequestBodyRef& body)
{
    return read(body).bytes;
}

Options withText(const std::string& text)
{
    Options options;
    options.data = text;
    return options;
}

Options withFiles(const std::vector<std::string>& files)
{
    Options options;
    options.dataFiles = files;
    return options;
}

} // namespace

TEST(RequestBody, IsNullWithoutData)
{
    EXPECT_FALSE(makeRequestBody(Options()));
}

TEST(RequestBody, IsNullWhenEmpty)
{
    const TemporaryDirectory folder;
    EXPECT_FALSE(makeRequestBody(withText("")));
    EXPECT_FALSE(makeRequestBody(withFiles({folder.write("a", ""), folder.write("b", "")})));
}

TEST(RequestBody, HoldsAText)
{
    const RequestBodyRef body = makeRequestBody(withText("some text"));
    EXPECT_EQ(contentOf(body), "some text");
    EXPECT_EQ(body->getContentLength(), 9U);
    EXPECT_EQ(std::string(body->getContentType().getType().c_str()), "text");
}

TEST(RequestBody, HoldsFilesOneAfterTheOther)
{
    const TemporaryDirectory folder;
    const RequestBodyRef body = makeRequestBody(withFiles(
        {folder.write("a", "first "), folder.write("b", ""), folder.write("c", ""), folder.write("d", "second")}));
    EXPECT_FALSE(body->wasReadWhole());
    const Reading whole = read(body);
    EXPECT_EQ(whole.bytes, "first second");
    EXPECT_FALSE(whole.endedBadly);
    EXPECT_TRUE(body->wasReadWhole());
    EXPECT_EQ(body->getContentLength(), 12U);
    EXPECT_EQ(std::string(body->getContentType().getType().c_str()), "application");
}

TEST(RequestBody, HoldsPartsOfAnyType)
{
    const TemporaryDirectory folder;
    Options options;
    options.parts = {{"text/html", "one", false}, {"image/png", folder.write("a", "two"), true}};
    const RequestBodyRef body = makeRequestBody(options);
    const std::string boundary = body->getContentType().getParameterValue("boundary").c_str();
    const std::string text = "--" + boundary + "\r\ncontent-type: text/html\r\n\r\none\r\n--" + boundary +
                             "\r\ncontent-type: image/png\r\n\r\ntwo\r\n--" + boundary + "--";
    EXPECT_EQ(contentOf(body), text);
    EXPECT_EQ(body->getContentLength(), text.size());
    EXPECT_EQ(boundary.size(), 39U);
    EXPECT_NE(makeRequestBody(options)->getContentType().getParameterValue("boundary"), blocxx::String(boundary));
}

TEST(RequestBody, EndsEarlyWhenAPartsFileBecameShorter)
{
    const TemporaryDirectory folder;
    Options options;
    options.parts = {{"text/plain", folder.write("a", "four"), true}, {"text/plain", "end", false}};
    const RequestBodyRef body = makeRequestBody(options);
    folder.write("a", "4");
    EXPECT_TRUE(read(body).endedBadly);
    EXPECT_FALSE(body->wasReadWhole());
}

TEST(RequestBody, IsCompleteWhenAFileEndsWithABlock)
{
    const TemporaryDirectory folder;
    const std::string block(12288, 'x');
    EXPECT_EQ(contentOf(makeRequestBody(withFiles({folder.write("a", block), folder.write("b", "y")}))), block + "y");
}

TEST(RequestBody, CanBeReadAgain)
{
    const TemporaryDirectory folder;
    const RequestBodyRef body = makeRequestBody(withFiles({folder.write("a", "text")}));
    EXPECT_EQ(contentOf(body), "text");
    EXPECT_EQ(contentOf(body), "text");
}

TEST(RequestBody, IsNotLongerThanAnnouncedWhenAFileGrows)
{
    const TemporaryDirectory folder;
    const RequestBodyRef body = makeRequestBody(withFiles({folder.write("a", "four")}));
    folder.write("a", "four and more");
    const Reading bounded = read(body);
    EXPECT_EQ(bounded.bytes, "four");
    EXPECT_FALSE(bounded.endedBadly);
}

TEST(RequestBody, EndsEarlyWhenAFileBecameShorter)
{
    const TemporaryDirectory folder;
    const RequestBodyRef body = makeRequestBody(withFiles({folder.write("a", "four"), folder.write("b", "five!")}));
    folder.write("b", "5");
    const Reading cut = read(body);
    EXPECT_EQ(cut.bytes, "four5");
    EXPECT_TRUE(cut.endedBadly);
    EXPECT_FALSE(body->wasReadWhole());
}

TEST(RequestBody, EndsEarlyWhenAFileIsGone)
{
    const TemporaryDirectory folder;
    const RequestBodyRef body = makeRequestBody(withFiles({folder.write("a", "four")}));
    std::filesystem::remove(folder.file("a"));
    const Reading cut = read(body);
    EXPECT_EQ(cut.bytes, "");
    EXPECT_TRUE(cut.endedBadly);
    EXPECT_FALSE(body->wasReadWhole());
}

TEST(RequestBody, EndsEarlyWhenAPartsFileIsGone)
{
    const TemporaryDirectory folder;
    Options options;
    options.parts = {{"text/plain", folder.write("a", "four"), true}, {"text/plain", "end", false}};
    const RequestBodyRef body = makeRequestBody(options);
    std::filesystem::remove(folder.file("a"));
    EXPECT_TRUE(read(body).endedBadly);
    EXPECT_FALSE(body->wasReadWhole());
}

TEST(RequestBody, RefusesAnythingButReadableRegularFiles)
{
    const TemporaryDirectory folder;
    const auto folderItself = failureOf([&folder] { makeRequestBody(withFiles({folder.path().string()})); });
    EXPECT_EQ(folderItself.status, ExitStatus::LOCAL_FILE);
    EXPECT_THAT(folderItself.message, HasSubstr("copy it into a regular file first"));
    const auto missing = failureOf([&folder] { makeRequestBody(withFiles({folder.file("missing")})); });
    EXPECT_EQ(missing.status, ExitStatus::LOCAL_FILE);
    EXPECT_THAT(missing.message, HasSubstr("missing: No such file or directory"));
    EXPECT_EQ(failureOf([] { makeRequestBody(withFiles({"/dev/null"})); }).status, ExitStatus::LOCAL_FILE);
}

TEST(RequestBody, RefusesFilesThatClaimToBeEmpty)
{
    const auto caught = failureOf([] { makeRequestBody(withFiles({"/proc/self/status"})); });
    EXPECT_EQ(caught.status, ExitStatus::LOCAL_FILE);
    EXPECT_THAT(caught.message, HasSubstr("cannot send /proc/self/status: its length is not known in advance"));
}

TEST(RequestBody, RefusesFilesThatOpenButCannotBeRead)
{
    const auto caught = failureOf([] { makeRequestBody(withFiles({"/proc/self/mem"})); });
    EXPECT_EQ(caught.status, ExitStatus::LOCAL_FILE);
    EXPECT_THAT(caught.message, HasSubstr("cannot send /proc/self/mem: Input/output error"));
}
