#include "exchange/WriteContent.hpp"

#include <cstddef>
#include <memory>
#include <ostream>

namespace ZOLNS2::MIME
{

bool writeContent(const ContentRef& content, const ContentStreamStateRef& state, std::ostream& out)
{
    constexpr std::size_t BLOCK_SIZE = 65536;
    const std::unique_ptr<char[]> block(new char[BLOCK_SIZE]);
    while (out)
    {
        const std::size_t count = content->getData(block.get(), BLOCK_SIZE, state);
        if (count == END_OF_DATA)
        {
            return true;
        }
        out.write(block.get(), static_cast<std::streamsize>(count));
    }
    return false;
}

} // namespace ZOLNS2::MIME
