#include "FuzzTarget.hpp"

#include "zol/search/boyer_moore_search.hpp"

#include <algorithm>
#include <istream>
#include <streambuf>
#include <string>
#include <string_view>
#include <vector>

namespace
{

/// Serves a text in runs of a fixed size; a size of 0 makes it keep nothing of its own.
class TextBuffer : public std::streambuf
{
public:
    TextBuffer(std::string text, std::size_t run) : m_text(std::move(text)), m_run(run) {}

    /// The position of its reader.
    std::size_t position() const { return m_served - static_cast<std::size_t>(egptr() - gptr()); }

protected:
    int_type underflow() override
    {
        if (m_served == m_text.size())
        {
            return traits_type::eof();
        }
        if (m_run > 0)
        {
            const std::size_t count = std::min(m_run, m_text.size() - m_served);
            char* const begin = m_text.data() + m_served;
            setg(begin, begin, begin + count);
            m_served += count;
            return traits_type::to_int_type(*begin);
        }
        return traits_type::to_int_type(m_text[m_served]);
    }
    int_type uflow() override
    {
        if (m_run > 0)
        {
            return std::streambuf::uflow();
        }
        const int_type next = underflow();
        m_served += next != traits_type::eof() ? 1 : 0;
        return next;
    }

private:
    std::string m_text;
    std::size_t m_run;
    std::size_t m_served = 0;
};

/// Searches the text to its end, again and again, and compares each piece with what std::string_view finds.
void searchAll(std::string_view pattern, const std::string& text, std::size_t run)
{
    const ZOLNS2::boyer_moore_search<char, unsigned long, int> search(pattern.data(), pattern.size());
    TextBuffer buffer(text, run);
    std::istream in(&buffer);
    std::vector<char> out;
    std::size_t begin = 0;
    for (bool more = true; more;)
    {
        const std::size_t place = std::string_view(text).find(pattern, begin);
        more = place != std::string_view::npos;
        const std::size_t end = more ? place : text.size();
        const std::size_t after = more ? place + pattern.size() : text.size();
        zol_fuzz::check(search.searchStream(in, out) == more, "the pattern is found where it is");
        zol_fuzz::check(std::string_view(out.data(), out.size()) == std::string_view(text).substr(begin, end - begin),
                        "what precedes the pattern is handed back");
        zol_fuzz::check(buffer.position() == after, "no byte after the pattern is read");
        zol_fuzz::check(in.good() == more && in.gcount() == (more ? 1 : 0),
                        "the stream is left as a single-character read leaves it");
        begin = after;
    }
}

} // namespace

// The first byte is the length of the pattern, which follows; the rest is the text. However its stream buffer serves
// it, the search finds what a plain search of the whole text finds.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size < 2)
    {
        return 0;
    }
    const std::string input = zol_fuzz::textOf(data + 1, size - 1);
    const std::size_t length = std::min<std::size_t>(std::max<std::size_t>(data[0], 1), input.size());
    const std::string text = input.substr(length);
    for (const std::size_t run : {std::size_t(0), std::size_t(1), std::size_t(2), std::size_t(7), std::size_t(65536)})
    {
        searchAll(std::string_view(input).substr(0, length), text, run);
    }
    return 0;
}
