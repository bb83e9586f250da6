#include "FilePlace.hpp"

#include "FailureOf.hpp"
#include "support/TemporaryDirectory.hpp"

#include <gmock/gmock.h>

#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <string>

using testing::HasSubstr;
using zol_test::TemporaryDirectory;
using zolget::ExitStatus;
using zolget::locate;
using zolget_test::failureOf;

namespace
{

/// Where a place is, by the path of its folder.
std::string pathOf(const zolget::FilePlace& place)
{
    return std::filesystem::read_symlink("/proc/self/fd/" + std::to_string(place.folder.get())).string() + "/" +
           place.name;
}

/// A link in a folder as /tmp is, with an owner each. Only root can make it.
class SharedFolder : public testing::Test
{
protected:
    void SetUp() override
    {
        if (::geteuid() != 0)
        {
            GTEST_SKIP() << "needs root, to make links of other users";
        }
    }

    std::string link(mode_t mode, uid_t folderOwner, uid_t linkOwner)
    {
        std::string path = m_folder.file("link");
        EXPECT_EQ(::symlink("target", path.c_str()), 0);
        EXPECT_EQ(::lchown(path.c_str(), linkOwner, linkOwner), 0);
        EXPECT_EQ(::chown(m_folder.path().c_str(), folderOwner, folderOwner), 0);
        EXPECT_EQ(::chmod(m_folder.path().c_str(), mode), 0);
        return path;
    }

    TemporaryDirectory m_folder;
};

constexpr mode_t SHARED = 01777;
constexpr uid_t OTHER = 4711;
constexpr uid_t THIRD = 4712;

} // namespace

TEST(FilePlace, IsAFolderAndAName)
{
    const TemporaryDirectory folder;
    EXPECT_EQ(pathOf(locate(folder.file("new"))), folder.file("new"));
    EXPECT_FALSE(locate(folder.file("new")).status().has_value());
    EXPECT_TRUE(S_ISREG(locate(folder.write("old", "x")).status()->st_mode));
}

TEST(FilePlace, IsWhereLinksLead)
{
    const TemporaryDirectory folder;
    folder.write("inner/file", "");
    std::filesystem::create_symlink("inner/second", folder.file("first"));
    std::filesystem::create_symlink(folder.file("inner/file"), folder.file("inner/second"));
    EXPECT_EQ(pathOf(locate(folder.file("first"))), folder.file("inner/file"));
    std::filesystem::create_symlink("missing", folder.file("dangling"));
    EXPECT_EQ(pathOf(locate(folder.file("dangling"))), folder.file("missing"));
}

TEST(FilePlace, IsNotInACircleOfLinks)
{
    const TemporaryDirectory folder;
    std::filesystem::create_symlink("b", folder.file("a"));
    std::filesystem::create_symlink("a", folder.file("b"));
    const auto caught = failureOf([&folder] { locate(folder.file("a")); });
    EXPECT_EQ(caught.status, ExitStatus::LOCAL_FILE);
    EXPECT_THAT(caught.message, HasSubstr("Too many levels of symbolic links"));
}

TEST(FilePlace, IsNotAFolder)
{
    const TemporaryDirectory folder;
    for (const std::string& path : {folder.path().string() + "/", folder.file("."), folder.file("..")})
    {
        EXPECT_THAT(failureOf([&path] { locate(path); }).message, HasSubstr("Is a directory"));
    }
}

TEST_F(SharedFolder, HasNoLinkOfAnotherUserThatIsFollowed)
{
    const std::string path = link(SHARED, THIRD, OTHER);
    const auto caught = failureOf([&path] { locate(path); });
    EXPECT_EQ(caught.status, ExitStatus::LOCAL_FILE);
    EXPECT_THAT(caught.message, HasSubstr("it is a symbolic link of another user"));
}

TEST_F(SharedFolder, HasLinksOfItsOwnerThatAreFollowed)
{
    EXPECT_EQ(locate(link(SHARED, OTHER, OTHER)).name, "target");
}

TEST_F(SharedFolder, HasLinksOfThisUserThatAreFollowed)
{
    EXPECT_EQ(locate(link(SHARED, OTHER, ::geteuid())).name, "target");
}

TEST_F(SharedFolder, IsStickyAndWritableForEverybody)
{
    EXPECT_EQ(locate(link(0777, THIRD, OTHER)).name, "target");
    std::filesystem::remove(m_folder.file("link"));
    EXPECT_EQ(locate(link(01775, THIRD, OTHER)).name, "target");
}
