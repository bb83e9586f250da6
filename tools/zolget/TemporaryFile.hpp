#pragma once

#include <string>

namespace zolget
{

/// A file under a name of its own in the folder of the file that it shall become. Until then it vanishes with this
/// object, and with the process when SIGINT, SIGTERM or SIGHUP ends it. (Signals that the process was started with
/// ignoring stay ignored.) There is one at a time.
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

    /// Closes the file and puts it in the target's place in one step. Throws Failure (LOCAL_FILE).
    void becomeTarget();

private:
    bool close();

    std::string m_target;
    std::string m_path;
    int m_descriptor = -1;
};

} // namespace zolget
