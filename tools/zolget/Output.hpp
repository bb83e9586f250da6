#pragma once

#include "TemporaryFile.hpp"

#include <cstddef>
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
    ~Output();
    Output(const Output&) = delete;
    Output& operator=(const Output&) = delete;

    /// Writes everything. Throws Failure (LOCAL_FILE); without a message when a pipe no longer has a reader, since
    /// closing it is how the reader says that it has seen enough.
    void write(std::string_view bytes);

    /// Everything has been written: puts a regular file under its name. Throws Failure (LOCAL_FILE).
    void complete();

    bool isTerminal() const;

private:
    std::string m_name;
    std::optional<TemporaryFile> m_file;
    int m_descriptor;
    bool m_isOurs = false;
};

} // namespace zolget
