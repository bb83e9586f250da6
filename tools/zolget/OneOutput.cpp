#include "OneOutput.hpp"

namespace zolget
{

OneOutput::OneOutput(const std::string& path, bool takesParts) : m_output(path), m_takesParts(takesParts) {}

OneOutput::~OneOutput() = default;

std::size_t OneOutput::mostParts() const
{
    return m_takesParts ? Destination::mostParts() : 0;
}

void OneOutput::write(std::string_view bytes)
{
    m_hasWritten = true;
    m_output.write(bytes);
}

} // namespace zolget
