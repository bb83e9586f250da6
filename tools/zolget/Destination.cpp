#include "Destination.hpp"

#include "ExitStatus.hpp"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace zolget
{

PartsFolder::PartsFolder(const std::string& folder) : m_folder(folder)
{
    const bool isThere = ::mkdir(folder.c_str(), 0777) == 0 || errno == EEXIST;
    // With the trailing slash something that is no folder is refused.
    if (!isThere || ::access((folder + "/").c_str(), W_OK | X_OK) != 0)
    {
        throw Failure(ExitStatus::LOCAL_FILE, "cannot write into the folder " + folder + ": " + std::strerror(errno));
    }
}

Output& PartsFolder::beginPart()
{
    return m_part.emplace(m_folder + "/part-" + std::to_string(++m_count));
}

void PartsFolder::endPart()
{
    m_part->complete();
    m_part.reset();
}

std::unique_ptr<Destination> makeDestination(const Options& options)
{
    if (!options.partsFolder.empty())
    {
        return std::make_unique<PartsFolder>(options.partsFolder);
    }
    return std::make_unique<OneOutput>(options.output);
}

} // namespace zolget
