#include "core/LineInput.hpp"

#include <istream>
#include <streambuf>

namespace blocxx
{

void readLine(std::istream& input, std::string& line)
{
    using Traits = std::char_traits<char>;
    if (input.fail())
    {
        return;
    }
    // Bytes come straight from the buffer: a line reader neither skips white space nor touches gcount().
    std::streambuf* const buffer = input.rdbuf();
    bool tookAny = false;
    bool ended = false;
    while (!ended)
    {
        const Traits::int_type c = buffer->sbumpc();
        if (Traits::eq_int_type(c, Traits::eof()))
        {
            input.setstate(tookAny ? std::ios_base::eofbit : std::ios_base::eofbit | std::ios_base::failbit);
            break;
        }
        tookAny = true;
        ended = Traits::to_char_type(c) == '\n';
        if (!ended)
        {
            line.push_back(Traits::to_char_type(c));
        }
    }
    // Deliberate: the first CR ends the line wherever it is, not only before the LF.
    if (const std::size_t carriageReturn = line.find('\r'); carriageReturn != std::string::npos)
    {
        line.erase(carriageReturn);
    }
}

} // namespace blocxx
