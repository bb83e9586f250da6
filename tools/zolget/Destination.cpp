#include "Destination.hpp"

#include "ExitStatus.hpp"
#include "Text.hpp"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <iomanip>
#include <sstream>

namespace zolget
{

namespace
{

const char* extensionFor(const ZOLNS2::MIME::ContentTypeHeader& type)
{
    const blocxx::String subtype = type.getSubType();
    if (subtype.equalsIgnoreCase("xml"))
    {
        return ".xml";
    }
    if (!type.getType().equalsIgnoreCase("text"))
    {
        return ".bin";
    }
    return subtype.equalsIgnoreCase("html") ? ".html" : ".txt";
}

} // namespace

PartsFolder::PartsFolder(const std::string& folder) : m_folder(folder)
{
    const bool isThere = ::mkdir(folder.c_str(), 0777) == 0 || errno == EEXIST;
    // The trailing slash makes access fail for anything but a folder.
    if (!isThere || ::access((folder + "/").c_str(), W_OK | X_OK) != 0)
    {
        throw Failure(ExitStatus::LOCAL_FILE, "cannot write into the folder " + folder + ": " + std::strerror(errno));
    }
}

Output& PartsFolder::beginPart(const ZOLNS2::MIME::ContentTypeHeader& type)
{
    std::ostringstream name;
    name << m_folder << "/part-" << std::setw(3) << std::setfill('0') << ++m_count << extensionFor(type);
    m_type = toString(type).c_str();
    return m_part.emplace(name.str());
}

void PartsFolder::endPart(std::uint64_t length)
{
    m_part->complete();
    m_part.reset();
    if (m_count == 1)
    {
        m_table.write("part        length  type\n");
    }
    std::ostringstream line;
    line << std::setw(4) << m_count << std::setw(14) << length << "  " << printable(m_type) << '\n';
    m_table.write(line.str());
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
