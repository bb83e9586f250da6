#include "Options.hpp"

#include "FailureOf.hpp"

#include <gmock/gmock.h>

#include <cmath>
#include <sstream>
#include <string>
#include <vector>

using testing::ElementsAre;
using testing::HasSubstr;
using zolget::ExitStatus;
using zolget::Options;
using zolget_test::failureOf;

namespace
{

std::optional<Options> parse(std::vector<const char*> arguments, std::ostream& out)
{
    arguments.insert(arguments.begin(), "zolget");
    return zolget::parseOptions(static_cast<int>(arguments.size()), arguments.data(), out);
}

Options parse(const std::vector<const char*>& arguments)
{
    std::ostringstream out;
    const std::optional<Options> options = parse(arguments, out);
    EXPECT_TRUE(options.has_value());
    EXPECT_EQ(out.str(), "");
    return options.value_or(Options());
}

std::string refusalOf(const std::vector<const char*>& arguments)
{
    const auto caught = failureOf([&arguments] { parse(arguments); });
    EXPECT_EQ(caught.status, ExitStatus::USAGE);
    EXPECT_THAT(caught.message, HasSubstr("zolget --help"));
    return caught.message;
}

} // namespace

TEST(Options, HaveTheirDocumentedDefaults)
{
    const Options options = parse({"http://host/page"});
    EXPECT_EQ(options.url.host, "host");
    EXPECT_EQ(options.method, "GET");
    EXPECT_FALSE(options.hasBody());
    EXPECT_EQ(options.output, "");
    EXPECT_FALSE(options.showHead);
    EXPECT_FALSE(options.useHttp10);
    EXPECT_TRUE(options.verify);
    EXPECT_EQ(options.trustStore, "");
    EXPECT_EQ(options.connectTimeout, 30);
    EXPECT_EQ(options.readTimeout, 300);
    EXPECT_EQ(options.verbosity, 0);
    EXPECT_FALSE(options.alwaysShowProgress);
}

TEST(Options, AreAllParsed)
{
    const Options options = parse({"-X",
                                   "PUT",
                                   "--data-file",
                                   "a",
                                   "--data-file",
                                   "b",
                                   "-o",
                                   "out",
                                   "-i",
                                   "--http1.0",
                                   "--ca",
                                   "trust",
                                   "--cert",
                                   "c",
                                   "--key",
                                   "k",
                                   "--connect-timeout",
                                   "1.5",
                                   "--read-timeout",
                                   "2",
                                   "-v",
                                   "--progress",
                                   "https://host/"});
    EXPECT_EQ(options.method, "PUT");
    EXPECT_THAT(options.dataFiles, ElementsAre("a", "b"));
    EXPECT_EQ(options.output, "out");
    EXPECT_TRUE(options.showHead);
    EXPECT_TRUE(options.useHttp10);
    EXPECT_EQ(options.trustStore, "trust");
    EXPECT_EQ(options.certificateFile, "c");
    EXPECT_EQ(options.keyFile, "k");
    EXPECT_EQ(options.connectTimeout, 1.5F);
    EXPECT_EQ(options.readTimeout, 2);
    EXPECT_EQ(options.verbosity, 1);
    EXPECT_TRUE(options.alwaysShowProgress);
}

TEST(Options, CountTheVs)
{
    EXPECT_EQ(parse({"-vv", "http://host/"}).verbosity, 2);
    EXPECT_EQ(parse({"-v", "-v", "http://host/"}).verbosity, 2);
}

TEST(Options, PostByDefaultWhenThereIsABody)
{
    EXPECT_EQ(parse({"-d", "text", "http://host/"}).method, "POST");
    EXPECT_EQ(parse({"--data-file", "f", "http://host/"}).method, "POST");
    EXPECT_EQ(parse({"-X", "PUT", "-d", "text", "http://host/"}).method, "PUT");
}

TEST(Options, DistinguishAnEmptyTextFromAMissingOne)
{
    EXPECT_EQ(parse({"-d", "", "http://host/"}).data, std::optional<std::string>(""));
    EXPECT_EQ(parse({"http://host/"}).data, std::nullopt);
}

TEST(Options, TakeTextsThatLookLikeSomethingElse)
{
    for (const char* text : {"-v", "--", "[a,b]", "{\"a\": 1}", "%%", "@file", "'quoted'"})
    {
        EXPECT_EQ(parse({"-d", text, "http://host/"}).data, std::optional<std::string>(text));
    }
}

TEST(Options, SplitHeadersAtTheFirstColon)
{
    const Options options = parse({"-H", "X-A: 1:2", "-H", "X-B:  padded\t", "-H", "X-C:", "http://host/"});
    ASSERT_EQ(options.headers.size(), 3U);
    EXPECT_EQ(options.headers[0].name, "X-A");
    EXPECT_EQ(options.headers[0].value, "1:2");
    EXPECT_EQ(options.headers[1].value, "padded");
    EXPECT_EQ(options.headers[2].name, "X-C");
    EXPECT_EQ(options.headers[2].value, "");
}

TEST(Options, RefuseMalformedHeaders)
{
    for (const char* text : {"", "no colon", ": value", "two words: value", "Name : value", "a\r\nb: c"})
    {
        EXPECT_THAT(refusalOf({"-H", text, "http://host/"}), HasSubstr("is not a header: it must have the form"));
    }
}

TEST(Options, RefuseHeadersThatWouldAddOthers)
{
    for (const char* text : {"X: a\r\nY: b", "X: a\nY: b", "X: a\rb", "X: a\x1b"})
    {
        EXPECT_THAT(refusalOf({"-H", text, "http://host/"}), HasSubstr("control characters"));
    }
    EXPECT_EQ(parse({"-H", "X: a\tb", "http://host/"}).headers[0].value, "a\tb");
}

TEST(Options, RefuseATransferCoding)
{
    EXPECT_THAT(refusalOf({"-H", "transfer-encoding: chunked", "http://host/"}), HasSubstr("Transfer-Encoding"));
}

TEST(Options, RefuseMalformedMethods)
{
    for (const char* method : {"GET /", "G\r\nX:", "\"GET\""})
    {
        EXPECT_THAT(refusalOf({"-X", method, "http://host/"}), HasSubstr("is not a method"));
    }
}

TEST(Options, KeepTheOrderOfParts)
{
    const Options options = parse({"--part-file", "a/b:x:y", "--part", "text/plain:", "--part", "text/html:z",
                                   "--part-file", "a/c:w", "http://host/"});
    ASSERT_EQ(options.parts.size(), 4U);
    EXPECT_EQ(options.method, "POST");
    EXPECT_EQ(options.parts[0].type, "a/b");
    EXPECT_EQ(options.parts[0].value, "x:y");
    EXPECT_TRUE(options.parts[0].isFile);
    EXPECT_EQ(options.parts[1].type, "text/plain");
    EXPECT_EQ(options.parts[1].value, "");
    EXPECT_FALSE(options.parts[1].isFile);
    EXPECT_EQ(options.parts[2].value, "z");
    EXPECT_EQ(options.parts[3].value, "w");
}

TEST(Options, RefuseMalformedParts)
{
    for (const char* text :
         {"", "text", "text:x", "/plain:x", "text/:x", "te xt/plain:x", "text/plain\r\n:x", "text/plain; charset=x:y"})
    {
        EXPECT_THAT(refusalOf({"--part", text, "http://host/"}),
                    HasSubstr("is not a part: it must have the form TYPE:TEXT"));
        EXPECT_THAT(refusalOf({"--part-file", text, "http://host/"}),
                    HasSubstr("is not a part: it must have the form TYPE:FILE"));
    }
}

TEST(Options, RefuseContradictions)
{
    refusalOf({"-d", "x", "--part", "text/plain:x", "http://host/"});
    refusalOf({"--data-file", "x", "--part-file", "text/plain:x", "http://host/"});
    refusalOf({"-o", "x", "--parts", "y", "http://host/"});
    refusalOf({"-d", "x", "--data-file", "f", "http://host/"});
    refusalOf({"--ca", "x", "--no-verify", "https://host/"});
    refusalOf({"--key", "k", "https://host/"});
    refusalOf({"-d", "x", "-d", "y", "http://host/"});
}

TEST(Options, RefuseAnyNumberOfUrlsButOne)
{
    EXPECT_THAT(refusalOf({}), HasSubstr("URL"));
    refusalOf({"http://host/", "http://other/"});
}

TEST(Options, RefuseUnknownOptions)
{
    EXPECT_THAT(refusalOf({"--nonsense", "http://host/"}), HasSubstr("--nonsense"));
}

TEST(Options, TakeTimesAboveZero)
{
    for (const char* option : {"--connect-timeout", "--read-timeout"})
    {
        for (const char* value : {"0", "-1", "nan", "5s", ""})
        {
            refusalOf({option, value, "http://host/"});
        }
        parse({option, "0.001", "http://host/"});
    }
    EXPECT_TRUE(std::isinf(parse({"--read-timeout", "inf", "http://host/"}).readTimeout));
}

TEST(Options, TakeADashForStandardOutput)
{
    EXPECT_EQ(parse({"-o", "-", "http://host/"}).output, "");
}

TEST(Options, ShowTheHelp)
{
    std::ostringstream out;
    EXPECT_FALSE(parse({"--help"}, out).has_value());
    EXPECT_THAT(out.str(), HasSubstr("Usage: zolget"));
    EXPECT_THAT(out.str(), HasSubstr("Exit status:"));
}

TEST(Options, ShowTheVersion)
{
    std::ostringstream out;
    EXPECT_FALSE(parse({"--version"}, out).has_value());
    EXPECT_THAT(out.str(), testing::MatchesRegex("zolget [0-9]+\\.[0-9]+\\.[0-9]+\n"));
}
