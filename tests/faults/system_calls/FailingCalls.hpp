#pragma once

#include <array>
#include <cstddef>
#include <vector>

/// The system calls of the program, those of the libraries included, as far as they are made through the C library's
/// functions: connect, recv (recvmsg counts as one), send, poll, close, fcntl, open, fstat, stat, pread, read, write, socket,
/// getsockopt, setsockopt, getpeername, getsockname, eventfd, getrandom. Only the calls of a thread that asks for it fail.
namespace zol_faults
{

enum ECall
{
    E_CONNECT,
    E_RECV,
    E_SEND,
    E_POLL,
    E_CLOSE,
    E_FCNTL,
    E_OPEN,
    E_FSTAT,
    E_STAT,
    E_PREAD,
    E_READ,
    E_WRITE,
    E_SOCKET,
    E_GETSOCKOPT,
    E_SETSOCKOPT,
    E_GETPEERNAME,
    E_GETSOCKNAME,
    E_EVENTFD,
    E_GETRANDOM
};

inline constexpr std::size_t CALLS = E_GETRANDOM + 1;

/// What becomes of a call.
struct Fault
{
    static constexpr int ONE_BYTE = -1;          ///< in place of an errno: the call transfers one byte
    static constexpr std::size_t EVERY_CALL = 0; ///< all of them; if they are interrupted, every other one

    ECall call = E_CONNECT;
    std::size_t number = EVERY_CALL; ///< the next one is 1
    int error = 0;                   ///< errno, or ONE_BYTE; 0 for no fault
};

/// The calls of this thread are counted from now on, and have this fault. A call that fails does nothing, but a connect
/// that is interrupted is under way then, and a close has closed.
void failCalls(const Fault& fault);

/// No further call has a fault.
void stopFailingCalls();

/// The calls of this thread since failCalls().
std::array<std::size_t, CALLS> callsMade();

/// How often since then it has closed a descriptor that was not open.
std::size_t closedInVain();

const char* nameOf(ECall call);

/// What the system may say of a call, ONE_BYTE where it may transfer less than is asked for.
const std::vector<int>& faultsOf(ECall call);

/// Whether a call that fails in this way has to be made again, or the rest of it, and no more than that.
bool isTransient(ECall call, int error);

} // namespace zol_faults
