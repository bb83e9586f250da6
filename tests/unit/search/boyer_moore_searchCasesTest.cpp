#include "ReferenceSearch.hpp"
#include "SearchStreams.hpp"

#include "zol/search/boyer_moore_search.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <random>
#include <string>
#include <string_view>
#include <vector>

using namespace search_test;

namespace
{

using Search = ZOLNS2::boyer_moore_search<char, unsigned long, int>;

/// Calls `use` with every word over the first `letters` letters that has at most `longest` of them.
void forEachWord(int letters, std::size_t longest, const std::function<void(const std::string&)>& use)
{
    std::string word;
    const std::function<void()> grow = [&]
    {
        use(word);
        for (char c = 'a'; word.size() < longest && c < 'a' + letters; ++c)
        {
            word.push_back(c);
            grow();
            word.pop_back();
        }
    };
    grow();
}

/// Searches a text to its end, again and again, and compares every piece with what std::string finds.
template <class Buffer>
class Checker
{
public:
    Checker() : m_buffer(Script{}), m_in(&m_buffer) {}

    void check(const Search& search, const std::string& pattern, const std::string& text, std::size_t step)
    {
        m_buffer.rewind(text, step);
        m_in.clear();
        std::size_t begin = 0;
        bool more = true;
        while (more)
        {
            const std::size_t end = text.find(pattern, begin);
            more = end != std::string::npos;
            const bool found = search.searchStream(m_in, m_out);
            const std::string_view expected = std::string_view(text).substr(begin, more ? end - begin : text.npos);
            const std::size_t position = more ? end + pattern.size() : text.size();
            if (found != more || std::string_view(m_out.data(), m_out.size()) != expected ||
                m_in.rdstate() != (more ? std::ios::goodbit : std::ios::eofbit | std::ios::failbit) ||
                m_in.gcount() != (more ? 1 : 0) || m_buffer.handedOut() != position)
            {
                ADD_FAILURE() << "pattern '" << pattern << "', text '" << text << "', from " << begin << ", step "
                              << step;
                return;
            }
            begin = position;
        }
        ++m_cases;
    }

    int cases() const { return m_cases; }

private:
    Buffer m_buffer;
    std::istream m_in;
    std::vector<char> m_out;
    int m_cases = 0;
};

/// Every pattern and every text of the alphabet, with refills of changing sizes.
template <class Buffer>
int checkAllWords(int letters, std::size_t longestPattern, std::size_t longestText)
{
    Checker<Buffer> checker;
    forEachWord(letters, longestPattern,
                [&](const std::string& pattern)
                {
                    if (pattern.empty())
                    {
                        return;
                    }
                    const Search search(pattern.data(), pattern.size());
                    forEachWord(letters, longestText,
                                [&](const std::string& text)
                                {
                                    if (testing::Test::HasFailure())
                                    {
                                        return;
                                    }
                                    const auto n = static_cast<std::size_t>(checker.cases());
                                    checker.check(search, pattern, text, 1 + n % (longestText + 1));
                                });
                });
    return checker.cases();
}

TEST(BoyerMooreSearchCases, EveryPatternInEveryTextOfTwoLettersThroughAStreamBufferOfOurs)
{
    const int cases = checkAllWords<DeviceBuffer>(2, 6, 12);
    RecordProperty("cases", cases);
    EXPECT_EQ(cases, 126 * 8191);
}

TEST(BoyerMooreSearchCases, EveryPatternInEveryTextOfTwoLettersThroughAnyOtherStreamBuffer)
{
    const int cases = checkAllWords<PlainBuffer>(2, 6, 11);
    RecordProperty("cases", cases);
    EXPECT_EQ(cases, 126 * 4095);
}

TEST(BoyerMooreSearchCases, EveryPatternInEveryTextOfThreeLettersThroughAStreamBufferOfOurs)
{
    const int cases = checkAllWords<DeviceBuffer>(3, 4, 8);
    RecordProperty("cases", cases);
    EXPECT_EQ(cases, 120 * 9841);
}

TEST(BoyerMooreSearchCases, EveryPatternInEveryTextOfThreeLettersThroughAnyOtherStreamBuffer)
{
    const int cases = checkAllWords<PlainBuffer>(3, 4, 7);
    RecordProperty("cases", cases);
    EXPECT_EQ(cases, 120 * 3280);
}

TEST(BoyerMooreSearchCases, EveryPatternInEveryBlockOfTwoLetters)
{
    int cases = 0;
    forEachWord(2, 6,
                [&](const std::string& pattern)
                {
                    const Search search(pattern.data(), pattern.size());
                    forEachWord(2, 10,
                                [&](const std::string& block)
                                {
                                    ASSERT_EQ(search.find(block.data(), block.size()), block.find(pattern))
                                        << "pattern '" << pattern << "', block '" << block << "'";
                                    ++cases;
                                });
                });
    EXPECT_EQ(cases, 127 * 2047);
}

std::string randomBytes(std::mt19937& random, std::size_t length, int values)
{
    std::string bytes(length, '\0');
    std::uniform_int_distribution<int> value(0, values - 1);
    for (char& c : bytes)
    {
        c = static_cast<char>(value(random) * (256 / values));
    }
    return bytes;
}

/// A text in which whole patterns, their beginnings and near misses stand close together.
std::string textAround(const std::string& pattern, std::mt19937& random, int values)
{
    std::string text;
    while (text.size() < 600)
    {
        switch (random() % 4)
        {
        case 0:
            text += pattern;
            break;
        case 1:
            text += pattern.substr(0, random() % pattern.size());
            break;
        case 2:
            text += pattern;
            text[text.size() - 1 - random() % pattern.size()] ^= 1;
            break;
        default:
            text += randomBytes(random, random() % 80, values);
        }
    }
    return text;
}

TEST(BoyerMooreSearchCases, RandomBytesWithRefillsOfEverySize)
{
    std::mt19937 random(20240607);
    Checker<DeviceBuffer> device;
    Checker<PlainBuffer> plain;
    Checker<UnbufferedBuffer> unbuffered;
    for (int round = 0; round < 300 && !HasFailure(); ++round)
    {
        const int values = round % 3 == 0 ? 256 : 2 + round % 7;
        const std::string pattern = randomBytes(random, 1 + random() % 75, values);
        const std::string text = textAround(pattern, random, values);
        const Search search(pattern.data(), pattern.size());
        for (std::size_t step = 1; step <= 64; ++step)
        {
            device.check(search, pattern, text, step);
            plain.check(search, pattern, text, step);
        }
        unbuffered.check(search, pattern, text, 1 + random() % 700);
    }
    RecordProperty("cases", device.cases() + plain.cases() + unbuffered.cases());
    EXPECT_EQ(device.cases(), 300 * 64);
}

/// A stream buffer of the size that a connection has.
class LargeBuffer : public DeviceBuffer
{
public:
    explicit LargeBuffer(Script script) : DeviceBuffer(std::move(script), 65536) {}
};

TEST(BoyerMooreSearchCases, RandomBytesInBlocks)
{
    std::mt19937 random(1977);
    for (int round = 0; round < 3000; ++round)
    {
        const int values = round % 3 == 0 ? 256 : 2 + round % 7;
        const std::string pattern = randomBytes(random, 1 + random() % 75, values);
        const std::string block = textAround(pattern, random, values);
        const Search search(pattern.data(), pattern.size());
        for (std::size_t begin = 0; begin < block.size();)
        {
            const std::size_t found = search.find(block.data() + begin, block.size() - begin);
            const std::size_t expected = block.find(pattern, begin);
            ASSERT_EQ(found == Search::npos ? std::string::npos : begin + found, expected);
            begin = expected == std::string::npos ? block.size() : expected + 1;
        }
    }
}

TEST(BoyerMooreSearchCases, OccurrencesAndNearMissesAcrossTheEndsOfPagesOfALargeBuffer)
{
    const std::size_t page = 4096;
    std::mt19937 random(99);
    Checker<LargeBuffer> checker;
    for (const std::size_t length : {1U, 2U, 3U, 34U, 75U, 5000U})
    {
        const std::string pattern = randomBytes(random, length, length > 1 ? 4 : 2);
        const Search search(pattern.data(), pattern.size());
        for (std::size_t into = 0; into <= std::min<std::size_t>(length, 80) && !HasFailure(); ++into)
        {
            // The pattern, and what nearly is one, end `into` bytes after the end of each page in turn.
            std::string text = randomBytes(random, 5 * page + into, 2);
            for (std::size_t pages = 1; pages <= 5; ++pages)
            {
                const std::size_t begin = pages * page + into - std::min(pages * page + into, length);
                text.replace(begin, pattern.size(), pattern);
                char& c = text[begin + random() % length];
                c = static_cast<char>(pages % 2 == 0 ? c : c ^ 1);
            }
            for (const std::size_t step : {100000U, 65536U, 20000U, 4097U, 4096U, 4095U, 1000U})
            {
                checker.check(search, pattern, text, step);
            }
        }
    }
    RecordProperty("cases", checker.cases());
    EXPECT_EQ(checker.cases(), 7 * (2 + 3 + 4 + 35 + 76 + 81));
}

TEST(BoyerMooreSearchCases, RandomSearchesLeaveWhatSingleCharacterReadsLeave)
{
    std::mt19937 random(7);
    int cases = 0;
    for (int round = 0; round < 2000 && !HasFailure(); ++round)
    {
        const int values = 2 + round % 4;
        const std::string pattern = randomBytes(random, 1 + random() % 12, values);
        const Script script{textAround(pattern, random, values), 1 + random() % 70};
        DeviceBuffer ours(script);
        DeviceBuffer theirs(script);
        std::istream in(&ours);
        std::istream reference(&theirs);
        std::vector<char> out;
        std::vector<char> expected;
        while (reference)
        {
            const std::string other = randomBytes(random, 1 + random() % 6, values);
            const std::string& wanted = random() % 2 == 0 ? pattern : other;
            const bool found = Search(wanted.data(), wanted.size()).searchStream(in, out);
            ASSERT_EQ(found, ReferenceSearch(wanted).searchStream(reference, expected));
            ASSERT_EQ(out, expected);
            ASSERT_EQ(in.rdstate(), reference.rdstate());
            ASSERT_EQ(in.gcount(), reference.gcount());
            ASSERT_EQ(ours.handedOut(), theirs.handedOut());
            ++cases;
        }
    }
    RecordProperty("cases", cases);
    EXPECT_GT(cases, 2000);
}

} // namespace
