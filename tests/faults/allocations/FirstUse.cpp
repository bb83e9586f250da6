#include "allocations/FirstUse.hpp"

#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstring>
#include <new>

namespace zol_faults
{

namespace
{

struct Told
{
    AllocationCounts counts;
    Ending::EKind first;
    Ending::EKind second;
    char text[1000];
};

class SharedTold
{
public:
    SharedTold()
        : m_memory(::mmap(nullptr, sizeof(Told), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0)),
          m_told(new (m_memory) Told{{}, Ending::E_WRONG, Ending::E_WRONG, "it told nothing"})
    {
    }
    ~SharedTold() { ::munmap(m_memory, sizeof(Told)); }
    SharedTold(const SharedTold&) = delete;
    SharedTold& operator=(const SharedTold&) = delete;

    Told& operator*() const { return *m_told; }

private:
    void* m_memory;
    Told* m_told;
};

void use(const OperationCase& operationCase, std::size_t point, Told& told)
{
    const Operation operation = operationCase.make();
    failAllocations(point, E_ONE);
    const Ending first = attempt(operation,
                                 [&told]
                                 {
                                     stopFailing();
                                     told.counts = allocationCounts();
                                 });
    told.first = first.kind;
    // Made anew: OpenSSL keeps what it could not find out about the certificates of a context.
    const Ending second = attempt(operationCase.make(), [] {});
    told.second = second.kind;
    const std::string text = "first: " + first.text + "; then: " + second.text;
    std::strncpy(told.text, text.c_str(), sizeof told.text - 1);
}

std::string textOf(int status)
{
    return WIFSIGNALED(status) ? std::string("; ended by ") + ::strsignal(WTERMSIG(status)) : "";
}

} // namespace

FirstUse useForTheFirstTime(const std::function<void()>& before, const OperationCase& operation, std::size_t point)
{
    const SharedTold shared;
    const pid_t process = ::fork();
    if (process == 0)
    {
        before();
        use(operation, point, *shared);
        ::_exit(0);
    }
    int status = 0;
    ::waitpid(process, &status, 0);
    const Told& told = *shared;
    return {told.counts, told.first, WIFEXITED(status) ? told.second : Ending::E_WRONG, told.text + textOf(status)};
}

} // namespace zol_faults
