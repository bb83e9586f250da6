#include "FuzzTarget.hpp"

#include "openwbem/OW_HTTPChunkedIStream.hpp"

#include <algorithm>
#include <sstream>
#include <string>

namespace
{

struct Outcome
{
    std::string body;
    bool bad = false;
    std::string rest; // what the decoder has left on the connection

    bool operator==(const Outcome& other) const
    {
        return body == other.body && bad == other.bad && (bad || rest == other.rest);
    }
};

Outcome decode(const std::string& wire, std::size_t block)
{
    std::istringstream source(wire);
    OpenWBEM::HTTPChunkedIStream stream(source);
    Outcome outcome;
    std::string buffer(block, '\0');
    while (stream)
    {
        stream.read(buffer.data(), static_cast<std::streamsize>(block));
        outcome.body.append(buffer, 0, static_cast<std::size_t>(stream.gcount()));
    }
    outcome.bad = stream.bad();
    zol_fuzz::check(outcome.bad || stream.eof(), "a stream that ends is at its end or bad");
    source.clear();
    outcome.rest.assign(std::istreambuf_iterator<char>(source), std::istreambuf_iterator<char>());
    return outcome;
}

} // namespace

// However the reader cuts its reads, it gets the same bytes and the same end, and never more than was sent.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string wire = zol_fuzz::textOf(data, size);
    const Outcome whole = decode(wire, 20000);
    zol_fuzz::check(whole.body.size() <= size, "the body is part of what was sent");
    for (const std::size_t block : {std::size_t(1), std::size_t(7), std::size_t(4096)})
    {
        zol_fuzz::check(decode(wire, block) == whole, "the outcome does not depend on the size of reads");
    }
    return 0;
}
