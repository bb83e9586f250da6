#include "support/TemporaryDirectory.hpp"

#include <sys/stat.h>

#include <cerrno>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <system_error>

namespace zol_test
{

TemporaryDirectory::TemporaryDirectory()
{
    std::string name = (std::filesystem::temp_directory_path() / "zol_test.XXXXXX").string();
    if (::mkdtemp(name.data()) == nullptr)
    {
        throw std::system_error(errno, std::generic_category(), "mkdtemp " + name);
    }
    m_path = name;
    // A server that the test starts may run as another user.
    ::chmod(name.c_str(), S_IRWXU | S_IRGRP | S_IXGRP | S_IROTH | S_IXOTH);
}

TemporaryDirectory::~TemporaryDirectory()
{
    std::error_code ignored;
    std::filesystem::remove_all(m_path, ignored);
}

std::string TemporaryDirectory::write(std::string_view name, std::string_view content) const
{
    const std::filesystem::path target = m_path / name;
    std::filesystem::create_directories(target.parent_path());
    std::ofstream out(target, std::ios::binary);
    out.write(content.data(), static_cast<std::streamsize>(content.size()));
    out.close();
    if (!out)
    {
        throw std::runtime_error("cannot write " + target.string());
    }
    return target.string();
}

std::string TemporaryDirectory::writeSparse(std::string_view name, std::uint64_t size) const
{
    std::string target = write(name, "");
    std::filesystem::resize_file(target, size);
    return target;
}

std::string readFile(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    if (!in)
    {
        throw std::runtime_error("cannot read " + path);
    }
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

} // namespace zol_test
