#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>

namespace zol_test
{

/// A new folder, readable by everybody, that is removed with all its contents when the object is destroyed.
class TemporaryDirectory
{
public:
    TemporaryDirectory();
    ~TemporaryDirectory();
    TemporaryDirectory(const TemporaryDirectory&) = delete;
    TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;

    const std::filesystem::path& path() const { return m_path; }

    /// The path of a file inside the folder, as text.
    std::string file(std::string_view name) const { return (m_path / name).string(); }

    /// Writes a file (and the folders above it) and returns its path.
    std::string write(std::string_view name, std::string_view content) const;

    /// Makes a file of `size` zero bytes that takes no space on the disk, and returns its path.
    std::string writeSparse(std::string_view name, std::uint64_t size) const;

private:
    std::filesystem::path m_path;
};

/// The whole content of a file. Throws `std::runtime_error` when it cannot be read.
std::string readFile(const std::string& path);

} // namespace zol_test
