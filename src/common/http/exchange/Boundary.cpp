#include "exchange/Boundary.hpp"

#include "exchange/Refusal.hpp"
#include "exchange/Text.hpp"

#include "blocxx/ErrnoKeeper.hpp"
#include "zol/mime/MultipartContent.hpp"
#include "zol/mime/MultipartMixedContent.hpp"
#include "zol/mime/OctetStreamContent.hpp"
#include "zol/mime/TextContent.hpp"
#include "zol/mime/TypedContent.hpp"

#include <sys/random.h>
#include <sys/types.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>
#include <functional>
#include <string>
#include <string_view>
#include <utility>

namespace ZOLNS2::MIME
{

namespace
{

constexpr size_t MOST_CHARACTERS = 70;
constexpr size_t RANDOM_BYTES = 16;
constexpr size_t BLOCK_SIZE = 65536;

// bchars := bcharsnospace / " "   (RFC 2046, section 5.1.1)
constexpr std::string_view BOUNDARY_CHARACTERS = "0123456789'()+_,-./:=? "
                                                 "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz";

std::array<unsigned char, RANDOM_BYTES> randomBytes()
{
    const blocxx::ErrnoKeeper errnoKeeper;
    std::array<unsigned char, RANDOM_BYTES> bytes = {};
    ssize_t count = 0;
    do
    {
        count = ::getrandom(bytes.data(), bytes.size(), 0);
    } while (count < 0 && errno == EINTR);
    // The kernel gives as few as this in one piece.
    if (count != static_cast<ssize_t>(bytes.size()))
    {
        refuseContentWithErrno("Cannot make a boundary", errno);
    }
    return bytes;
}

bool isInMemory(const ContentRef& content)
{
    return content.cast_to<ApplicationOctetStreamContent>() || content.cast_to<TextContent>();
}

bool bytesContain(const ContentRef& content, std::string_view wanted)
{
    const ContentStreamStateRef state = content->createInitialStreamState();
    const std::boyer_moore_horspool_searcher searcher(wanted.begin(), wanted.end());
    std::string block;
    for (size_t kept = 0;;)
    {
        // What may be the beginning of an occurrence stays in front of the next bytes.
        kept = std::min(block.size(), wanted.size() - 1);
        block.erase(0, block.size() - kept);
        block.resize(kept + BLOCK_SIZE);
        const size_t count = content->getData(block.data() + kept, BLOCK_SIZE, state);
        if (count == END_OF_DATA)
        {
            return false;
        }
        block.resize(kept + count);
        if (std::search(block.begin(), block.end(), searcher) != block.end())
        {
            return true;
        }
    }
}

bool contains(const ContentRef& content, std::string_view wanted);

bool multipartContains(const blocxx::String& boundary, const Contents& parts, std::string_view wanted)
{
    const blocxx::String delimiter = "--" + boundary;
    return HTTP::viewOf(delimiter).find(wanted) != std::string_view::npos ||
           std::any_of(parts.begin(), parts.end(), [wanted](const ContentRef& part) { return contains(part, wanted); });
}

bool contains(const ContentRef& content, std::string_view wanted)
{
    if (const auto typed = content.cast_to<TypedContent>())
    {
        return contains(typed->getContent(), wanted);
    }
    if (const auto multipart = content.cast_to<MultipartContent>())
    {
        return multipartContains(multipart->getBoundary(), multipart->getParts(), wanted);
    }
    if (const auto mixed = content.cast_to<MultipartMixedContent>())
    {
        return multipartContains(mixed->getBoundary(), mixed->getParts(), wanted);
    }
    return isInMemory(content) && bytesContain(content, wanted);
}

} // namespace

blocxx::String makeBoundary()
{
    const char* const digits = "0123456789abcdef";
    std::string boundary = "zol-";
    for (const unsigned char byte : randomBytes())
    {
        boundary += {digits[byte / 16], digits[byte % 16]};
    }
    return {std::move(boundary)};
}

void checkBoundary(const blocxx::String& boundary)
{
    const std::string_view text = HTTP::viewOf(boundary);
    if (text.empty() || text.size() > MOST_CHARACTERS || text.back() == ' ' ||
        text.find_first_not_of(BOUNDARY_CHARACTERS) != std::string_view::npos)
    {
        refuseContent(HTTP::quoted(boundary) +
                      " is not a boundary: that is 1 to 70 letters, digits, blanks and characters of "
                      "'()+_,-./:=? without a blank at the end");
    }
}

bool containsDelimiter(const ContentRef& content, const blocxx::String& boundary)
{
    const blocxx::String delimiter = "--" + boundary;
    return contains(content, HTTP::viewOf(delimiter));
}

} // namespace ZOLNS2::MIME
