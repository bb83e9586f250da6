#pragma once

#include <functional>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

namespace zol_faults
{

/// Something that a program does with the library, of which every call that it makes of the system may fail.
struct Operation
{
    /// Does it, and returns what a program would take for the whole result; nothing where it was told that the result is
    /// not whole. Throws what the library throws.
    std::function<std::optional<std::string>()> run;

    /// What is whole; nothing if the operation may never succeed.
    std::optional<std::string> expected = {};

    /// What is said, without a fault, of an operation that may never succeed.
    std::string refusal = {};
};

/// How an operation is made. That may start the servers, so it waits for the test.
struct OperationCase
{
    const char* name;
    Operation (*make)();
};

inline std::ostream& operator<<(std::ostream& out, const OperationCase& operation)
{
    return out << operation.name;
}

/// Fetches over plain connections.
extern const std::vector<OperationCase> PLAIN_OPERATIONS;

/// Fetches over TLS, the making of the context included.
extern const std::vector<OperationCase> TLS_OPERATIONS;

/// Fetches of a page that does not fit into the buffers on the way.
extern const std::vector<OperationCase> LARGE_OPERATIONS;

/// One over TLS with a context that has been made already.
extern const OperationCase TLS_HANDSHAKE;

/// Those of TLS_OPERATIONS from a server whose certificate carries another name, and from one whose issuer is not trusted.
extern const std::vector<OperationCase> IMPOSTOR_OPERATIONS;

/// What needs no server: requests, multipart bodies and exceptions are made and read.
extern const std::vector<OperationCase> LOCAL_OPERATIONS;

/// How an attempt ended.
struct Ending
{
    enum EKind
    {
        E_WHOLE,  ///< with the whole result
        E_FAILED, ///< with std::bad_alloc, an exception of the library, or told that the result is not whole
        E_WRONG   ///< otherwise
    };
    EKind kind = E_WRONG;
    std::string text; ///< of what was thrown, or of what is wrong
};

/// Fails the test unless this is how the operation ends without a fault.
void expectUsual(const Operation& operation, const Ending& ending);

/// Runs an operation once; `afterwards` is called before anything else when it has ended.
Ending attempt(const Operation& operation, const std::function<void()>& afterwards);

} // namespace zol_faults
