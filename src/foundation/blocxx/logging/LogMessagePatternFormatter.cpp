#include "blocxx/LogMessagePatternFormatter.hpp"

#include "logging/LogMessagePatternParser.hpp"
#include "logging/LogMessagePatternPiece.hpp"

#include "blocxx/LogMessage.hpp"
#include "blocxx/StringBuffer.hpp"

#include <pthread.h>
#include <unistd.h>

#include <chrono>
#include <ctime>
#include <string>
#include <string_view>

namespace blocxx
{

const GlobalString LogMessagePatternFormatter::STR_DEFAULT_MESSAGE_PATTERN =
    BLOCXX_GLOBAL_STRING_INIT("%r [%t] %p %c - %m");

namespace
{

const std::chrono::steady_clock::time_point LOADED = std::chrono::steady_clock::now();

std::string_view viewOf(const String& text)
{
    return {text.c_str(), text.length()};
}

std::string_view viewOf(const char* text)
{
    return text != nullptr ? text : "";
}

std::string millisecondsSinceLoading()
{
    const auto elapsed = std::chrono::steady_clock::now() - LOADED;
    return std::to_string(std::chrono::duration_cast<std::chrono::milliseconds>(elapsed).count());
}

std::string_view lastPieces(std::string_view component, std::size_t count)
{
    if (count == 0)
    {
        return component;
    }
    std::size_t dot = component.size();
    for (; count > 0; --count)
    {
        dot = dot == 0 ? std::string_view::npos : component.rfind('.', dot - 1);
        if (dot == std::string_view::npos)
        {
            return component;
        }
    }
    return component.substr(dot + 1);
}

/// The text as a CDATA section. Deliberate: when the text holds "]]>", what follows the last one is lost.
std::string cdata(std::string_view text)
{
    constexpr std::string_view OPENING = "<![CDATA[";
    constexpr std::string_view CLOSING = "]]>";
    std::string section(OPENING);
    std::size_t position = 0;
    for (std::size_t end = text.find(CLOSING); end != std::string_view::npos; end = text.find(CLOSING, position))
    {
        section.append(text.substr(position, end - position)).append("]]>]]&gt;<![CDATA[");
        position = end + CLOSING.size();
    }
    if (position == 0)
    {
        section.append(text);
    }
    return section.append(CLOSING);
}

/// Replaces the first %Q, which strftime does not know.
std::string withMilliseconds(std::string format, long milliseconds)
{
    for (std::size_t percent = format.find('%'); percent != std::string::npos; percent = format.find('%', percent + 2))
    {
        if (format.compare(percent, 2, "%Q") == 0)
        {
            const std::string digits = std::to_string(milliseconds + 1000).substr(1);
            return format.replace(percent, 2, digits);
        }
    }
    return format;
}

std::string localTime(const std::string& format)
{
    constexpr long NANOSECONDS_PER_MILLISECOND = 1000000;
    timespec now{};
    ::clock_gettime(CLOCK_REALTIME, &now);
    std::tm fields{};
    ::localtime_r(&now.tv_sec, &fields);
    char text[255];
    const std::string complete = withMilliseconds(format, now.tv_nsec / NANOSECONDS_PER_MILLISECOND);
    return {text, std::strftime(text, sizeof text, complete.c_str(), &fields)};
}

std::string place(const LogMessage& message)
{
    const std::string_view file = viewOf(message.filename);
    return file.empty() ? std::string() : std::string(file) + '(' + std::to_string(message.fileline) + ')';
}

std::string convert(const LogMessagePatternPiece& piece, const LogMessage& message)
{
    switch (piece.conversion)
    {
    case LogMessagePatternPiece::LITERAL:
        return piece.text;
    case 'm':
        return std::string(viewOf(message.message));
    case 'e':
        return cdata(viewOf(message.message));
    case 'p':
        return std::string(viewOf(message.category));
    case 'c':
        return std::string(lastPieces(viewOf(message.component), piece.componentPieces));
    case 'd':
        return localTime(piece.text);
    case 'r':
        return millisecondsSinceLoading();
    case 't':
        return std::to_string(::pthread_self());
    case 'P':
        return std::to_string(::getpid());
    case 'F':
        return std::string(viewOf(message.filename));
    case 'L':
        return std::to_string(message.fileline);
    case 'M':
        return std::string(viewOf(message.methodname));
    default:
        return place(message);
    }
}

} // namespace

LogMessagePatternFormatter::LogMessagePatternFormatter(const String& pattern)
    : m_pieces(LogMessagePatternParser(pattern).parse())
{
}

LogMessagePatternFormatter::~LogMessagePatternFormatter() = default;

void LogMessagePatternFormatter::formatMessage(const LogMessage& message, StringBuffer& output) const
{
    for (const LogMessagePatternPiece& piece : m_pieces)
    {
        std::string value = convert(piece, message);
        if (value.size() > piece.maxWidth)
        {
            value = piece.leftJustified ? value.substr(0, piece.maxWidth) : value.substr(value.size() - piece.maxWidth);
        }
        if (value.size() < piece.minWidth)
        {
            value.insert(piece.leftJustified ? value.size() : 0, piece.minWidth - value.size(), ' ');
        }
        output.append(value.data(), value.size());
    }
}

} // namespace blocxx
