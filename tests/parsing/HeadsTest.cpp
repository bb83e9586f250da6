// Heads of messages, and of parts, wherever they are cut and however they arrive.

#include "CutTable.hpp"
#include "Shown.hpp"
#include "exchange/HeadFields.hpp"
#include "exchange/HeadLines.hpp"

#include <istream>

using namespace parsing_test;

namespace
{

std::string parsedHead(GuardedInput& input)
{
    std::istream stream(&input);
    OpenWBEM::HTTPHeaderMap map;
    blocxx::Array<blocxx::String> words;
    const bool isRead = OpenWBEM::HTTPUtils::parseHeader(map, words, stream);
    return std::string(isRead ? "read " : "refused ") + stateOf(stream) + " " + shown(words) + " " + shown(map) +
           (input.left().empty() ? "" : " left " + input.left());
}

std::string builtMap(GuardedInput& input)
{
    std::istream stream(&input);
    OpenWBEM::HTTPHeaderMap map;
    const bool isRead = OpenWBEM::HTTPUtils::buildMap(map, stream);
    return std::string(isRead ? "read " : "refused ") + stateOf(stream) + " " + shown(map) +
           (input.left().empty() ? "" : " left " + input.left());
}

std::string fieldsOfExchange(GuardedInput& input)
{
    static const char* const RESULTS[] = {"complete", "ended", "too large", "malformed"};
    ZOLNS2::HTTP::HeadLines lines(input, 1000);
    ZOLNS2::HTTP::HeadFields fields;
    const ZOLNS2::HTTP::HeadFields::EResult result = fields.read(lines);
    return std::string(RESULTS[result]) + " " + shown(fields.fields()) + (fields.problem().empty() ? "" : " problem") +
           (input.left().empty() ? "" : " left " + input.left());
}

} // namespace

TEST(EveryCut, OfAHeadIsAFailureOfParseHeaderWithTheWordsOfTheFirstLine)
{
    expectOutcomes(
        {
            {"", "refused EF  "},
            {"\r\n", "refused EF  "},
            {"HTTP/1.1", "refused EF % "},
            {" ", "refused EF HTTP/1.1 "},
            {"200", "refused EF HTTP/1.1|% "},
            {" ", "refused EF HTTP/1.1|200 "},
            {"OK", "refused EF HTTP/1.1|200|% "},
            {"\r", "refused EF  "}, // a CR that no LF follows: nothing of such a line is kept
            {"\n", "refused EF HTTP/1.1|200|OK "},
            {"Aa: 12\r", "refused EF HTTP/1.1|200|OK "},
            {"\n", "refused EF HTTP/1.1|200|OK aa=12"},
            {"\t3", "refused EF HTTP/1.1|200|OK aa=12"},
            {"\n", "refused EF HTTP/1.1|200|OK aa=12 3"},
            {"\r", "refused EF HTTP/1.1|200|OK aa=12 3"},
            {"\n", "read good HTTP/1.1|200|OK aa=12 3"},
            {"BODY", "read good HTTP/1.1|200|OK aa=12 3 left %"},
        },
        parsedHead);
}

TEST(EveryCut, OfHeaderLinesIsTheirEndForBuildMap)
{
    expectOutcomes(
        {
            {"", "read EF "},
            {"A", "refused EF "}, // a line without a colon
            {":", "read EF a="},
            {" ", "read EF a="},
            {"12", "read EF a=%"},
            {"\r", "refused EF "}, // a CR that no LF follows
            {"\n", "read EF a=12"},
            {"B", "refused EF a=12"},
            {":", "read EF a=12&b="},
            {"3", "read EF a=12&b=%"},
            {"\n", "read EF a=12&b=3"},
            {" ", "refused EF a=12&b=3"}, // a line of nothing but white space
            {"4", "read EF a=12&b=3 %"},
            {"\n", "read EF a=12&b=3 4"},
            {"\n", "read good a=12&b=3 4"},
            {"BODY", "read good a=12&b=3 4 left %"},
        },
        builtMap);
}

TEST(EveryCut, OfHeaderFieldsIsToldByAnExchange)
{
    expectOutcomes(
        {
            {"", "ended "},
            {"A", "ended  problem"}, // it would not be a field as it stands
            {":", "ended A="},
            {" ", "ended A="},
            {"12", "ended A=%"},
            {"\r", "ended A=12"},
            {"\n", "ended A=12"},
            {"B", "ended A=12 problem"},
            {":", "ended A=12&B="},
            {"3", "ended A=12&B=%"},
            {"\n", "ended A=12&B=3"},
            {"\t", "ended A=12&B=3 problem"}, // a line of nothing but white space
            {"4", "ended A=12&B=3 %"},
            {"\r\n", "ended A=12&B=3 4"},
            {"\r", "ended A=12&B=3 4"},
            {"\n", "complete A=12&B=3 4"},
            {"BODY", "complete A=12&B=3 4 left %"},
        },
        fieldsOfExchange);
}
