#include "zol/search/boyer_moore_search.hpp"

#include "ReferenceSearch.hpp"
#include "SearchStreams.hpp"

#include <gtest/gtest.h>

#include <memory>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

using namespace search_test;

namespace
{

using Search = ZOLNS2::boyer_moore_search<char, unsigned long, int>;

Search searchFor(const std::string& pattern)
{
    return Search(pattern.data(), pattern.size());
}

struct Found
{
    bool found;
    std::string before;
};

bool operator==(const Found& a, const Found& b)
{
    return a.found == b.found && a.before == b.before;
}

void PrintTo(const Found& f, std::ostream* os)
{
    *os << (f.found ? "found after \"" : "not found in \"") << f.before << '"';
}

template <class Searcher>
Found searchIn(const Searcher& search, std::istream& in)
{
    std::vector<char> out{'o', 'l', 'd'};
    const bool found = search.searchStream(in, out);
    return {found, std::string(out.begin(), out.end())};
}

Found searchIn(const std::string& pattern, const std::string& text)
{
    std::istringstream in(text);
    return searchIn(searchFor(pattern), in);
}

std::string rest(std::istream& in)
{
    return {std::istreambuf_iterator<char>(in), {}};
}

TEST(BoyerMooreSearch, DropsThePatternAndHandsBackWhatPrecedesIt)
{
    std::istringstream in("xx--b");
    EXPECT_EQ(searchIn(searchFor("--b"), in), (Found{true, "xx"}));
    EXPECT_TRUE(in.good()) << "the end of the stream has been reached, but not looked at";
    EXPECT_EQ(in.peek(), EOF);
}

TEST(BoyerMooreSearch, FindsThePatternAtTheVeryStart)
{
    EXPECT_EQ(searchIn("--b", "--bxx"), (Found{true, ""}));
}

TEST(BoyerMooreSearch, HandsBackTheWholeStreamWhenThereIsNoOccurrence)
{
    std::istringstream in("some text without it");
    EXPECT_EQ(searchIn(searchFor("--b"), in), (Found{false, "some text without it"}));
    EXPECT_EQ(in.rdstate(), std::ios::eofbit | std::ios::failbit);
}

TEST(BoyerMooreSearch, HandsBackAStreamThatIsShorterThanThePattern)
{
    EXPECT_EQ(searchIn("--boundary", "--b"), (Found{false, "--b"}));
    EXPECT_EQ(searchIn("--boundary", ""), (Found{false, ""}));
}

TEST(BoyerMooreSearch, FindsAnEmptyPatternAtOnceAndReadsNothing)
{
    std::istringstream in("abc");
    EXPECT_EQ(searchIn(searchFor(""), in), (Found{true, ""}));
    EXPECT_EQ(rest(in), "abc");
    std::istringstream atEnd("");
    atEnd.setstate(std::ios::eofbit);
    EXPECT_EQ(searchIn(searchFor(""), atEnd), (Found{true, ""}));
    EXPECT_EQ(atEnd.rdstate(), std::ios::eofbit);
}

TEST(BoyerMooreSearch, AnEmptyPatternMayComeWithANullPointer)
{
    std::istringstream in("abc");
    EXPECT_EQ(searchIn(Search(nullptr, 0), in), (Found{true, ""}));
}

TEST(BoyerMooreSearch, LeavesAFailedStreamAlone)
{
    for (const auto state : {std::ios::failbit, std::ios::badbit, std::ios::failbit | std::ios::badbit})
    {
        std::istringstream in("--b");
        in.setstate(state);
        EXPECT_EQ(searchIn(searchFor("--b"), in), (Found{false, ""}));
        EXPECT_EQ(searchIn(searchFor(""), in), (Found{false, ""}));
        EXPECT_EQ(in.rdstate(), state);
        in.clear();
        EXPECT_EQ(rest(in), "--b");
    }
}

TEST(BoyerMooreSearch, AStreamThatHasSeenItsEndFailsWithoutBeingRead)
{
    std::istringstream plain("--b");
    plain.setstate(std::ios::eofbit);
    EXPECT_EQ(searchIn(searchFor("--b"), plain), (Found{false, ""}));
    EXPECT_EQ(plain.rdstate(), std::ios::eofbit | std::ios::failbit);

    DeviceBuffer buffer(Script{"--b", 3});
    std::istream device(&buffer);
    EXPECT_EQ(device.peek(), '-') << "the pattern now lies in the buffer";
    device.setstate(std::ios::eofbit);
    EXPECT_EQ(searchIn(searchFor("--b"), device), (Found{false, ""}));
    EXPECT_EQ(device.rdstate(), std::ios::eofbit | std::ios::failbit);
}

TEST(BoyerMooreSearch, TakesBytesOfTheUpperHalfAsUnsigned)
{
    EXPECT_EQ(searchIn("\x80\xff\x80", "\xff\x80\x80\xff\xff\x80\xff\x80\x81"), (Found{true, "\xff\x80\x80\xff\xff"}));
    EXPECT_EQ(searchIn("abc", "\xff\xfe\x80"
                              "abc"),
              (Found{true, "\xff\xfe\x80"}));
}

TEST(BoyerMooreSearch, TakesNulAsAnyOtherByte)
{
    const std::string pattern("\0a\0", 3);
    EXPECT_EQ(searchIn(pattern, std::string("\0\0a\0b", 5)), (Found{true, std::string("\0", 1)}));
    EXPECT_EQ(searchIn(pattern, std::string("\0aa\0", 4)), (Found{false, std::string("\0aa\0", 4)}));
}

TEST(BoyerMooreSearch, FindsTheRightOneOfOverlappingCandidates)
{
    EXPECT_EQ(searchIn("aab", "aaab"), (Found{true, "a"}));
    EXPECT_EQ(searchIn("abcab", "abcaabcab"), (Found{true, "abca"}));
    EXPECT_EQ(searchIn("aa", "aaa"), (Found{true, ""}));
}

TEST(BoyerMooreSearch, ContinuesAfterTheLastOccurrence)
{
    const Search search = searchFor("--b");
    for (const std::size_t step : {1U, 2U, 3U, 64U})
    {
        DeviceBuffer buffer(Script{"one--btwo--b--bthree", step});
        std::istream in(&buffer);
        EXPECT_EQ(searchIn(search, in), (Found{true, "one"}));
        EXPECT_EQ(searchIn(search, in), (Found{true, "two"}));
        EXPECT_EQ(searchIn(search, in), (Found{true, ""}));
        EXPECT_EQ(searchIn(search, in), (Found{false, "three"}));
        EXPECT_EQ(searchIn(search, in), (Found{false, ""}));
    }
}

TEST(BoyerMooreSearch, DoesNotAskForAByteAfterTheOccurrence)
{
    for (std::size_t step = 1; step <= 8; ++step)
    {
        // One byte more would ask the device again, and the device throws when it is asked after the occurrence.
        DeviceBuffer device(Script{"some text--b", step, 12});
        std::istream in(&device);
        in.exceptions(std::ios::badbit);
        EXPECT_EQ(searchIn(searchFor("--b"), in), (Found{true, "some text"})) << step;
        EXPECT_TRUE(in.good());

        PlainBuffer plain(Script{"some text--b", step, 12});
        std::istream plainIn(&plain);
        plainIn.exceptions(std::ios::badbit);
        EXPECT_EQ(searchIn(searchFor("--b"), plainIn), (Found{true, "some text"})) << step;
        EXPECT_TRUE(plainIn.good());
    }
}

TEST(BoyerMooreSearch, LeavesTheStreamRightAfterTheOccurrence)
{
    std::istringstream in("ab--bcd");
    EXPECT_TRUE(searchIn(searchFor("--b"), in).found);
    EXPECT_EQ(in.tellg(), std::streampos(5));
    EXPECT_EQ(rest(in), "cd");

    DeviceBuffer buffer(Script{"ab--bcd", 7});
    std::istream device(&buffer);
    EXPECT_TRUE(searchIn(searchFor("--b"), device).found);
    EXPECT_EQ(rest(device), "cd");
}

TEST(BoyerMooreSearch, LosesNothingThatADeviceWithoutABufferDeliveredBeforeItThrew)
{
    const std::string text = "some text--boundarand more";
    for (std::size_t throwAt = 0; throwAt <= text.size(); ++throwAt)
    {
        UnbufferedBuffer buffer(Script{text, 100, throwAt});
        std::istream in(&buffer);
        EXPECT_EQ(searchIn(searchFor("--boundary"), in), (Found{false, text.substr(0, throwAt)}));
        EXPECT_EQ(in.rdstate(), std::ios::badbit | std::ios::failbit);
    }
}

TEST(BoyerMooreSearch, AfterAHitTheStreamCountsOneCharacterAndAfterAMissNone)
{
    const auto check = [](std::streambuf& buffer)
    {
        std::istream in(&buffer);
        for (const std::string expected : {"one", "", ""})
        {
            EXPECT_EQ(searchIn(searchFor("--b"), in), (Found{true, expected}));
            EXPECT_EQ(in.gcount(), 1);
        }
        EXPECT_EQ(searchIn(searchFor("--b"), in), (Found{false, "rest--"}));
        EXPECT_EQ(in.gcount(), 0);
    };
    for (const std::size_t step : {1U, 2U, 3U, 5U, 64U})
    {
        const Script script{"one--b--b--brest--", step};
        DeviceBuffer device(script);
        PlainBuffer plain(script);
        UnbufferedBuffer unbuffered(script);
        check(device);
        check(plain);
        check(unbuffered);
    }
}

TEST(BoyerMooreSearch, AStreamWithoutABufferThatThrowsIsLeftBadAndFailed)
{
    for (const std::size_t throwAt : {0U, 2U, 5U})
    {
        UnbufferedBuffer buffer(Script{"some text--b", 1, throwAt});
        std::istream in(&buffer);
        EXPECT_FALSE(searchIn(searchFor("--b"), in).found);
        EXPECT_EQ(in.rdstate(), std::ios::badbit | std::ios::failbit);

        UnbufferedBuffer again(Script{"some text--b", 1, throwAt});
        std::istream throwing(&again);
        throwing.exceptions(std::ios::badbit);
        std::vector<char> out;
        EXPECT_THROW(searchFor("--b").searchStream(throwing, out), std::runtime_error);
        EXPECT_EQ(throwing.rdstate(), std::ios::badbit);
    }
}

/// One of ours that keeps nothing in its buffer, so that it has no window to look into.
class WindowlessBuffer : public DeviceBuffer
{
public:
    using DeviceBuffer::DeviceBuffer;

protected:
    int_type underflow() override
    {
        if (m_next == traits_type::eof())
        {
            char c = 0;
            m_next = buffer_from_device(&c, 1) == 1 ? traits_type::to_int_type(c) : traits_type::eof();
        }
        return m_next;
    }
    int_type uflow() override
    {
        const int_type c = underflow();
        m_next = traits_type::eof();
        return c;
    }
    std::streamsize xsgetn(char* to, std::streamsize count) override
    {
        return std::streambuf::xsgetn(to, count); // NOLINT(bugprone-parent-virtual-call): byte by byte
    }

private:
    int_type m_next = traits_type::eof();
};

TEST(BoyerMooreSearch, FindsItThroughABufferOfOursThatHasNoWindow)
{
    WindowlessBuffer buffer(Script{"some text--brest--", 1});
    std::istream in(&buffer);
    EXPECT_EQ(searchIn(searchFor("--b"), in), (Found{true, "some text"}));
    EXPECT_EQ(searchIn(searchFor("--b"), in), (Found{false, "rest--"}));
}

/// Records the runs that it was given.
struct Runs
{
    void append(const char* bytes, std::size_t count) { text.append(bytes, count); }

    std::string text{};
};

TEST(BoyerMooreSearch, GivesASinkWhatPrecedesThePatternInOrder)
{
    const std::string text(10000, 'x');
    for (const std::size_t step : {1U, 3U, 100U, 20000U})
    {
        DeviceBuffer device(Script{text + "--" + text + "--brest", step}, 20000);
        PlainBuffer plain(Script{text + "--" + text + "--brest", step});
        for (std::streambuf* const buffer :
             {static_cast<std::streambuf*>(&device), static_cast<std::streambuf*>(&plain)})
        {
            std::istream in(buffer);
            Runs runs;
            EXPECT_TRUE(searchFor("--b").searchStreamInto(in, runs));
            EXPECT_TRUE(runs.text == text + "--" + text) << step;
            EXPECT_FALSE(searchFor("--b").searchStreamInto(in, runs));
            EXPECT_TRUE(runs.text == text + "--" + text + "rest") << "what the sink holds is left to it";
        }
    }
}

TEST(BoyerMooreSearch, PassesOnWhatASinkThrows)
{
    struct FullSink
    {
        void append(const char*, std::size_t) { throw std::length_error("full"); }
    } sink;
    DeviceBuffer buffer(Script{"some text--b", 64});
    std::istream in(&buffer);
    EXPECT_THROW(searchFor("--b").searchStreamInto(in, sink), std::length_error);
}

TEST(BoyerMooreSearch, FindsThePatternInABlock)
{
    const Search search = searchFor("--b");
    const std::string block = "some--text--b--b";
    EXPECT_EQ(search.find(block.data(), block.size()), 10U);
    EXPECT_EQ(search.find(block.data() + 11, block.size() - 11), 2U);
    EXPECT_EQ(search.find(block.data(), 13), 10U) << "it ends with the block";
    EXPECT_EQ(search.find(block.data(), 12), Search::npos) << "the block ends within it";
    EXPECT_EQ(search.find(block.data(), 2), Search::npos);
    EXPECT_EQ(search.find(nullptr, 0), Search::npos);
}

TEST(BoyerMooreSearch, FindsAnEmptyPatternAtTheBeginningOfABlock)
{
    EXPECT_EQ(searchFor("").find("abc", 3), 0U);
    EXPECT_EQ(searchFor("").find(nullptr, 0), 0U);
}

TEST(BoyerMooreSearch, FindsBytesWithTheUpperBitAndNULInABlock)
{
    const std::string pattern("\0\xff\x80", 3);
    const std::string block = std::string("\0\xff\0\xff", 4) + pattern;
    EXPECT_EQ(searchFor(pattern).find(block.data(), block.size()), 4U);
}

TEST(BoyerMooreSearch, ACopyAndAnAssignedSearchFindWhatTheOriginalFinds)
{
    Search search = searchFor("--first");
    const Search copy(search);
    search = searchFor("second");
    std::istringstream in("a--firstb second");
    EXPECT_EQ(searchIn(copy, in), (Found{true, "a"}));
    EXPECT_EQ(searchIn(search, in), (Found{true, "b "}));
    const Search& itself = search;
    search = itself;
    search.precompute_suffix_table();
    EXPECT_EQ(searchIn(search, *std::make_unique<std::istringstream>("x second")), (Found{true, "x "}));
}

TEST(BoyerMooreSearch, RefusesAPatternThatItsIndexTypeCannotCount)
{
    using Small = ZOLNS2::boyer_moore_search<char, unsigned long, signed char>;
    const std::string longest(126, 'a');
    std::istringstream in("b" + longest);
    EXPECT_EQ(searchIn(Small(longest.data(), 126), in), (Found{true, "b"}));
    const std::string tooLong(127, 'a');
    EXPECT_THROW(Small(tooLong.data(), 127), std::length_error);
}

/// The outcome of a search, with the state of the stream and what it threw.
struct Outcome
{
    std::string thrown{};
    Found result{};
    std::ios::iostate state{};
    std::streamsize gcount{};
    std::size_t position{};
};

bool operator==(const Outcome& a, const Outcome& b)
{
    return a.thrown == b.thrown && a.result == b.result && a.state == b.state && a.gcount == b.gcount &&
           a.position == b.position;
}

void PrintTo(const Outcome& o, std::ostream* os)
{
    PrintTo(o.result, os);
    *os << ", state " << o.state << ", gcount " << o.gcount << ", position " << o.position << ", thrown '" << o.thrown
        << "'";
}

template <class Buffer, class Searcher>
Outcome outcomeOf(const Searcher& search, const Script& script, std::ios::iostate mask)
{
    Buffer buffer(script);
    std::istream in(&buffer);
    in.exceptions(mask);
    std::vector<char> out;
    Outcome outcome;
    try
    {
        outcome.result.found = search.searchStream(in, out);
    }
    catch (const std::ios::failure&)
    {
        outcome.thrown = "stream failure";
    }
    catch (const std::runtime_error& e)
    {
        outcome.thrown = e.what();
    }
    outcome.result.before.assign(out.begin(), out.end());
    outcome.state = in.rdstate();
    outcome.gcount = in.gcount();
    outcome.position = buffer.handedOut();
    return outcome;
}

template <class Buffer>
class BoyerMooreSearchOver : public testing::Test
{
};
using Buffers = testing::Types<PlainBuffer, UnbufferedBuffer, DeviceBuffer>;
TYPED_TEST_SUITE(BoyerMooreSearchOver, Buffers, );

TYPED_TEST(BoyerMooreSearchOver, LeavesWhatSingleCharacterReadsLeaveWithEveryExceptionMaskAndFailure)
{
    const std::string pattern = "abab";
    const std::string texts[] = {"", "ab", "xxababyy", "abaabaabb", "bababab", "xyzxyzxyzxyz", "aababbabaabab"};
    int cases = 0;
    for (const std::string& text : texts)
    {
        for (std::size_t step = 1; step <= 5; ++step)
        {
            for (std::size_t throwAt = 0; throwAt <= text.size() + 1; ++throwAt)
            {
                for (int mask = 0; mask < 8; ++mask)
                {
                    const Script script{text, step, throwAt > text.size() ? NEVER : throwAt};
                    const auto bits = ((mask & 1) != 0 ? std::ios::eofbit : std::ios::goodbit) |
                                      ((mask & 2) != 0 ? std::ios::failbit : std::ios::goodbit) |
                                      ((mask & 4) != 0 ? std::ios::badbit : std::ios::goodbit);
                    EXPECT_EQ(outcomeOf<TypeParam>(searchFor(pattern), script, bits),
                              outcomeOf<TypeParam>(ReferenceSearch(pattern), script, bits))
                        << text << " in steps of " << step << ", throwing at " << throwAt << ", mask " << bits;
                    ++cases;
                }
            }
        }
    }
    this->RecordProperty("cases", cases);
    EXPECT_GT(cases, 0);
}

} // namespace
