#include "request/SendHead.hpp"

#include "message/WireText.hpp"

#include "blocxx/internal/DirectOutput.hpp"
#include "blocxx/internal/ForcedUnwind.hpp"

#include <memory>

namespace ZOLNS2::HTTP
{

namespace
{

constexpr std::size_t USUAL_HEAD_SIZE = 1024;

} // namespace

bool sendHead(HTTPConnectionImpl& connection, const Request& request)
{
    const std::size_t size = wireSizeOfHead(request.getRequestLine(), request.getHeaders());
    const blocxx::Internal::DirectOutput output(connection.buffer());
    if (connection.hasStream() || connection.fail() || !output.canWrite(size))
    {
        return false;
    }
    char usual[USUAL_HEAD_SIZE];
    const std::unique_ptr<char[]> large(size > sizeof usual ? new char[size] : nullptr);
    char* const head = large ? large.get() : usual;
    writeWireHead(head, request.getRequestLine(), request.getHeaders());
    // As a stream that flushes: what is thrown leaves badbit too.
    if (!blocxx::Internal::catchAllButUnwind([&] { return output.write(head, size); }, [] { return false; }))
    {
        connection.setstate(std::ios_base::badbit);
    }
    return true;
}

} // namespace ZOLNS2::HTTP
