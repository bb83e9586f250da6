#include "system_calls/FailingCalls.hpp"

#include <cerrno>

namespace zol_faults
{

namespace
{

struct Kind
{
    const char* name;
    std::vector<int> faults;
};

const std::vector<int> INPUT = {EINTR, EAGAIN, ECONNRESET, ETIMEDOUT, EHOSTUNREACH, ENOMEM, EIO, Fault::ONE_BYTE};
const std::vector<int> OUTPUT = {EINTR, EAGAIN, EPIPE, ECONNRESET, EHOSTUNREACH, ENOBUFS, ENOMEM, Fault::ONE_BYTE};

// In the order of ECall.
const std::vector<Kind> KINDS = {
    {"connect",
     {EINTR, ECONNREFUSED, ENETUNREACH, EHOSTUNREACH, EADDRNOTAVAIL, EACCES, EPERM, ETIMEDOUT, EAGAIN, ENOBUFS}},
    {"recv", INPUT},
    {"send", OUTPUT},
    {"poll", {EINTR, ENOMEM, EINVAL}},
    {"close", {EINTR, EIO, ENOSPC}},
    {"fcntl", {EINTR, EINVAL, EMFILE}},
    {"open", {EINTR, EMFILE, ENFILE, ENOMEM, EACCES, ENOENT, EIO}},
    {"fstat", {ENOMEM, EIO, EOVERFLOW}},
    {"stat", {ENOENT, EACCES, ENOMEM, EIO}},
    {"pread", {EINTR, EIO, ENOMEM, Fault::ONE_BYTE}},
    {"read", {EINTR, EIO, Fault::ONE_BYTE}},
    {"write", {EINTR, EIO, ENOSPC, EPIPE, Fault::ONE_BYTE}},
    {"socket", {EMFILE, ENFILE, ENOBUFS, ENOMEM, EACCES, EAFNOSUPPORT}},
    {"getsockopt", {ENOBUFS, ENOMEM}},
    {"setsockopt", {ENOBUFS, ENOMEM, EINVAL}},
    {"getpeername", {ENOTCONN, ENOBUFS}},
    {"getsockname", {ENOBUFS}},
    {"eventfd", {EMFILE, ENFILE, ENOMEM}},
    {"getrandom", {EINTR, ENOSYS, Fault::ONE_BYTE}},
};

} // namespace

const char* nameOf(ECall call)
{
    return KINDS[call].name;
}

const std::vector<int>& faultsOf(ECall call)
{
    return KINDS[call].faults;
}

bool isTransient(ECall call, int error)
{
    const bool transfers = call == E_RECV || call == E_SEND;
    return error == EINTR || error == Fault::ONE_BYTE || (transfers && error == EAGAIN) || call == E_CLOSE;
}

} // namespace zol_faults
