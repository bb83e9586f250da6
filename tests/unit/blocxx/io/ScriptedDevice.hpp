#pragma once

#include "blocxx/IOIFC.hpp"
#include "blocxx/SocketException.hpp"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <deque>
#include <string>
#include <vector>

namespace zol_test
{

/// A device that does what the test says: each read or write is one step of the script. When the script runs out, reads
/// are at the orderly end and writes accept everything.
class ScriptedDevice : public blocxx::IOIFC
{
public:
    struct Step
    {
        int result = 0; ///< negative: an error
        int error = 0;
        std::string data;
    };

    static Step data(const std::string& bytes) { return {static_cast<int>(bytes.size()), 0, bytes}; }
    static Step end() { return {}; }
    static Step failure(int error) { return {-1, error, ""}; }
    static Step result(int value) { return {value, 0, ""}; }

    int read(void* to, int room, ErrorAction action) override
    {
        readRequests.push_back(room);
        Step step = reads.empty() ? end() : reads.front();
        if (!reads.empty())
        {
            reads.pop_front();
        }
        if (step.result > room && !step.data.empty())
        {
            reads.push_front(data(step.data.substr(static_cast<std::size_t>(room))));
            step.result = room;
        }
        std::memcpy(to, step.data.data(), std::min(step.data.size(), static_cast<std::size_t>(room)));
        return finish(step, action);
    }

    int write(const void* from, int length, ErrorAction action) override
    {
        writeRequests.push_back(length);
        Step step = result(length);
        if (!writes.empty())
        {
            step = writes.front();
            writes.pop_front();
        }
        if (step.result > 0)
        {
            written.append(static_cast<const char*>(from), static_cast<std::size_t>(std::min(step.result, length)));
        }
        return finish(step, action);
    }

    blocxx::String lastErrorText() const override { return errorText.c_str(); }

    std::string errorText;
    std::deque<Step> reads;
    std::deque<Step> writes;
    std::vector<int> readRequests;
    std::vector<int> writeRequests;
    std::string written;

private:
    static int finish(const Step& step, ErrorAction action)
    {
        if (step.result < 0)
        {
            errno = step.error;
            if (action == E_THROW_ON_ERROR)
            {
                BLOCXX_THROW_ERRNO_MSG(blocxx::SocketException, "device");
            }
        }
        return step.result;
    }
};

} // namespace zol_test
