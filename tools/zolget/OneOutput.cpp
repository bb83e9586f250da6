#include "OneOutput.hpp"

namespace zolget
{

OneOutput::OneOutput(const std::string& path) : m_output(path) {}

OneOutput::~OneOutput() = default;

void OneOutput::write(std::string_view bytes)
{
    m_hasWritten = true;
    m_output.write(bytes);
}

} // namespace zolget
