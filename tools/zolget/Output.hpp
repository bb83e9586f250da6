#pragma once

#include "OpenDescriptor.hpp"
#include "TemporaryFile.hpp"

#include <optional>
#include <string>
#include <string_view>

namespace zolget
{

/// Where bytes of the response go: standard output, or a file. A regular file appears under its name when it is
/// complete, and not at all otherwise; a device or a pipe is written to directly.
class Output
{
public:
    /// An empty path is standard output. Throws Failure (LOCAL_FILE).
    explicit Output(const std::string& path);

    /// A regular file that takes the place of whatever has its name, a symbolic link included. Throws Failure
    /// (LOCAL_FILE).
    explicit Output(FilePlace place);

    /// As writeAll().
    void write(std::string_view bytes);

    /// Everything has been written: puts a regular file under its name. Throws Failure (LOCAL_FILE).
    void complete();

    bool isTerminal() const;

    /// Whether bytes that were written stay, even if the output is never completed.
    bool isDirect() const { return !m_file.has_value(); }

private:
    std::string m_name;
    std::optional<TemporaryFile> m_file;
    OpenDescriptor m_device;
    int m_descriptor;
};

} // namespace zolget
