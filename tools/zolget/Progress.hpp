#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <ostream>
#include <string>

namespace zolget
{

/// One line about a transfer: bytes, rate and, when the total length is known, percent and time left. At most 79
/// columns.
std::string formatProgress(std::uint64_t done, std::optional<std::uint64_t> total,
                           std::chrono::duration<double> elapsed);

/// Shows the progress of a transfer: on a terminal in one line that is overwritten, elsewhere in a new line from time
/// to time.
class Progress
{
public:
    using Clock = std::chrono::steady_clock;

    enum class Style
    {
        NONE,
        TERMINAL,
        LINES
    };

    /// @param now returns the time; called once for each add()
    Progress(std::ostream& out, Style style, std::function<Clock::time_point()> now = Clock::now);
    /// Ends an unfinished line, so that what follows starts on a new one.
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    /// The total length in bytes, if it is known.
    void setTotal(std::optional<std::uint64_t> total) { m_total = total; }

    /// Counts bytes, and updates the line if it is old enough.
    void add(std::uint64_t count);

    /// Shows the final state of a complete transfer.
    void finish();

private:
    void show(Clock::time_point now);

    std::ostream& m_out;
    Style m_style;
    std::function<Clock::time_point()> m_now;
    Clock::time_point m_start;
    Clock::time_point m_shown;
    std::optional<std::uint64_t> m_total;
    std::uint64_t m_done = 0;
    std::size_t m_width = 0; ///< columns taken by an unfinished line on the terminal
};

} // namespace zolget
