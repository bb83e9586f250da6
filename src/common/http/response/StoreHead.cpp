#include "response/StoreHead.hpp"

#include "content/ContentTypeStore.hpp"
#include "message/HeaderStore.hpp"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <utility>

namespace ZOLNS2::HTTP::HTTPResponseUnit
{

namespace
{

constexpr std::string_view CONTENT_LENGTH = "content-length";
constexpr std::string_view CONTENT_TYPE = "content-type";

using Word = std::uint64_t;

template <class T>
T load(const char* bytes)
{
    T value = 0;
    std::memcpy(&value, bytes, sizeof value);
    return value;
}

/// A number as its bytes lie in memory, from one whose first byte weighs most, or the other way round.
constexpr Word swapped(Word word)
{
    return __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__ ? __builtin_bswap64(word) : word;
}

constexpr Word swapped(std::uint32_t word)
{
    return __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__ ? __builtin_bswap32(word) : word;
}

/// Up to eight bytes as a number that compares as they do: the first one weighs most.
Word wordOf(const char* bytes, std::size_t count)
{
    if (count >= sizeof(Word))
    {
        return swapped(load<Word>(bytes));
    }
    if (count >= 4)
    {
        // Two loads that overlap.
        const Word first = swapped(load<std::uint32_t>(bytes));
        const Word last = swapped(load<std::uint32_t>(bytes + count - 4));
        return first << 32 | last << 8 * (sizeof(Word) - count);
    }
    if (count == 0)
    {
        return 0;
    }
    const auto byteAt = [bytes](std::size_t at)
    { return Word{static_cast<unsigned char>(bytes[at])} << 8 * (sizeof(Word) - 1 - at); };
    return byteAt(0) | byteAt(count / 2) | byteAt(count - 1);
}

/// The ASCII letters of a word in lower case; it holds no byte beyond ASCII.
Word lowerCase(Word word)
{
    constexpr Word EACH = 0x0101010101010101;
    const Word fromA = word + EACH * (0x80 - 'A'); // bit 7 of a byte is set from "A" on
    const Word aboveZ = word + EACH * (0x7f - 'Z');
    return word | ((fromA & ~aboveZ & EACH * 0x80) >> 2);
}

/// A field with the first bytes of its name, which is where most names differ.
struct Sorted
{
    Word key;
    const HeadInPlace::Field* field;
};

/// Negative, zero or positive, as the names in lower case compare behind their keys, which are equal.
int compareRest(const Sorted& left, const Sorted& right)
{
    const std::string_view leftName = left.field->nameView();
    const std::string_view rightName = right.field->nameView();
    for (std::size_t at = sizeof(Word); at < leftName.size() && at < rightName.size(); at += sizeof(Word))
    {
        const Word leftWord = lowerCase(wordOf(leftName.data() + at, leftName.size() - at));
        const Word rightWord = lowerCase(wordOf(rightName.data() + at, rightName.size() - at));
        if (leftWord != rightWord)
        {
            return leftWord < rightWord ? -1 : 1;
        }
    }
    return leftName.size() == rightName.size() ? 0 : leftName.size() < rightName.size() ? -1 : 1;
}

bool isSameName(const Sorted& left, const Sorted& right)
{
    return left.key == right.key && left.field->nameLength == right.field->nameLength && compareRest(left, right) == 0;
}

/// Fields of one name stay in their order.
bool comesBefore(const Sorted& left, const Sorted& right)
{
    if (left.key != right.key)
    {
        return left.key < right.key;
    }
    const int order = compareRest(left, right);
    return order != 0 ? order < 0 : left.field < right.field;
}

/// A name in lower case, without an allocation for a usual one.
class LowerCaseName
{
public:
    explicit LowerCaseName(const Sorted& sorted)
    {
        const std::string_view name = sorted.field->nameView();
        m_size = name.size();
        if (m_size > sizeof m_inline)
        {
            m_heap.reset(new char[m_size]);
            m_begin = m_heap.get();
        }
        // Eight letters at a time, the last ones with a load that overlaps.
        const std::size_t last = m_size < sizeof(Word) ? 0 : m_size - sizeof(Word);
        const Word first = swapped(sorted.key);
        std::memcpy(m_begin, &first, sizeof first);
        for (std::size_t at = 0; at != last;)
        {
            at = std::min(at + sizeof(Word), last);
            const Word word = lowerCase(load<Word>(name.data() + at));
            std::memcpy(m_begin + at, &word, sizeof word);
        }
    }

    const char* data() const { return m_begin; }
    std::size_t size() const { return m_size; }
    bool is(std::string_view name) const { return name == std::string_view(m_begin, m_size); }

private:
    char m_inline[64];
    std::unique_ptr<char[]> m_heap;
    char* m_begin = m_inline;
    std::size_t m_size = 0;
};

/// The value that the fields of one name have together; a content-length that is repeated counts once (RFC 9110,
/// section 8.6).
std::string joinedValue(const Sorted* begin, const Sorted* end, bool isLength)
{
    std::string value(begin->field->valueView());
    for (const Sorted* at = begin + 1; at != end; ++at)
    {
        if (!isLength || at->field->valueView() != value)
        {
            value.append(", ", 2).append(at->field->valueView());
        }
    }
    return value;
}

void storeType(std::string_view value, Response& response)
{
    constexpr std::string_view NAME = "content-type: ";
    std::string line;
    line.reserve(NAME.size() + value.size());
    line.append(NAME).append(value);
    MIME::ContentTypeStore::set(response.contentType, blocxx::String(std::move(line)));
}

/// @return whether it is the type
bool storeField(const LowerCaseName& name, std::string_view value, Response& response, std::vector<Header>& headers)
{
    if (name.is(CONTENT_TYPE))
    {
        storeType(value, response);
        return true;
    }
    headers.emplace_back(name.data(), name.size(), value.data(), value.size());
    return false;
}

/// The fields of one name. @return whether it is the type
bool storeFields(const Sorted* begin, const Sorted* end, Response& response, std::vector<Header>& headers)
{
    const LowerCaseName name(*begin);
    return end - begin == 1 ? storeField(name, begin->field->valueView(), response, headers)
                            : storeField(name, joinedValue(begin, end, name.is(CONTENT_LENGTH)), response, headers);
}

} // namespace

bool storeHead(const HeadInPlace& head, Response& response)
{
    response.statusLine.version = head.version();
    response.statusLine.statusCode = head.status();
    response.statusLine.reasonPhrase = blocxx::String(head.reason().data(), head.reason().size());
    InlineArray<Sorted, 24> sorted;
    for (const HeadInPlace::Field& field : head)
    {
        sorted.push_back({lowerCase(wordOf(field.name, field.nameLength)), &field});
    }
    std::sort(sorted.begin(), sorted.end(), comesBefore);
    std::vector<Header>& headers = HeaderStore::linesOf(response.headers, sorted.size());
    bool hasType = false;
    for (const Sorted* at = sorted.begin(); at != sorted.end();)
    {
        const Sorted* const first = at;
        do
        {
            ++at;
        } while (at != sorted.end() && isSameName(*first, *at));
        hasType = storeFields(first, at, response, headers) || hasType;
    }
    return hasType;
}

} // namespace ZOLNS2::HTTP::HTTPResponseUnit
