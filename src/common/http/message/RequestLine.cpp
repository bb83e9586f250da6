#include "zol/http/RequestLine.hpp"

#include "message/WireText.hpp"

#include <ostream>
#include <string>

namespace ZOLNS2::HTTP
{

// An unformatted write: a width left on the stream must not pad a line on the wire.
std::ostream& operator<<(std::ostream& out, const RequestLine& line)
{
    std::string text;
    appendWireText(text, line);
    return out.write(text.data(), static_cast<std::streamsize>(text.size()));
}

} // namespace ZOLNS2::HTTP
