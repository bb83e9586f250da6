// usage: multipart_read_floor FILE
// The least that a parser which hands out the parts can do: read FILE in blocks of 64 KiB and keep every byte in
// memory. Prints the number of bytes.
#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <memory>
#include <vector>

int main(int argc, char** argv)
{
    const int descriptor = argc == 2 ? ::open(argv[1], O_RDONLY | O_CLOEXEC) : -1;
    if (descriptor < 0)
    {
        std::fprintf(stderr, "usage: %s FILE\n", argv[0]);
        return 2;
    }
    std::vector<char> block(65536);
    std::vector<std::unique_ptr<char[]>> kept;
    size_t bytes = 0;
    for (ssize_t count = 0; (count = ::read(descriptor, block.data(), block.size())) > 0;)
    {
        const auto size = static_cast<size_t>(count);
        kept.emplace_back(new char[size]);
        std::memcpy(kept.back().get(), block.data(), size);
        bytes += size;
    }
    ::close(descriptor);
    std::printf("%zu bytes\n", bytes);
}
