#include "connection/InputEnd.hpp"

#include "blocxx/BaseStreamBuffer.hpp"

#include <istream>

namespace ZOLNS2::HTTP
{

bool inputEndedInOrder(const std::istream& input)
{
    // The bits do not tell: eof and fail are set after a cut body as after a complete one.
    if (const auto* buffer = dynamic_cast<const blocxx::BaseStreamBuffer*>(input.rdbuf()))
    {
        return buffer->inputState() == blocxx::BaseStreamBuffer::E_INPUT_ENDED;
    }
    return input.eof() && !input.bad();
}

} // namespace ZOLNS2::HTTP
