#include "exchange/RecentResponse.hpp"

#include "RandomHeads.hpp"
#include "exchange/ContentTypeField.hpp"
#include "exchange/HeadFields.hpp"
#include "exchange/HeadLines.hpp"

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace
{

using ZOLNS2::HTTP::Headers;
using ZOLNS2::HTTP::HeadInPlace;
using ZOLNS2::HTTP::RecentResponse;

using Lines = std::vector<std::pair<std::string, std::string>>;

Lines linesOf(const Headers& headers)
{
    Lines lines;
    for (const ZOLNS2::HTTP::Header& header : headers)
    {
        lines.emplace_back(std::string(header.name.c_str(), header.name.length()),
                           std::string(header.value.c_str(), header.value.length()));
    }
    return lines;
}

std::string textOf(const ZOLNS2::MIME::ContentTypeHeader& type)
{
    const blocxx::String text = toString(type);
    return {text.c_str(), text.length()};
}

/// As they are read from any head, line by line.
Headers readByLines(const std::string& bytes)
{
    std::istringstream input(bytes);
    ZOLNS2::HTTP::HeadLines lines(*input.rdbuf(), bytes.size());
    lines.next();
    ZOLNS2::HTTP::HeadFields fields;
    EXPECT_EQ(fields.read(lines), ZOLNS2::HTTP::HeadFields::E_COMPLETE);
    return fields.fields();
}

/// Heads of which many are the same as one before, or differ from it in one byte.
class SimilarHeads
{
public:
    std::string next()
    {
        if (m_heads.size() < 6 || m_random.oneIn(4))
        {
            m_heads.push_back(m_random.next());
            return m_heads.back();
        }
        std::string head = m_heads[m_heads.size() - 1 - m_random.below(6)];
        if (m_random.oneIn(3))
        {
            const std::size_t at = head.size() / 2 + m_random.below(head.size() / 2 + 1);
            head[std::min(at, head.size() - 1)] = static_cast<char>('a' + m_random.below(26));
        }
        return head;
    }

    bool oneIn(std::size_t count) { return m_random.oneIn(count); }

private:
    zol_test::RandomHeads m_random{7};
    std::vector<std::string> m_heads;
};

TEST(RecentResponse, MakesTheFieldsAndTypeOfEachHeadAsTheyStand)
{
    SimilarHeads heads;
    RecentResponse recent;
    std::vector<std::pair<Headers, Lines>> held;
    int inPlace = 0;
    for (int i = 0; i < 20000; ++i)
    {
        const std::string bytes = heads.next();
        HeadInPlace head;
        if (!head.scan(bytes))
        {
            continue;
        }
        ++inPlace;
        const Headers fields = recent.fieldsOf(head);
        const Headers plain = readByLines(bytes);
        ASSERT_EQ(linesOf(fields), linesOf(plain)) << bytes;
        ASSERT_EQ(textOf(recent.typeOf(fields)), textOf(contentTypeOf(plain, ZOLNS2::HTTP::octetStreamType())))
            << bytes;
        if (heads.oneIn(3))
        {
            held.emplace_back(fields, linesOf(plain));
        }
        if (held.size() > 4)
        {
            held.erase(held.begin());
        }
        for (const auto& [kept, lines] : held)
        {
            ASSERT_EQ(linesOf(kept), lines) << "changed by " << bytes;
        }
    }
    EXPECT_GT(inPlace, 8000);
}

TEST(RecentResponse, UsesTheMemoryOfFieldsThatAreNotHeldAnyMore)
{
    const std::string bytes = "HTTP/1.1 200 OK\r\nServer: x\r\n\r\n";
    HeadInPlace head;
    ASSERT_TRUE(head.scan(bytes));
    RecentResponse recent;
    const ZOLNS2::HTTP::Header* const first = &*recent.fieldsOf(head).begin();
    EXPECT_EQ(&*recent.fieldsOf(head).begin(), first);
    const Headers held = recent.fieldsOf(head);
    EXPECT_NE(&*recent.fieldsOf(head).begin(), first);
}

TEST(RecentResponse, GivesAProgramATypeThatItMayChange)
{
    RecentResponse recent;
    Headers fields;
    fields.addHeader("Content-Type", "text/plain; charset=x");
    ZOLNS2::MIME::ContentTypeHeader own = recent.typeOf(fields);
    own.setContentTypeString("Content-Type: text/html; a=b");
    EXPECT_EQ(textOf(recent.typeOf(fields)), "text/plain; charset=x");
}

} // namespace
