#include "Progress.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <utility>

namespace zolget
{

namespace
{

constexpr std::chrono::milliseconds TERMINAL_INTERVAL{200};
constexpr std::chrono::milliseconds LINES_INTERVAL{1000};
constexpr double SHORTEST_TIME = 1e-3; // in seconds; over less a rate means nothing

std::string formatBytes(double count)
{
    static constexpr std::array<const char*, 7> UNITS = {"B", "KiB", "MiB", "GiB", "TiB", "PiB", "EiB"};
    std::size_t unit = 0;
    // 1023.95 would be shown as 1024.0
    while (count >= 1023.95 && unit + 1 < UNITS.size())
    {
        count /= 1024;
        ++unit;
    }
    char text[32];
    std::snprintf(text, sizeof(text), unit == 0 ? "%.0f %s" : "%.1f %s", count, UNITS[unit]);
    return text;
}

std::string formatDuration(double seconds)
{
    constexpr double LONGEST = 99 * 3600.0;
    const auto whole = static_cast<unsigned>(std::ceil(std::min(seconds, LONGEST)));
    char text[32];
    if (whole >= 3600)
    {
        std::snprintf(text, sizeof(text), "%u:%02u:%02u", whole / 3600, whole / 60 % 60, whole % 60);
    }
    else
    {
        std::snprintf(text, sizeof(text), "%u:%02u", whole / 60, whole % 60);
    }
    return text;
}

/// Rounded down, so that only a complete body has 100.
int percentage(std::uint64_t done, std::uint64_t total)
{
    const double share = total == 0 ? 1 : static_cast<double>(done) / static_cast<double>(total);
    return done == total ? 100 : std::min(99, static_cast<int>(100 * share));
}

} // namespace

std::string formatProgress(std::uint64_t done, std::optional<std::uint64_t> total,
                           std::chrono::duration<double> elapsed)
{
    const double rate = static_cast<double>(done) / std::max(elapsed.count(), SHORTEST_TIME);
    std::string line = formatBytes(static_cast<double>(done));
    if (total.has_value())
    {
        line += " of " + formatBytes(static_cast<double>(*total));
    }
    line += ", " + formatBytes(rate) + "/s";
    if (total.has_value() && done <= *total)
    {
        line += ", " + std::to_string(percentage(done, *total)) + " %";
        if (done > 0 && done < *total)
        {
            line += ", " + formatDuration(static_cast<double>(*total - done) / rate) + " left";
        }
    }
    return line;
}

Progress::Progress(std::ostream& out, Style style, std::function<Clock::time_point()> now)
    : m_out(out), m_style(style), m_now(std::move(now)), m_start(m_now()), m_shown(m_start)
{
}

Progress::~Progress()
{
    if (m_width > 0)
    {
        m_out << std::endl;
    }
}

void Progress::add(std::uint64_t count)
{
    m_done += count;
    if (m_style == Style::NONE)
    {
        return;
    }
    const Clock::time_point now = m_now();
    if (now - m_shown >= (m_style == Style::TERMINAL ? TERMINAL_INTERVAL : LINES_INTERVAL))
    {
        show(now);
    }
}

void Progress::finish()
{
    if (m_style != Style::NONE)
    {
        show(m_now());
    }
}

void Progress::show(Clock::time_point now)
{
    m_shown = now;
    const std::string line = formatProgress(m_done, m_total, now - m_start);
    if (m_style == Style::LINES)
    {
        m_out << line << std::endl;
        return;
    }
    const std::size_t leftover = m_width > line.size() ? m_width - line.size() : 0;
    m_out << '\r' << line << std::string(leftover, ' ') << std::flush;
    m_width = line.size();
}

} // namespace zolget
