#pragma once

#include <csignal>
#include <string>

namespace zolget
{

/// Removes a file when a signal ends the process. One file at a time.
class RemovalOnSignal
{
public:
    /// Blocks all signals until the scope ends: for making and removing the file together with what is noted about it.
    class SignalsBlocked
    {
    public:
        SignalsBlocked();
        ~SignalsBlocked();
        SignalsBlocked(const SignalsBlocked&) = delete;
        SignalsBlocked& operator=(const SignalsBlocked&) = delete;

    private:
        sigset_t m_previous;
    };

    /// Has every signal that would end the process, and can be caught, call the handler. Those that are ignored or have
    /// another handler are left alone.
    static void installHandler();

    /// Notes the file, to be called with the signals blocked. The folder stays open until forget().
    /// @param name shorter than 64 bytes
    static void remember(int folder, const std::string& name);

    /// To be called with the signals blocked.
    static void forget();
};

} // namespace zolget
