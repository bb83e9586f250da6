// usage: search zol|get|memmem FILE BOUNDARY
// Looks for BOUNDARY in FILE, which does not hold it: with boyer_moore_search over a stream buffer of the library, with
// a loop that takes each byte with istream::get, and with memmem over the mapped file. Prints the bytes passed.
#include "FileDevice.hpp"

#include "blocxx/IOIFCStreamBuffer.hpp"
#include "zol/search/boyer_moore_search.hpp"

#include <sys/mman.h>
#include <sys/stat.h>

#include <cstdio>
#include <cstring>
#include <fstream>
#include <istream>
#include <vector>

namespace
{

size_t searchWithLibrary(const char* path, const std::string& boundary)
{
    FileDevice device(path);
    blocxx::IOIFCStreamBuffer buffer(&device, blocxx::BaseStreamBuffer::E_IN);
    std::istream stream(&buffer);
    std::vector<char> passed;
    const ZOLNS2::boyer_moore_search<char, unsigned long, int> search(boundary.data(), boundary.size());
    search.searchStream(stream, passed);
    return passed.size();
}

size_t searchWithGet(const char* path, const std::string& boundary)
{
    std::ifstream stream(path, std::ios::binary);
    std::vector<char> passed;
    char next = 0;
    while (stream.get(next))
    {
        passed.push_back(next);
        if (next == boundary.back() && passed.size() >= boundary.size() &&
            std::memcmp(&passed[passed.size() - boundary.size()], boundary.data(), boundary.size()) == 0)
        {
            break;
        }
    }
    return passed.size();
}

size_t searchWithMemmem(const char* path, const std::string& boundary)
{
    const int descriptor = ::open(path, O_RDONLY | O_CLOEXEC);
    struct stat status = {};
    if (descriptor < 0 || ::fstat(descriptor, &status) != 0)
    {
        throw std::runtime_error(std::string("cannot open ") + path);
    }
    const auto size = static_cast<size_t>(status.st_size);
    void* const text = ::mmap(nullptr, size, PROT_READ, MAP_PRIVATE, descriptor, 0);
    const void* const found = ::memmem(text, size, boundary.data(), boundary.size());
    ::munmap(text, size);
    ::close(descriptor);
    return found == nullptr ? size : static_cast<size_t>(static_cast<const char*>(found) - static_cast<char*>(text));
}

} // namespace

int main(int argc, char** argv)
try
{
    const std::string method = argc == 4 ? argv[1] : "";
    if (method == "zol")
    {
        std::printf("%zu\n", searchWithLibrary(argv[2], argv[3]));
    }
    else if (method == "get")
    {
        std::printf("%zu\n", searchWithGet(argv[2], argv[3]));
    }
    else if (method == "memmem")
    {
        std::printf("%zu\n", searchWithMemmem(argv[2], argv[3]));
    }
    else
    {
        std::fprintf(stderr, "usage: %s zol|get|memmem FILE BOUNDARY\n", argv[0]);
        return 2;
    }
}
catch (const std::exception& e)
{
    std::fprintf(stderr, "search: %s\n", e.what());
    return 1;
}
