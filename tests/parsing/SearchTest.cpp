// The search in a stream, wherever that ends and however it arrives.

#include "CutTable.hpp"

#include "zol/search/boyer_moore_search.hpp"

#include <istream>
#include <vector>

using namespace parsing_test;

namespace
{

std::string found(GuardedInput& input)
{
    const ZOLNS2::boyer_moore_search<char, unsigned long, int> search("\r\n--b", 5);
    std::istream stream(&input);
    std::vector<char> before;
    const bool isFound = search.searchStream(stream, before);
    return (isFound ? "found " : "not found ") + std::string(before.begin(), before.end()) +
           (input.left().empty() ? "" : " left " + input.left());
}

} // namespace

TEST(EveryCut, OfASearchedStreamDeliversWhatPrecedesThePattern)
{
    expectOutcomes(
        {
            {"", "not found "},
            {"a\r\n-b\r\n\r\n--a", "not found %"},
            {"\r\n--", "not found a\r\n-b\r\n\r\n--a%"},
            {"b", "found a\r\n-b\r\n\r\n--a"},
            {"\r\n--b", "found a\r\n-b\r\n\r\n--a left %"},
        },
        found);
}
