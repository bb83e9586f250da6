#pragma once

#include <string>

namespace zolget
{

/// A file under a temporary name, in the folder of the target whose place it will take. Until then it is removed with
/// this object, and when SIGINT, SIGTERM or SIGHUP ends the process. (Signals that the process ignored from the start
/// stay ignored.) Only one may exist at a time.
class TemporaryFile
{
public:
    /// Throws Failure (LOCAL_FILE).
    explicit TemporaryFile(const std::string& target);
    ~TemporaryFile();
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;

    /// Open for writing; -1 after becomeTarget.
    int descriptor() const { return m_descriptor; }

    /// Closes the file and renames it to the target. Throws Failure (LOCAL_FILE).
    void becomeTarget();

private:
    bool close();

    std::string m_target;
    std::string m_path;
    int m_descriptor = -1;
};

} // namespace zolget
