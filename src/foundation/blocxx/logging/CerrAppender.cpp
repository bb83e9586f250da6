#include "blocxx/CerrAppender.hpp"

#include <iostream>
#include <mutex>

namespace blocxx
{

const GlobalString CerrAppender::STR_DEFAULT_MESSAGE_PATTERN = BLOCXX_GLOBAL_STRING_INIT("[%-.6t] %m");

namespace
{

std::mutex outputMutex;

} // namespace

CerrAppender::CerrAppender(const StringArray& components, const StringArray& categories, const String& pattern)
    : LogAppender(components, categories, pattern)
{
}

CerrAppender::~CerrAppender() = default;

void CerrAppender::doProcessLogMessage(const String& formattedMessage, const LogMessage&) const
{
    const std::lock_guard<std::mutex> lock(outputMutex);
    // Not std::cerr: it is tied and unbuffered, and the record would reach the terminal in pieces.
    std::clog << formattedMessage << '\n' << std::flush;
}

} // namespace blocxx
