// usage: replay_<target> FILE-OR-FOLDER...
//
// Runs the fuzz target once on every file named, and on every file in the folders named.

#include "FuzzTarget.hpp"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace
{

std::vector<std::filesystem::path> filesOf(const std::filesystem::path& path)
{
    if (!std::filesystem::is_directory(path))
    {
        return {path};
    }
    std::vector<std::filesystem::path> files;
    for (const auto& entry : std::filesystem::directory_iterator(path))
    {
        files.push_back(entry.path());
    }
    std::sort(files.begin(), files.end());
    return files;
}

} // namespace

int main(int argc, char** argv)
{
    int count = 0;
    for (int i = 1; i < argc; ++i)
    {
        for (const auto& file : filesOf(argv[i]))
        {
            // Named before it runs: the last name printed is the one that broke.
            std::printf("%s\n", file.c_str());
            std::fflush(stdout);
            std::ifstream in(file, std::ios::binary);
            if (!in)
            {
                std::fprintf(stderr, "cannot read %s\n", file.c_str());
                return 2;
            }
            const std::string input{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
            LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(input.data()), input.size());
            ++count;
        }
    }
    std::printf("%d inputs\n", count);
    return count > 0 ? 0 : 2;
}
