#include "blocxx/internal/LogText.hpp"

#include <locale>
#include <sstream>

namespace blocxx::Internal
{

LogText::LogText() : m_stream(new std::ostringstream)
{
    m_stream->imbue(std::locale::classic());
}

LogText::~LogText() = default;

std::ostream& LogText::stream()
{
    return *m_stream;
}

String LogText::text() const
{
    return m_stream->str();
}

} // namespace blocxx::Internal
