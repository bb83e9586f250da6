#include "openwbem/OW_HTTPUtils.hpp"

#include "HeadLineReader.hpp"

#include "blocxx/internal/StreamFailure.hpp"

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

/// Unlike std::isspace it ignores the locale and accepts bytes above 127.
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
///
///     field-line  = field-name ":" OWS field-value OWS      RFC 9112 section 5
///     obs-fold    = OWS CRLF RWS                            RFC 9112 section 5.2
///
/// A name may be any text without a colon, as characters outside a token do no harm; white space between the name
/// and the colon, which only an origin server has to refuse (RFC 9112 section 5.1), is removed.
class FieldCollector
{
public:
    explicit FieldCollector(HTTPHeaderMap& map) : m_map(map) {}

    /// @param line not blank @return false if it is not a header line
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
        // The line does not begin with white space, so there is something before the colon.
        String name = lowerCase(trimmed(line.substr(0, colon)));
        const std::string_view value = trimmed(line.substr(colon + 1));
        const bool isLength = name == CONTENT_LENGTH;
        // Made first: an entry without its value must not be left in the map when memory runs out.
        String first = stringOf(value);
        const std::size_t entriesBefore = m_map.size();
        m_current = &m_map[std::move(name)];
        m_currentIsEmpty = value.empty();
        if (m_map.size() != entriesBefore)
        {
            m_current->swap(first);
        }
        // RFC 9110 section 8.6: a length given several times with one value may be taken as that value.
        else if (!isLength || !isCurrentValue(value))
        {
            append(", ", value);
        }
        return true;
    }

    /// Whole or not at all.
    void append(std::string_view separator, std::string_view text)
    {
        std::string addition;
        addition.reserve(separator.size() + text.size());
        addition += separator;
        addition += text;
        *m_current += String(std::move(addition));
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
        append(m_currentIsEmpty ? "" : " ", text);
        m_currentIsEmpty = false;
        return true;
    }

    HTTPHeaderMap& m_map;
    std::size_t m_lines = 0;
    String* m_current = nullptr;  // the value of the last field, in the map
    bool m_currentIsEmpty = true; // without what it was joined to
};

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

/// What follows the last header line.
enum EEndOfInput
{
    E_END_REFUSES,  ///< the empty line, without which the head was cut
    E_END_ENDS_HEAD ///< the empty line or the end of the input
};

/// Reads with `read(HeadLineReader&, iostate& bits)`, and gives the stream the bits of what was read and those that
/// `read` adds. What the stream throws for them because its mask asks for it is kept apart from what its buffer or an
/// allocation throws while the head is read: that passes through as it is, with badbit set.
template <class Read>
bool readHead(std::istream& input, const Read& read)
{
    std::ios_base::iostate bits = std::ios_base::goodbit;
    bool accepted = false;
    try
    {
        HeadLineReader reader(*input.rdbuf());
        accepted = read(reader, bits);
        bits |= reader.state();
    }
    catch (...)
    {
        blocxx::Internal::setStateQuietly(input, std::ios_base::badbit);
        throw;
    }
    if (bits != std::ios_base::goodbit)
    {
        input.setstate(bits);
    }
    return accepted;
}

/// Reads header lines up to the empty line, or up to the end of the input if that may end them.
bool readFields(HTTPHeaderMap& map, HeadLineReader& reader, std::ios_base::iostate& bits, EEndOfInput endOfInput)
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
            bits |= std::ios_base::failbit;
            return false;
        }
    }
}

/// Skips empty lines, then reads the first line and the header lines.
///
///     HTTP-message = start-line CRLF *( field-line CRLF ) CRLF [ message-body ]      RFC 9112 section 2.1
///
/// LF alone ends a line too, a CR elsewhere refuses the head, and empty lines before the first one are skipped
/// (section 2.2).
bool readFirstLineAndFields(HTTPHeaderMap& map, blocxx::Array<String>& words, HeadLineReader& reader,
                            std::ios_base::iostate& bits)
{
    for (std::size_t emptyLines = 0; emptyLines <= MAX_LEADING_EMPTY_LINES; ++emptyLines)
    {
        const HeadLineReader::EResult result = reader.next();
        if (result == HeadLineReader::E_REFUSED || result == HeadLineReader::E_END)
        {
            return false;
        }
        if (!isBlank(reader.line()))
        {
            splitWords(words, reader.line());
            return result == HeadLineReader::E_LINE && readFields(map, reader, bits, E_END_REFUSES);
        }
    }
    bits |= std::ios_base::failbit;
    return false;
}

} // namespace

bool parseHeader(HTTPHeaderMap& map, blocxx::Array<String>& array, std::istream& istr)
{
    if (istr.fail())
    {
        return false;
    }
    return readHead(istr, [&](HeadLineReader& reader, std::ios_base::iostate& bits)
                    { return readFirstLineAndFields(map, array, reader, bits); });
}

bool parseHeader(HTTPHeaderMap& map, std::istream& istr)
{
    return buildMap(map, istr);
}

bool buildMap(HTTPHeaderMap& map, std::istream& istr)
{
    // Deliberate: a stream that has failed has no header lines, like one that has ended.
    if (istr.fail())
    {
        return true;
    }
    return readHead(istr, [&](HeadLineReader& reader, std::ios_base::iostate& bits)
                    { return readFields(map, reader, bits, E_END_ENDS_HEAD); });
}

} // namespace OpenWBEM::HTTPUtils
