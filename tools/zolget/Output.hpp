#pragma once

#include "TemporaryFile.hpp"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace zolget
{

/// Where bytes of the answer go: standard output, or a file. A regular file appears under its name when it is complete,
/// and not at all otherwise; a device or a pipe is written as the bytes come.
class Output
{
public:
    /// An empty path is standard output. Throws Failure (LOCAL_FILE).
    explicit Output(const std::string& path);
    ~Output();
    Output(const Output&) = delete;
    Output& operator=(const Output&) = delete;

    /// Writes everything. Throws Failure (LOCAL_FILE); without a message when a pipe has no reader any more, which is
    /// how the reader says that it has seen enough.
    void write(std::string_view bytes);

    /// All has been written. Throws Failure (LOCAL_FILE).
    void complete();

    bool isTerminal() const;

private:
    std::string m_name;
    std::optional<TemporaryFile> m_file;
    int m_descriptor;
    bool m_isOurs = false;
};

/// Makes sure that the descriptors 0 to 2 are taken, so that no file and no connection is mistaken for a standard
/// stream. One that was closed takes no data: using it fails as before.
void occupyStandardStreams();

} // namespace zolget
