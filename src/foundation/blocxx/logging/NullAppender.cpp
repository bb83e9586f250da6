#include "blocxx/NullAppender.hpp"

namespace blocxx
{

NullAppender::NullAppender() : LogAppender(StringArray(), StringArray(), "") {}

NullAppender::NullAppender(const StringArray& components, const StringArray& categories, const String& pattern)
    : LogAppender(components, categories, pattern)
{
}

NullAppender::~NullAppender() = default;

void NullAppender::doProcessLogMessage(const String&, const LogMessage&) const {}

} // namespace blocxx
