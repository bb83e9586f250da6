#include "RequestBody.hpp"

#include "FailureOf.hpp"
#include "support/TemporaryDirectory.hpp"

#include "zol/mime/ContentEnd.hpp"
#include "zol/mime/ContentException.hpp"

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
using zolget_test::failureOf;
using ZOLNS2::MIME::ContentRef;
using ZOLNS2::MIME::END_OF_DATA;

namespace
{

/// What a reader of a body gets.
struct Reading
{
    std::string bytes;
    bool endedBadly; ///< or threw
};

/// Reads to the end of the data, through empty reads.
Reading read(const ContentRef& body)
{
    const auto state = body->createInitialStreamState();
    std::string bytes;
    std::array<char, 4096> block;
    std::size_t count = 0;
    try
    {
        for (int reads = 0; (count = body->getData(block.data(), block.size(), state)) != END_OF_DATA; ++reads)
        {
            EXPECT_LT(reads, 1000) << "the body never ends";
            if (reads == 1000)
            {
                break;
            }
            bytes.append(block.data(), count);
        }
    }
    catch (const ZOLNS2::MIME::ContentException&)
    {
        return {bytes, true};
    }
    return {bytes, ZOLNS2::MIME::endedBadly(body, state)};
}

std::string contentOf(const ContentRef& body)
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

TEST(RequestBody, MayBeEmpty)
{
    const TemporaryDirectory folder;
    EXPECT_EQ(makeRequestBody(withText(""))->getContentLength(), 0U);
    const ContentRef files = makeRequestBody(withFiles({folder.write("a", ""), folder.write("b", "")}));
    EXPECT_EQ(files->getContentLength(), 0U);
    EXPECT_EQ(contentOf(files), "");
}

TEST(RequestBody, HoldsAText)
{
    const ContentRef body = makeRequestBody(withText("some text"));
    EXPECT_EQ(contentOf(body), "some text");
    EXPECT_EQ(body->getContentLength(), 9U);
    EXPECT_EQ(std::string(body->getContentType().getType().c_str()), "text");
}

TEST(RequestBody, HoldsFilesOneAfterTheOther)
{
    const TemporaryDirectory folder;
    const ContentRef body = makeRequestBody(withFiles(
        {folder.write("a", "first "), folder.write("b", ""), folder.write("c", ""), folder.write("d", "second")}));
    const Reading whole = read(body);
    EXPECT_EQ(whole.bytes, "first second");
    EXPECT_FALSE(whole.endedBadly);
    EXPECT_EQ(body->getContentLength(), 12U);
    EXPECT_EQ(std::string(body->getContentType().getType().c_str()), "application");
}

TEST(RequestBody, HoldsPartsOfAnyType)
{
    const TemporaryDirectory folder;
    Options options;
    options.parts = {{"text/html", "one", false}, {"image/png", folder.write("a", "two"), true}};
    const ContentRef body = makeRequestBody(options);
    const std::string boundary = body->getContentType().getParameterValue("boundary").c_str();
    const std::string text = "--" + boundary + "\r\nContent-Type: text/html\r\n\r\none\r\n--" + boundary +
                             "\r\nContent-Type: image/png\r\n\r\ntwo\r\n--" + boundary + "--\r\n";
    EXPECT_EQ(contentOf(body), text);
    EXPECT_EQ(body->getContentLength(), text.size());
    EXPECT_NE(makeRequestBody(options)->getContentType().getParameterValue("boundary"), blocxx::String(boundary));
}

TEST(RequestBody, HoldsAForm)
{
    const TemporaryDirectory folder;
    Options options;
    options.fields = {{"title", "A day", false}, {"photo", folder.write("sea.jpg", "pixels"), true}};
    const ContentRef body = makeRequestBody(options);
    EXPECT_EQ(body->getContentType().getSubType(), blocxx::String("form-data"));
    const std::string bytes = contentOf(body);
    EXPECT_THAT(bytes, HasSubstr("\r\nContent-Disposition: form-data; name=\"title\"\r\n\r\nA day\r\n--"));
    EXPECT_THAT(bytes, HasSubstr("Content-Disposition: form-data; name=\"photo\"; filename=\"sea.jpg\"\r\n"));
    EXPECT_THAT(bytes, HasSubstr("\r\n\r\npixels\r\n--"));
    EXPECT_EQ(body->getContentLength(), bytes.size());
}

TEST(RequestBody, RefusesFormFilesThatCannotBeRead)
{
    Options options;
    options.fields = {{"photo", "/none/such", true}};
    const auto caught = failureOf([&options] { makeRequestBody(options); });
    EXPECT_EQ(caught.status, ExitStatus::LOCAL_FILE);
    EXPECT_THAT(caught.message, HasSubstr("cannot send /none/such: No such file or directory"));
}

TEST(RequestBody, LeavesTheTypeOfATextToTheUser)
{
    Options options = withText("{}");
    options.headers = {{"content-type", "application/json; charset=latin1"}};
    EXPECT_EQ(makeRequestBody(options)->getContentType().getParameterValue("charset"), blocxx::String());
}

TEST(RequestBody, HasNoLengthFromStandardInput)
{
    const TemporaryDirectory folder;
    EXPECT_FALSE(makeRequestBody(withFiles({"-"}))->hasContentLength());
    EXPECT_FALSE(makeRequestBody(withFiles({folder.write("a", "x"), "-"}))->hasContentLength());
}

TEST(RequestBody, EndsEarlyWhenAPartsFileBecameShorter)
{
    const TemporaryDirectory folder;
    Options options;
    options.parts = {{"text/plain", folder.write("a", "four"), true}, {"text/plain", "end", false}};
    const ContentRef body = makeRequestBody(options);
    folder.write("a", "4");
    EXPECT_TRUE(read(body).endedBadly);
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
    const ContentRef body = makeRequestBody(withFiles({folder.write("a", "text")}));
    EXPECT_EQ(contentOf(body), "text");
    EXPECT_EQ(contentOf(body), "text");
}

TEST(RequestBody, IsNotLongerThanAnnouncedWhenAFileGrows)
{
    const TemporaryDirectory folder;
    const ContentRef body = makeRequestBody(withFiles({folder.write("a", "four")}));
    folder.write("a", "four and more");
    const Reading bounded = read(body);
    EXPECT_EQ(bounded.bytes, "four");
    EXPECT_FALSE(bounded.endedBadly);
}

TEST(RequestBody, EndsEarlyWhenAFileBecameShorter)
{
    const TemporaryDirectory folder;
    const ContentRef body = makeRequestBody(withFiles({folder.write("a", "four"), folder.write("b", "five!")}));
    folder.write("b", "5");
    const Reading cut = read(body);
    EXPECT_EQ(cut.bytes, "four5");
    EXPECT_TRUE(cut.endedBadly);
}

TEST(RequestBody, HoldsAFileThatIsRemovedMeanwhile)
{
    const TemporaryDirectory folder;
    const ContentRef body = makeRequestBody(withFiles({folder.write("a", "four")}));
    std::filesystem::remove(folder.file("a"));
    const Reading whole = read(body);
    EXPECT_EQ(whole.bytes, "four");
    EXPECT_FALSE(whole.endedBadly);
}

TEST(RequestBody, RefusesAnythingButReadableRegularFiles)
{
    const TemporaryDirectory folder;
    const auto folderItself = failureOf([&folder] { makeRequestBody(withFiles({folder.path().string()})); });
    EXPECT_EQ(folderItself.status, ExitStatus::LOCAL_FILE);
    EXPECT_THAT(folderItself.message, HasSubstr("Is a directory"));
    const auto missing = failureOf([&folder] { makeRequestBody(withFiles({folder.file("missing")})); });
    EXPECT_EQ(missing.status, ExitStatus::LOCAL_FILE);
    EXPECT_THAT(missing.message, HasSubstr("missing: No such file or directory"));
    const auto device = failureOf([] { makeRequestBody(withFiles({"/dev/null"})); });
    EXPECT_EQ(device.status, ExitStatus::LOCAL_FILE);
    EXPECT_THAT(device.message, HasSubstr("copy it into a regular file first"));
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
