#include "openwbem/OW_HTTPUtils.hpp"

#include "HeadLineReader.hpp"

#include <algorithm>
#include <istream>
#include <string>
#include <string_view>
#include <utility>

namespace OpenWBEM::HTTPUtils
{

namespace
{

using blocxx::String;

constexpr char CONTENT_LENGTH[] = "content-length";

/// Unlike std::isspace it knows no locale and takes bytes above 127.
bool isSpace(char c)
{
    return c == ' ' || (c >= '\t' && c <= '\r');
}

std::string_view trimmed(std::string_view text)
{
    while (!text.empty() && isSpace(text.front()))
    {
        text.remove_prefix(1);
    }
    while (!text.empty() && isSpace(text.back()))
    {
        text.remove_suffix(1);
    }
    return text;
}

bool isBlank(std::string_view line)
{
    return std::all_of(line.begin(), line.end(), [](char c) { return isSpace(c); });
}

String lowerCase(std::string_view text)
{
    std::string lower(text);
    for (char& c : lower)
    {
        const bool isUpper = c >= 'A' && c <= 'Z';
        c = static_cast<char>(c + (isUpper ? 'a' - 'A' : 0));
    }
    return String(std::move(lower));
}

String stringOf(std::string_view text)
{
    return String(text.data(), text.size());
}

/// Adds header lines to a map.
class FieldCollector
{
public:
    explicit FieldCollector(HTTPHeaderMap& map) : m_map(map) {}

    /// @param line not blank @return false if it is no header line
    bool add(std::string_view line)
    {
        if (++m_lines > MAX_HEADER_LINES)
        {
            return false;
        }
        return isSpace(line.front()) ? addContinuation(trimmed(line)) : addField(line);
    }

private:
    bool addField(std::string_view line)
    {
        const std::size_t colon = line.find(':');
        if (colon == std::string_view::npos || colon == 0)
        {
            return false;
        }
        // The line does not begin with white space, so there is something in front of the colon.
        String name = lowerCase(trimmed(line.substr(0, colon)));
        const std::string_view value = trimmed(line.substr(colon + 1));
        const bool isLength = name == CONTENT_LENGTH;
        const std::size_t entriesBefore = m_map.size();
        m_current = &m_map[std::move(name)];
        m_currentIsEmpty = value.empty();
        if (m_map.size() != entriesBefore)
        {
            *m_current = stringOf(value);
        }
        // RFC 9110 section 8.6: a length given several times with one value may be taken as that value.
        else if (!isLength || !isCurrentValue(value))
        {
            *m_current += ", ";
            *m_current += stringOf(value);
        }
        return true;
    }

    bool isCurrentValue(std::string_view value) const
    {
        return std::string_view(m_current->c_str(), m_current->length()) == value;
    }

    bool addContinuation(std::string_view text)
    {
        if (m_current == nullptr)
        {
            return false;
        }
        if (!m_currentIsEmpty)
        {
            *m_current += ' ';
        }
        *m_current += stringOf(text);
        m_currentIsEmpty = false;
        return true;
    }

    HTTPHeaderMap& m_map;
    std::size_t m_lines = 0;
    String* m_current = nullptr;  // the value of the last field, in the map
    bool m_currentIsEmpty = true; // without what it was joined to
};

enum EEndOfInput
{
    E_END_REFUSES,
    E_END_ENDS_HEAD
};

bool refuse(std::istream& input)
{
    input.setstate(std::ios_base::failbit);
    return false;
}

bool readFields(HTTPHeaderMap& map, HeadLineReader& reader, std::istream& input, EEndOfInput endOfInput)
{
    FieldCollector fields(map);
    for (;;)
    {
        const HeadLineReader::EResult result = reader.next();
        if (result == HeadLineReader::E_REFUSED)
        {
            return false;
        }
        if (result != HeadLineReader::E_LINE && endOfInput == E_END_REFUSES)
        {
            return false;
        }
        if (reader.line().empty())
        {
            return true;
        }
        if (isBlank(reader.line()) || !fields.add(reader.line()))
        {
            return refuse(input);
        }
    }
}

void splitWords(blocxx::Array<String>& words, std::string_view line)
{
    // Deliberate: a form feed does not separate words, although it is white space everywhere else in a head.
    const auto separates = [](char c) { return c == ' ' || c == '\t' || c == '\v'; };
    constexpr std::size_t USUAL_NUMBER = 4;
    blocxx::Array<String> found;
    found.reserve(USUAL_NUMBER);
    for (const char *at = line.data(), *const end = at + line.size(); at != end;)
    {
        const char* const word = std::find_if_not(at, end, separates);
        at = std::find_if(word, end, separates);
        if (at != word)
        {
            found.push_back(stringOf({word, static_cast<std::size_t>(at - word)}));
        }
    }
    words.swap(found);
}

} // namespace

bool parseHeader(HTTPHeaderMap& map, blocxx::Array<String>& array, std::istream& istr)
{
    if (istr.fail())
    {
        return false;
    }
    HeadLineReader reader(istr);
    for (std::size_t emptyLines = 0; emptyLines <= MAX_LEADING_EMPTY_LINES; ++emptyLines)
    {
        const HeadLineReader::EResult result = reader.next();
        if (result == HeadLineReader::E_REFUSED || result == HeadLineReader::E_END)
        {
            return false;
        }
        if (!isBlank(reader.line()))
        {
            splitWords(array, reader.line());
            return result == HeadLineReader::E_LINE && readFields(map, reader, istr, E_END_REFUSES);
        }
    }
    return refuse(istr);
}

bool parseHeader(HTTPHeaderMap& map, std::istream& istr)
{
    return buildMap(map, istr);
}

bool buildMap(HTTPHeaderMap& map, std::istream& istr)
{
    // Deliberate: a stream that has failed has no header lines, as one that has ended.
    if (istr.fail())
    {
        return true;
    }
    HeadLineReader reader(istr);
    return readFields(map, reader, istr, E_END_ENDS_HEAD);
}

bool headerHasKey(const HTTPHeaderMap& headers, const String& key)
{
    return headers.count(String(key).toLowerCase()) != 0;
}

String getHeaderValue(const HTTPHeaderMap& headers, const String& key)
{
    const HTTPHeaderMap::const_iterator found = headers.find(String(key).toLowerCase());
    return found == headers.end() ? String() : found->second;
}

} // namespace OpenWBEM::HTTPUtils
