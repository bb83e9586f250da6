#include "content/ReceivedBytes.hpp"

#include <gtest/gtest.h>

#include <string>

namespace
{

using namespace ZOLNS2::MIME;

std::string numbered(size_t size)
{
    std::string bytes;
    for (int i = 0; bytes.size() < size; ++i)
    {
        bytes += std::to_string(i) + ' ';
    }
    bytes.resize(size);
    return bytes;
}

ReceivedBytes received(const std::string& bytes, size_t piece)
{
    ReceivedBytes all;
    for (size_t at = 0; at < bytes.size(); at += piece)
    {
        const std::string next = bytes.substr(at, piece);
        all.append(next.data(), next.size());
    }
    return all;
}

std::string joined(const ReceivedBytes& bytes)
{
    std::string all;
    while (all.size() < bytes.size())
    {
        const ReceivedBytes::Run run = bytes.runAt(all.size());
        EXPECT_GT(run.size, 0U);
        all.append(run.data, run.size);
    }
    return all;
}

std::string contentOf(const StoredBytes& bytes)
{
    std::string all(bytes.size(), '?');
    bytes.copy(0, all.size(), all.data());
    return all;
}

/// Around where blocks of any usual size begin and end.
const size_t SIZES[] = {0, 1, 2, 100, 4095, 4096, 4097, 16383, 16384, 16385, 32767, 32768, 32769, 65536, 100000};

TEST(ReceivedBytes, HoldWhatWasAppendedInPiecesOfAnySize)
{
    for (const size_t size : SIZES)
    {
        const std::string bytes = numbered(size);
        for (const size_t piece : {7U, 4096U, 16384U, 70000U})
        {
            const ReceivedBytes all = received(bytes, piece);
            ASSERT_EQ(all.size(), size);
            ASSERT_TRUE(joined(all) == bytes) << size << " in pieces of " << piece;
            ASSERT_EQ(all.runAt(size).size, 0U);
            if (size > 0)
            {
                ASSERT_EQ(all[0], bytes.front());
                ASSERT_EQ(all[size - 1], bytes.back());
            }
        }
    }
}

TEST(ReceivedBytes, WhatIsDroppedFromTheFrontIsInNeitherView)
{
    const std::string bytes = numbered(100000);
    for (const size_t dropped : SIZES)
    {
        ReceivedBytes all = received(bytes, 5000);
        all.dropFront(dropped);
        ASSERT_EQ(all.size(), bytes.size() - dropped);
        ASSERT_TRUE(joined(all) == bytes.substr(dropped)) << dropped;
        ASSERT_TRUE(contentOf(all.take()) == bytes.substr(dropped)) << dropped;
    }
}

TEST(ReceivedBytes, TakingLeavesNothingBehindAndSpoilsNothingTaken)
{
    ReceivedBytes all;
    for (const size_t size : SIZES)
    {
        for (const size_t dropped : {size_t{0}, size / 3, size})
        {
            const std::string bytes = numbered(size);
            all.append(bytes.data(), bytes.size());
            all.dropFront(dropped);
            const StoredBytes taken = all.take();
            ASSERT_EQ(all.size(), 0U);
            const std::string other(40000, '#');
            all.append(other.data(), other.size());
            ASSERT_TRUE(contentOf(taken) == bytes.substr(dropped)) << size << ", " << dropped << " dropped";
            ASSERT_TRUE(joined(all) == other);
            all.clear();
            ASSERT_EQ(all.size(), 0U);
        }
    }
}

TEST(ReceivedBytes, AnyStretchOfWhatWasTakenCanBeCopied)
{
    const std::string bytes = numbered(40000);
    ReceivedBytes all = received(bytes, 1000);
    all.dropFront(13);
    const StoredBytes taken = all.take();
    for (size_t index = 0; index < taken.size(); index += 997)
    {
        for (const size_t count : {size_t{0}, size_t{1}, size_t{5000}, size_t{20000}, taken.size() - index})
        {
            std::string stretch(std::min(count, taken.size() - index), '?');
            taken.copy(index, stretch.size(), stretch.data());
            ASSERT_TRUE(stretch == bytes.substr(13 + index, stretch.size())) << stretch.size() << " at " << index;
        }
    }
}

} // namespace
