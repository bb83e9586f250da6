#include "ContentRange.hpp"

#include <gtest/gtest.h>

using zolget::parseContentRange;

TEST(ContentRange, HasFirstAndLastByteAndTheWholeLength)
{
    const auto range = parseContentRange("bytes 5-9/20");
    ASSERT_TRUE(range && range->bytes && range->total);
    EXPECT_EQ(range->bytes->first, 5U);
    EXPECT_EQ(range->bytes->last, 9U);
    EXPECT_EQ(*range->total, 20U);
}

TEST(ContentRange, MayHaveNoWholeLength)
{
    const auto range = parseContentRange("Bytes 0-0/*");
    ASSERT_TRUE(range && range->bytes);
    EXPECT_EQ(range->bytes->last, 0U);
    EXPECT_FALSE(range->total);
}

TEST(ContentRange, MayHaveNoBytes)
{
    const auto range = parseContentRange("bytes */20");
    ASSERT_TRUE(range);
    EXPECT_FALSE(range->bytes);
    EXPECT_EQ(range->total, std::uint64_t{20});
}

TEST(ContentRange, IsNothingElse)
{
    for (const char* text : {"", "bytes", "bytes 5-9", "bytes 9-5/20", "bytes 5-20/20", "bytes */*", "bytes 5-/20",
                             "bytes -5/20", "pages 5-9/20", "bytes 5-9/20x", "bytes 5-9/",
                             "bytes 5-99999999999999999999/*", "bytes  5-9/20", "bytes +5-9/20", "bytes=5-9/20"})
    {
        EXPECT_FALSE(parseContentRange(text)) << text;
    }
}
