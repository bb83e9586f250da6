#include "FuzzTarget.hpp"

#include "zol/http/ExchangeException.hpp"
#include "zol/mime/Content.hpp"
#include "zol/mime/MultipartReader.hpp"

#include <algorithm>
#include <utility>
#include <vector>

using namespace ZOLNS2;

namespace
{

/// Delivers a text in pieces of one size.
class Pieces : public MIME::Content
{
public:
    Pieces(const std::string& text, std::size_t size) : m_text(text), m_size(size) {}

    MIME::ContentTypeHeader getContentType() override { return {}; }
    bool hasContentLength() override { return false; }
    std::size_t getContentLength() override { return 0; }

    std::size_t getData(char* buffer, std::size_t room, const MIME::ContentStreamStateRef&) override
    {
        const std::size_t count = std::min({room, m_size, m_text.size() - m_position});
        std::copy_n(m_text.data() + m_position, count, buffer);
        m_position += count;
        return count == 0 ? MIME::END_OF_DATA : count;
    }

    MIME::ContentStreamStateRef createInitialStreamState() const override
    {
        return MIME::ContentStreamStateRef(new MIME::ContentStreamState);
    }

private:
    const std::string& m_text;
    const std::size_t m_size;
    std::size_t m_position = 0;
};

struct Outcome
{
    std::vector<std::string> parts;
    std::string failure;

    bool operator==(const Outcome& other) const { return parts == other.parts && failure == other.failure; }
};

Outcome read(const std::string& body, const blocxx::String& boundary, std::size_t pieceSize, std::size_t blockSize)
{
    MIME::MultipartReader::Limits limits;
    limits.parts = 50;
    Outcome outcome;
    try
    {
        MIME::MultipartReader reader(MIME::ContentRef(new Pieces(body, pieceSize)), boundary, limits);
        std::vector<char> block(blockSize);
        while (const auto part = reader.next())
        {
            outcome.parts.emplace_back();
            const MIME::ContentStreamStateRef state = part->getContent()->createInitialStreamState();
            std::size_t count = 0;
            while ((count = part->getContent()->getData(block.data(), block.size(), state)) != MIME::END_OF_DATA)
            {
                outcome.parts.back().append(block.data(), count);
            }
        }
    }
    catch (const HTTP::ExchangeException& failure)
    {
        zol_fuzz::check(failure.phase() == HTTP::ExchangeException::E_BODY, "a failure is of the phase body");
        outcome.failure = failure.getMessage();
    }
    return outcome;
}

} // namespace

// A multipart body: the parts are the same however it arrives and however they are read, and each stands in the body.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string body = zol_fuzz::textOf(data, size);
    const blocxx::String boundary("b b");
    const Outcome whole = read(body, boundary, std::string::npos, 65536);
    for (const std::string& part : whole.parts)
    {
        zol_fuzz::check(body.find(part) != std::string::npos, "a part is a piece of the body");
        zol_fuzz::check(part.find("\n--b b\r\n") == std::string::npos, "a part ends at a delimiter");
    }
    zol_fuzz::check(read(body, boundary, 1, 65536) == whole, "the same byte by byte");
    zol_fuzz::check(read(body, boundary, 7, 3) == whole, "the same in small pieces");
    zol_fuzz::check(read(body, boundary, std::string::npos, 8192) == whole, "the same in blocks of another size");
    return 0;
}
