// Help, manual page and completion name the same options.

#include "BashCompletion.hpp"
#include "FailureOf.hpp"
#include "ManualPage.hpp"
#include "OptionTable.hpp"
#include "Options.hpp"
#include "support/ChildProcess.hpp"
#include "support/TemporaryDirectory.hpp"

#include <gmock/gmock.h>

#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <vector>

using testing::HasSubstr;
using zol_test::ChildProcess;
using Names = std::set<std::string>;

namespace
{

std::string help()
{
    std::ostringstream out;
    const char* const arguments[] = {"zolget", "--help"};
    zolget::parseOptions(2, arguments, out);
    return out.str();
}

std::string manual(const std::string& source = "@OPTIONS@\n")
{
    std::istringstream in(source);
    std::ostringstream out;
    zolget::writeManualPage(in, out);
    return out.str();
}

std::string completion()
{
    std::ostringstream out;
    zolget::writeBashCompletion(out);
    return out.str();
}

/// The options that stand in the lines of a text that match, each line the first group.
Names namesIn(const std::string& text, const std::regex& line)
{
    static const std::regex NAME("-[-.A-Za-z0-9]+");
    Names names;
    std::istringstream lines(text);
    std::smatch found;
    for (std::string current; std::getline(lines, current);)
    {
        if (std::regex_match(current, found, line))
        {
            const std::string list = found.str(1);
            names.insert(std::sregex_token_iterator(list.begin(), list.end(), NAME), std::sregex_token_iterator());
        }
    }
    return names;
}

Names namesInTable()
{
    Names names;
    for (const zolget::OptionGroup& group : zolget::optionGroups())
    {
        for (const zolget::OptionText& option : group.options)
        {
            const std::vector<std::string> list = option.nameList();
            names.insert(list.begin(), list.end());
        }
    }
    return names;
}

/// What bash offers at the end of a command line.
std::string offered(const std::vector<std::string>& words)
{
    const zol_test::TemporaryDirectory folder;
    folder.write("file.txt", "");
    folder.write("folder/inner", "");
    std::string script = completion() + "COMP_WORDS=(zolget";
    for (const std::string& word : words)
    {
        script += " '" + word + "'";
    }
    script += ")\nCOMP_CWORD=" + std::to_string(words.size()) + "\n_zolget\nprintf '%s\\n' \"${COMPREPLY[@]}\"\n";
    ChildProcess::Options options;
    options.workingDirectory = folder.path().string();
    ChildProcess bash({"bash", "--norc", "-c", script}, options);
    EXPECT_EQ(bash.wait(), 0) << bash.errorOutput();
    EXPECT_EQ(bash.errorOutput(), "");
    return bash.output();
}

} // namespace

TEST(Pages, NameEveryOption)
{
    const Names names = namesInTable();
    EXPECT_GT(names.size(), 45U);
    EXPECT_EQ(namesIn(help(), std::regex("  (-[^ ,]+(, --[^ ]+)?)( .*)?")), names);
    const std::string page = std::regex_replace(manual(), std::regex(R"(\\f[BIR]|\\(?=-))"), "");
    EXPECT_EQ(namesIn(page, std::regex("(-[-.A-Za-z0-9]+(, --[^ ]+)?)( .*)?")), names);
    EXPECT_EQ(namesIn(completion(), std::regex(".*compgen -W '(-.*)' -- .*")), names);
}

TEST(Pages, NameOptionsThatTheProgramKnows)
{
    for (const zolget::OptionGroup& group : zolget::optionGroups())
    {
        for (const zolget::OptionText& option : group.options)
        {
            for (const std::string& name : option.nameList())
            {
                // Whatever else is wrong with these arguments, the option is one.
                const char* const arguments[] = {"zolget", name.c_str(), "1"};
                std::ostringstream out;
                try
                {
                    zolget::parseOptions(*option.argument == '\0' ? 2 : 3, arguments, out);
                }
                catch (const zolget::Failure& failure)
                {
                    EXPECT_THAT(failure.what(), testing::Not(HasSubstr(name + ";"))) << name;
                    EXPECT_THAT(failure.what(), testing::Not(HasSubstr("not expected"))) << name;
                }
            }
        }
    }
}

TEST(Pages, HaveAManualWithoutFault)
{
    ChildProcess lint({"mandoc", "-Tlint", ZOLGET_MANUAL});
    EXPECT_EQ(lint.wait(), 0);
    EXPECT_EQ(lint.output(), "");
}

TEST(Pages, AreInstalledAsTheyAreWritten)
{
    EXPECT_THAT(zol_test::readFile(ZOLGET_MANUAL), HasSubstr(manual()));
    EXPECT_THAT(zol_test::readFile(ZOLGET_MANUAL), HasSubstr("\n" + manual("@EXIT_STATUS@\n")));
    EXPECT_EQ(zol_test::readFile(ZOLGET_COMPLETION), completion());
}

TEST(Pages, NameEveryExitStatus)
{
    const std::string text = help();
    const std::string page = manual("@EXIT_STATUS@\n");
    for (int status = 0; status <= static_cast<int>(zolget::ExitStatus::OUT_OF_TIME); ++status)
    {
        EXPECT_THAT(page, HasSubstr(".TP\n.B " + std::to_string(status) + "\n"));
        EXPECT_THAT(text, testing::ContainsRegex("\n +" + std::to_string(status) + "  [a-z-]"));
    }
}

TEST(Pages, SayThatProxiesAreNotUsed)
{
    EXPECT_THAT(zol_test::readFile(ZOLGET_MANUAL), testing::ContainsRegex("http_proxy[^.]*,\n.B https_proxy\nand the "
                                                                          "like are not read"));
}

TEST(Pages, CompleteOptionsAndTheirArguments)
{
    EXPECT_EQ(offered({"--conn"}), "--connect-timeout\n");
    EXPECT_EQ(offered({"-o", "fi"}), "file.txt\n");
    EXPECT_EQ(offered({"--parts", "f"}), "folder\n");
    EXPECT_EQ(offered({"-X", "PA"}), "PATCH\n");
    EXPECT_EQ(offered({"-d", "f"}), "\n");
    EXPECT_EQ(offered({"-i", "--inc"}), "--include\n");
    EXPECT_EQ(offered({"http"}), "\n");
}

TEST(Pages, RefuseNamesThatAreNotInTheTable)
{
    EXPECT_THROW(zolget::optionText("--nonsense"), std::logic_error);
    EXPECT_STREQ(zolget::optionText("-o").names, "-o,--output");
}
