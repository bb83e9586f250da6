#include "AllocationCounter.hpp"

#include "blocxx/BaseStreamBuffer.hpp"
#include "zol/http/Response.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <istream>
#include <new>
#include <string>
#include <utility>
#include <vector>

namespace
{

using namespace ZOLNS2;

/// A part of that many bytes, with its own header lines and the boundary line before it.
struct PartPlan
{
    const char* type;
    size_t bytes;
    size_t otherHeaders = 0; ///< bytes of header lines before its type
};

/// Delivers a multipart body part by part, and records the most memory that was in use while each part was the last one
/// delivered. It holds none of the bytes itself.
class PartByPart : public blocxx::BaseStreamBuffer
{
public:
    explicit PartByPart(const std::vector<PartPlan>& plans) : BaseStreamBuffer(E_IN, 65536), m_plans(plans)
    {
        m_peaks.reserve(plans.size() + 1);
        const auto fewerHeaders = [](const PartPlan& a, const PartPlan& b) { return a.otherHeaders < b.otherHeaders; };
        m_head.reserve(200 + std::max_element(plans.begin(), plans.end(), fewerHeaders)->otherHeaders);
    }

    /// One for each part, and the last one for what came after the parts.
    const std::vector<size_t>& peaks() const { return m_peaks; }

    void finish() { m_peaks.push_back(allocation_counter::takePeak()); }

protected:
    int buffer_from_device(char* to, int room) override
    {
        if (m_head.empty() && m_left == 0)
        {
            nextPart();
        }
        if (!m_head.empty())
        {
            const size_t count = std::min(static_cast<size_t>(room), m_head.size());
            std::memcpy(to, m_head.data(), count);
            m_head.erase(0, count);
            return static_cast<int>(count);
        }
        const size_t count = std::min(static_cast<size_t>(room), m_left);
        std::memset(to, 'x', count);
        m_left -= count;
        return static_cast<int>(count);
    }

private:
    /// What ends one part begins the next: the reader makes a content of a part before it asks for more than this.
    void nextPart()
    {
        if (m_next > m_plans.size())
        {
            return;
        }
        if (m_next > 0 && !m_boundaryGiven)
        {
            m_head = "\r\n--B";
            m_boundaryGiven = true;
            return;
        }
        if (m_next > 0)
        {
            finish();
        }
        else
        {
            allocation_counter::takePeak();
        }
        m_boundaryGiven = false;
        if (m_next == m_plans.size())
        {
            m_head = "--";
        }
        else
        {
            m_head = m_next == 0 ? "--B\r\n" : "\r\n";
            if (m_plans[m_next].otherHeaders > 0)
            {
                m_head.append("X: ").append(m_plans[m_next].otherHeaders, 'x').append("\r\n");
            }
            m_head.append("Content-Type: ").append(m_plans[m_next].type).append("\r\n\r\n");
            m_left = m_plans[m_next].bytes;
        }
        ++m_next;
    }

    const std::vector<PartPlan>& m_plans;
    std::vector<size_t> m_peaks;
    std::string m_head;
    size_t m_left = 0;
    size_t m_next = 0;
    bool m_boundaryGiven = false;
};

/// Tables, logger, contents' own objects, the buffer: all that does not grow with a part.
const size_t SMALL_THINGS = size_t{128} * 1024;

void checkPeaks(const std::vector<PartPlan>& plans, size_t timesTheCurrentPart = 4)
{
    HTTP::Response response;
    response.contentType.setContentTypeString("Content-Type: multipart/mixed; boundary=B");
    PartByPart buffer(plans);
    std::istream in(&buffer);
    const size_t before = allocation_counter::live();
    response.parseResponseData(in);
    ASSERT_EQ(response.contents.size(), plans.size());
    ASSERT_EQ(buffer.peaks().size(), plans.size());
    size_t made = 0;
    for (size_t i = 0; i < plans.size(); ++i)
    {
        const size_t limit = made + timesTheCurrentPart * (plans[i].bytes + plans[i].otherHeaders) + SMALL_THINGS;
        EXPECT_LE(buffer.peaks()[i] - before, limit) << "part " << i << " of " << plans[i].bytes << " bytes";
        made += plans[i].bytes;
    }
    EXPECT_LE(allocation_counter::live() - before, made + SMALL_THINGS) << "only the contents stay";
}

const size_t MIB = 1 << 20;

TEST(MultipartMemory, ALargePartTakesAtMostFourTimesItsSize)
{
    for (const char* const type : {"text/plain", "application/octet-stream", "text/plain; charset=UTF-16"})
    {
        for (const size_t bytes : {8 * MIB, 8 * MIB + 1, 12 * MIB, 15 * MIB, 16 * MIB - 300, 17 * MIB})
        {
            checkPeaks({{type, bytes}});
        }
    }
}

TEST(MultipartMemory, AnOctetStreamIsHeldOnceAndATextAtMostTwice)
{
    for (const size_t bytes : {8 * MIB, 8 * MIB + 1, 15 * MIB, 17 * MIB - 300})
    {
        checkPeaks({{"application/octet-stream", bytes}, {"application/octet-stream", bytes / 2}}, 1);
        checkPeaks({{"text/plain", bytes}, {"text/plain; charset=UTF-16", bytes}}, 2);
    }
}

TEST(MultipartMemory, TheMemoryOfALargePartIsNotKeptForSmallerOnes)
{
    checkPeaks({{"text/plain", 9 * MIB},
                {"application/octet-stream", 100},
                {"text/plain", MIB},
                {"application/octet-stream", 10 * MIB},
                {"text/plain", 5},
                {"text/plain", 3 * MIB}});
}

TEST(MultipartMemory, ManySmallPartsTakeWhatTheirContentsTake)
{
    checkPeaks(std::vector<PartPlan>(100, {"application/octet-stream", 60000}));
}

TEST(MultipartMemory, TheHeadersOfAPartAreNotKeptWithItsContent)
{
    for (const size_t headers : {1000U, 10000U, 16300U, 40000U})
    {
        checkPeaks(std::vector<PartPlan>(100, {"application/octet-stream", 20000, headers}));
        checkPeaks(std::vector<PartPlan>(100, {"application/octet-stream", 400, headers}));
    }
}

/// Delivers text, then one byte over and over, then text, and holds none of it.
class Repeating : public blocxx::BaseStreamBuffer
{
public:
    Repeating(std::string before, size_t count, std::string after)
        : BaseStreamBuffer(E_IN, 65536), m_before(std::move(before)), m_count(count), m_after(std::move(after))
    {
    }

protected:
    int buffer_from_device(char* to, int room) override
    {
        if (m_before.empty() && m_count == 0)
        {
            m_before.swap(m_after);
        }
        const auto most = static_cast<size_t>(room);
        if (!m_before.empty())
        {
            const size_t count = m_before.copy(to, most);
            m_before.erase(0, count);
            return static_cast<int>(count);
        }
        const size_t count = std::min(most, m_count);
        std::memset(to, '-', count);
        m_count -= count;
        return static_cast<int>(count);
    }

private:
    std::string m_before;
    size_t m_count;
    std::string m_after;
};

const std::string TWO_PARTS = "--B\r\nContent-Type: text/plain\r\n\r\none\r\n--B\r\n\r\ntwo\r\n--B--";

/// The most memory that was in use while the body was read.
size_t peakOf(std::streambuf& body, size_t parts)
{
    HTTP::Response response;
    response.contentType.setContentTypeString("Content-Type: multipart/mixed; boundary=B");
    std::istream in(&body);
    const size_t before = allocation_counter::live();
    allocation_counter::takePeak();
    response.parseResponseData(in);
    EXPECT_EQ(response.contents.size(), parts);
    return allocation_counter::takePeak() - before;
}

TEST(MultipartMemory, APreambleIsNotKept)
{
    Repeating body("preamble", 64 * MIB, "\r\n" + TWO_PARTS);
    EXPECT_LE(peakOf(body, 2), SMALL_THINGS);
}

TEST(MultipartMemory, AnEpilogueIsNotKept)
{
    Repeating body(TWO_PARTS, 64 * MIB, "epilogue");
    EXPECT_LE(peakOf(body, 2), SMALL_THINGS);
}

TEST(MultipartMemory, ABodyWithoutItsBoundaryIsNotKept)
{
    Repeating body("no boundary", 64 * MIB, "at all");
    EXPECT_LE(peakOf(body, 0), SMALL_THINGS);
}

TEST(MultipartMemory, NothingIsLostWhenAnAllocationFails)
{
    const auto read = []
    {
        HTTP::Response response;
        response.contentType.setContentTypeString("Content-Type: multipart/mixed; boundary=B");
        Repeating body("--B\r\n\r\n", 400000, "\r\n" + TWO_PARTS);
        std::istream in(&body);
        response.parseResponseData(in);
        return response.contents.size();
    };
    ASSERT_EQ(read(), 3U) << "and what is made once is made";
    int failures = 0;
    for (long allowed = 0; allowed < 1000; ++allowed)
    {
        const size_t before = allocation_counter::live();
        allocation_counter::failAfter(allowed);
        try
        {
            read();
        }
        catch (const std::bad_alloc&)
        {
            ++failures;
        }
        allocation_counter::failAfter(-1);
        ASSERT_EQ(allocation_counter::live(), before) << "after the failure of allocation " << allowed;
    }
    EXPECT_GT(failures, 50);
    EXPECT_LT(failures, 1000) << "some readings needed fewer allocations";
}

TEST(MultipartMemory, TheCounterCounts)
{
    allocation_counter::takePeak();
    const size_t before = allocation_counter::live();
    // A compiler may leave out what a new-expression or a container allocates for nothing, but not these calls.
    void* const some = ::operator new(MIB);
    EXPECT_GE(allocation_counter::live() - before, MIB);
    ::operator delete(some);
    EXPECT_LT(allocation_counter::live() - before, MIB);
    EXPECT_GE(allocation_counter::takePeak() - before, MIB);
}

} // namespace
