#include "support/TemporaryDirectory.hpp"

#include <gtest/gtest.h>

namespace
{

TEST(TemporaryDirectory, IsRemovedWithAllItsContents)
{
    std::filesystem::path path;
    {
        const zol_test::TemporaryDirectory folder;
        path = folder.path();
        EXPECT_EQ(zol_test::readFile(folder.write("a/b/c.txt", std::string("x\0y", 3))), std::string("x\0y", 3));
        EXPECT_EQ(std::filesystem::file_size(folder.writeSparse("big", std::uintmax_t(1) << 40)), std::uintmax_t(1)
                                                                                                      << 40);
        EXPECT_TRUE(std::filesystem::exists(path));
    }
    EXPECT_FALSE(std::filesystem::exists(path));
}

} // namespace
