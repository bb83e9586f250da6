#include "Body.hpp"

#include "FailureOf.hpp"
#include "support/TemporaryDirectory.hpp"

#include <gmock/gmock.h>

#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

using testing::HasSubstr;
using zol_test::TemporaryDirectory;
using zolget::BodyRef;
using zolget::ExitStatus;
using zolget::makeBody;
using zolget::Options;
using zolget_test::failureOf;

namespace
{

std::string contentOf(const BodyRef& body)
{
    ZOLNS2::HTTP::MIMEContentIStream stream(body);
    std::ostringstream text;
    text << stream.rdbuf();
    return text.str();
}

Options withFiles(const std::vector<std::string>& files)
{
    Options options;
    options.dataFiles = files;
    return options;
}

} // namespace

TEST(Body, IsNullWithoutData)
{
    EXPECT_FALSE(makeBody(Options()));
}

TEST(Body, IsNullWithoutAnyBytes)
{
    const TemporaryDirectory folder;
    Options options;
    options.data = "";
    EXPECT_FALSE(makeBody(options));
    EXPECT_FALSE(makeBody(withFiles({folder.write("a", ""), folder.write("b", "")})));
}

TEST(Body, HoldsAText)
{
    Options options;
    options.data = "some text";
    const BodyRef body = makeBody(options);
    EXPECT_EQ(contentOf(body), "some text");
    EXPECT_EQ(body->getContentLength(), 9U);
    EXPECT_EQ(std::string(body->getContentType().getType().c_str()), "text");
}

TEST(Body, HoldsFilesOneBehindTheOther)
{
    const TemporaryDirectory folder;
    const BodyRef body = makeBody(withFiles(
        {folder.write("a", "first "), folder.write("b", ""), folder.write("c", ""), folder.write("d", "second")}));
    EXPECT_FALSE(body->wasTaken());
    EXPECT_EQ(contentOf(body), "first second");
    EXPECT_TRUE(body->wasTaken());
    EXPECT_EQ(body->getContentLength(), 12U);
    EXPECT_EQ(std::string(body->getContentType().getType().c_str()), "application");
    EXPECT_FALSE(body->wasShort());
}

TEST(Body, HoldsPartsOfAnyType)
{
    const TemporaryDirectory folder;
    Options options;
    options.parts = {{"text/html", "one", false}, {"image/png", folder.write("a", "two"), true}};
    const BodyRef body = makeBody(options);
    const std::string boundary = body->getContentType().getParameterValue("boundary").c_str();
    const std::string text = "--" + boundary + "\r\ncontent-type: text/html\r\n\r\none\r\n--" + boundary +
                             "\r\ncontent-type: image/png\r\n\r\ntwo\r\n--" + boundary + "--";
    EXPECT_EQ(contentOf(body), text);
    EXPECT_EQ(body->getContentLength(), text.size());
    EXPECT_EQ(boundary.size(), 39U);
    EXPECT_NE(makeBody(options)->getContentType().getParameterValue("boundary"), blocxx::String(boundary));
}

TEST(Body, TellsWhenAPartsFileBecameShorter)
{
    const TemporaryDirectory folder;
    Options options;
    options.parts = {{"text/plain", folder.write("a", "four"), true}, {"text/plain", "end", false}};
    const BodyRef body = makeBody(options);
    folder.write("a", "4");
    contentOf(body);
    EXPECT_TRUE(body->wasShort());
}

TEST(Body, IsNotCutWhereAFileEndsWithABlock)
{
    const TemporaryDirectory folder;
    const std::string block(12288, 'x');
    EXPECT_EQ(contentOf(makeBody(withFiles({folder.write("a", block), folder.write("b", "y")}))), block + "y");
}

TEST(Body, CanBeReadAgain)
{
    const TemporaryDirectory folder;
    const BodyRef body = makeBody(withFiles({folder.write("a", "text")}));
    EXPECT_EQ(contentOf(body), "text");
    EXPECT_EQ(contentOf(body), "text");
}

TEST(Body, IsNotLongerThanAnnouncedWhenAFileGrows)
{
    const TemporaryDirectory folder;
    const BodyRef body = makeBody(withFiles({folder.write("a", "four")}));
    folder.write("a", "four and more");
    EXPECT_EQ(contentOf(body), "four");
    EXPECT_FALSE(body->wasShort());
}

TEST(Body, TellsWhenAFileBecameShorter)
{
    const TemporaryDirectory folder;
    const BodyRef body = makeBody(withFiles({folder.write("a", "four"), folder.write("b", "five!")}));
    folder.write("b", "5");
    EXPECT_EQ(contentOf(body), "four5");
    EXPECT_FALSE(body->wasTaken());
    EXPECT_TRUE(body->wasShort());
}

TEST(Body, EndsWhenAFileHasGone)
{
    const TemporaryDirectory folder;
    const BodyRef body = makeBody(withFiles({folder.write("a", "four")}));
    std::filesystem::remove(folder.file("a"));
    EXPECT_EQ(contentOf(body), "");
    EXPECT_TRUE(body->wasShort());
}

TEST(Body, RefusesWhatIsNoReadableFile)
{
    const TemporaryDirectory folder;
    const auto folderItself = failureOf([&folder] { makeBody(withFiles({folder.path().string()})); });
    EXPECT_EQ(folderItself.status, ExitStatus::LOCAL_FILE);
    EXPECT_THAT(folderItself.message, HasSubstr("no regular file"));
    const auto missing = failureOf([&folder] { makeBody(withFiles({folder.file("missing")})); });
    EXPECT_EQ(missing.status, ExitStatus::LOCAL_FILE);
    EXPECT_THAT(missing.message, HasSubstr("missing: No such file or directory"));
    EXPECT_EQ(failureOf([] { makeBody(withFiles({"/dev/null"})); }).status, ExitStatus::LOCAL_FILE);
}
