#include "PartsFolder.hpp"

#include "DescriptorOutput.hpp"
#include "StringView.hpp"
#include "TerminalText.hpp"

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

PartsFolder::PartsFolder(const std::string& path) : m_path(path), m_folder(openFolder(path)) {}

PartsFolder::~PartsFolder() = default;

void PartsFolder::beginPart(const ZOLNS2::MIME::ContentTypeHeader& type)
{
    std::ostringstream name;
    name << "part-" << std::setw(3) << std::setfill('0') << ++m_count << extensionFor(type);
    m_type = toStdString(toString(type));
    m_part.reset(); // only one temporary file at a time
    m_part.emplace(placeIn(m_folder.get(), m_path, name.str()));
}

void PartsFolder::write(std::string_view bytes)
{
    m_part->write(bytes);
}

void PartsFolder::endPart(std::uint64_t length)
{
    m_part->complete();
    m_part.reset();
    m_hasCompletePart = true;
    std::ostringstream line;
    line << (m_count == 1 ? "part        length  type\n" : "") << std::setw(4) << m_count << std::setw(14) << length
         << "  " << printable(m_type) << '\n';
    writeToStandardOutput(line.str());
}

} // namespace zolget
