#include "blocxx/String.hpp"

#include "core/Ascii.hpp"
#include "core/LineInput.hpp"

#include "blocxx/Array.hpp"

#include <algorithm>
#include <cstring>
#include <ostream>
#include <string_view>

namespace blocxx
{

namespace
{

bool equalFolded(std::string_view left, std::string_view right) noexcept
{
    return left.size() == right.size() &&
           std::equal(left.begin(), left.end(), right.begin(),
                      [](char l, char r) { return l == r || Ascii::toLower(l) == Ascii::toLower(r); });
}

int compareFolded(std::string_view left, std::string_view right) noexcept
{
    const auto byteAt = [](std::string_view text, std::size_t index)
    { return index < text.size() ? static_cast<unsigned char>(text[index]) : 0; };
    const std::size_t common = std::min(left.size(), right.size());
    for (std::size_t i = 0; i < common; ++i)
    {
        if (Ascii::toLower(left[i]) != Ascii::toLower(right[i]))
        {
            return byteAt(left, i) - byteAt(right, i);
        }
    }
    if (left.size() == right.size())
    {
        return 0;
    }
    const int difference = byteAt(left, common) - byteAt(right, common);
    // A NUL that only one side has is a difference too, though its value is that of a missing byte.
    return difference != 0 ? difference : (left.size() < right.size() ? -1 : 1);
}

bool sameText(std::string_view left, std::string_view right, String::EIgnoreCaseFlag flag) noexcept
{
    return flag == String::E_CASE_SENSITIVE ? left == right : equalFolded(left, right);
}

std::size_t findFirst(const std::string& text, std::string_view wanted, std::size_t from) noexcept
{
    return from >= text.size() ? String::npos : text.find(wanted, from);
}

std::size_t findLast(const std::string& text, std::string_view wanted, std::size_t from) noexcept
{
    if (text.empty())
    {
        return String::npos;
    }
    const std::size_t end = std::min(from, text.size() - 1) + 1;
    return wanted.size() > end ? String::npos : text.rfind(wanted, end - wanted.size());
}

std::string_view viewOf(const char* text) noexcept
{
    return text == nullptr ? std::string_view() : std::string_view(text);
}

bool hasPrefix(std::string_view text, std::string_view prefix, String::EIgnoreCaseFlag flag) noexcept
{
    return prefix.size() <= text.size() && sameText(text.substr(0, prefix.size()), prefix, flag);
}

bool hasSuffix(std::string_view text, std::string_view suffix, String::EIgnoreCaseFlag flag) noexcept
{
    if (suffix.empty())
    {
        return text.empty(); // Deliberate: unlike an empty prefix, an empty suffix ends only the empty string.
    }
    return suffix.size() <= text.size() && sameText(text.substr(text.size() - suffix.size()), suffix, flag);
}

} // namespace

const char& String::operator[](std::size_t index) const noexcept
{
    static const char BEYOND = '\0';
    return index <= m_text.size() ? m_text.data()[index] : BEYOND;
}

char& String::operator[](std::size_t index) noexcept
{
    if (index < m_text.size())
    {
        return m_text[index];
    }
    // One for each thread, and fresh for each caller, so that nothing written here is ever read elsewhere.
    thread_local char beyond;
    beyond = '\0';
    return beyond;
}

std::size_t String::indexOf(const char* text, std::size_t from) const noexcept
{
    return findFirst(m_text, viewOf(text), from);
}

std::size_t String::indexOf(const String& text, std::size_t from) const noexcept
{
    return findFirst(m_text, text.m_text, from);
}

std::size_t String::lastIndexOf(char c, std::size_t from) const noexcept
{
    // Deliberate: a start beyond the end finds nothing here, while the search for a text clips it.
    return from != npos && from >= m_text.size() ? npos : m_text.rfind(c, from);
}

std::size_t String::lastIndexOf(const char* text, std::size_t from) const noexcept
{
    return findLast(m_text, viewOf(text), from);
}

std::size_t String::lastIndexOf(const String& text, std::size_t from) const noexcept
{
    return findLast(m_text, text.m_text, from);
}

String String::substring(std::size_t begin, std::size_t length) const
{
    return begin >= m_text.size() ? String() : String(m_text.data() + begin, std::min(length, m_text.size() - begin));
}

String& String::trim()
{
    return rtrim().ltrim();
}

String& String::ltrim()
{
    if (!m_text.empty() && Ascii::isSpace(m_text.front()))
    {
        m_text.erase(m_text.begin(), std::find_if_not(m_text.begin(), m_text.end(), Ascii::isSpace));
    }
    return *this;
}

String& String::rtrim()
{
    if (!m_text.empty() && Ascii::isSpace(m_text.back()))
    {
        m_text.erase(std::find_if_not(m_text.rbegin(), m_text.rend(), Ascii::isSpace).base(), m_text.end());
    }
    return *this;
}

bool String::isSpaces() const noexcept
{
    return std::all_of(m_text.begin(), m_text.end(), Ascii::isSpace);
}

bool String::equalsFolded(const char* other) const noexcept
{
    return equalFolded(m_text, std::string_view(other, m_text.size()));
}

int String::compareToIgnoreCase(const String& other) const noexcept
{
    return compareFolded(m_text, other.m_text);
}

int String::compareToIgnoreCase(const char* other) const noexcept
{
    return compareFolded(m_text, viewOf(other));
}

bool String::startsWith(const String& prefix, EIgnoreCaseFlag flag) const noexcept
{
    return hasPrefix(m_text, prefix.m_text, flag);
}

bool String::startsWith(const char* prefix, EIgnoreCaseFlag flag) const noexcept
{
    return hasPrefix(m_text, viewOf(prefix), flag);
}

bool String::endsWith(const String& suffix, EIgnoreCaseFlag flag) const noexcept
{
    return hasSuffix(m_text, suffix.m_text, flag);
}

bool String::endsWith(const char* suffix, EIgnoreCaseFlag flag) const noexcept
{
    return hasSuffix(m_text, viewOf(suffix), flag);
}

String& String::toLowerCase() noexcept
{
    std::transform(m_text.begin(), m_text.end(), m_text.begin(), Ascii::toLower);
    return *this;
}

String& String::toUpperCase() noexcept
{
    std::transform(m_text.begin(), m_text.end(), m_text.begin(), Ascii::toUpper);
    return *this;
}

String& String::erase() noexcept
{
    m_text.clear();
    return *this;
}

String& String::erase(std::size_t index, std::size_t length)
{
    if (index < m_text.size())
    {
        m_text.erase(index, length);
    }
    return *this;
}

StringArray String::tokenize(const char* delimiters, EReturnDelimitersFlag returnDelimiters,
                             EEmptyTokenReturnFlag returnEmptyTokens) const
{
    StringArray tokens;
    const std::string_view separators = viewOf(delimiters);
    const std::string_view text = m_text;
    std::size_t begin = 0;
    while (begin < text.size())
    {
        const std::size_t end = std::min(text.find_first_of(separators, begin), text.size());
        // Deliberate: a delimiter at the very start makes no empty token, one at the end does.
        if (end > begin || (returnEmptyTokens == E_RETURN_EMPTY_TOKENS && begin > 0))
        {
            tokens.push_back(substring(begin, end - begin));
        }
        if (end < text.size() && returnDelimiters == E_RETURN_DELIMITERS)
        {
            tokens.push_back(String(text[end]));
        }
        begin = end + 1;
    }
    if (returnEmptyTokens == E_RETURN_EMPTY_TOKENS && begin == text.size() && begin > 0)
    {
        tokens.push_back(String());
    }
    return tokens;
}

String String::getLine(std::istream& input)
{
    String line;
    readLine(input, line.m_text);
    return line;
}

std::ostream& operator<<(std::ostream& out, const String& text)
{
    return out.write(text.c_str(), static_cast<std::streamsize>(text.length()));
}

} // namespace blocxx
