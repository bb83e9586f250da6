#include "Client.hpp"
#include "Listing.hpp"
#include "Row.hpp"
#include "Stage.hpp"
#include "support/ChildProcess.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <iostream>
#include <limits>
#include <string>
#include <string_view>
#include <thread>

namespace
{

using namespace hostile;
using namespace std::chrono_literals;

std::string expanded(const Bytes& bytes)
{
    std::string text;
    text.reserve(bytes.size());
    for (std::uint64_t i = 0; i < bytes.times; ++i)
    {
        text += bytes.unit;
    }
    return text;
}

void expectSame(const std::vector<Bytes>& expected, const std::vector<std::string>& bodies, bool isPrefix = false)
{
    ASSERT_EQ(bodies.size(), expected.size());
    for (std::size_t i = 0; i < bodies.size(); ++i)
    {
        std::string whole = expanded(expected[i]);
        if (isPrefix)
        {
            whole.resize(std::min(whole.size(), bodies[i].size()));
        }
        const std::size_t same = static_cast<std::size_t>(
            std::mismatch(whole.begin(), whole.end(), bodies[i].begin(), bodies[i].end()).first - whole.begin());
        EXPECT_TRUE(whole == bodies[i]) << "body " << i << " has " << bodies[i].size() << " bytes instead of "
                                        << whole.size() << "; from byte " << same << " on they are \""
                                        << bodies[i].substr(same, 80) << '"';
    }
}

#ifdef __SANITIZE_THREAD__
constexpr double SLOWNESS = 5; // of that sanitizer, where 64 MiB are moved
#else
constexpr double SLOWNESS = 1;
#endif

void expectWithinBounds(const Row& row, const Fetched& fetched)
{
    EXPECT_LT(fetched.seconds, row.secondsBound * SLOWNESS);
    EXPECT_LE(fetched.allocated, row.memoryBound);
    testing::Test::RecordProperty("allocated", static_cast<int>(fetched.allocated));
}

bool isControl(char c)
{
    return static_cast<unsigned char>(c) < ' ' || c == '\x7f';
}

class ThroughExchange : public testing::Test
{
public:
    explicit ThroughExchange(const Row& row) : m_row(row) {}

    void TestBody() override
    {
        const Stage stage(m_row);
        const FetchedByExchange fetched = fetchByExchange(m_row, {stage.port(), stage.trustFile()});
        ExchangeOutcome seen = m_row.exchange;
        seen.status = fetched.status;
        seen.end = fetched.end;
        seen.failure = fetched.failure;
        if (fetched.status == 0)
        {
            seen.bodies.clear();
            seen.end = m_row.exchange.end;
        }
        EXPECT_EQ(describe(seen), describe(m_row.exchange)) << fetched.message;
        expectSame(m_row.exchange.bodies, fetched.bodies, m_row.exchange.isPrefix);
        EXPECT_NE((fetched.message + fetched.note).find(m_row.exchange.words), std::string::npos)
            << fetched.message << fetched.note;
        EXPECT_TRUE(std::none_of(fetched.message.begin(), fetched.message.end(), isControl)) << fetched.message;
        EXPECT_TRUE(std::none_of(fetched.note.begin(), fetched.note.end(), isControl)) << fetched.note;
        EXPECT_FALSE(fetched.reusable);
        EXPECT_EQ(stage.connections(), m_row.connectionCount);
        if (!m_row.secretText.empty())
        {
            EXPECT_EQ(stage.receivedByOther().find(m_row.secretText), std::string::npos) << stage.receivedByOther();
        }
        expectWithinBounds(m_row, fetched);
    }

private:
    const Row& m_row;
};

class ThroughGetPage : public testing::Test
{
public:
    explicit ThroughGetPage(const Row& row) : m_row(row) {}

    void TestBody() override
    {
        const Stage stage(m_row);
        if (m_row.page.status == 0 && m_row.page.type.empty())
        {
            expectHeld(stage);
            return;
        }
        const FetchedByPage fetched = fetchByPage(m_row, {stage.port(), stage.trustFile()});
        PageOutcome seen = m_row.page;
        seen.status = fetched.status;
        seen.isComplete = fetched.isComplete;
        seen.requestIsComplete = fetched.requestIsComplete;
        seen.type = fetched.type;
        seen.code = fetched.code;
        EXPECT_EQ(describe(seen), describe(m_row.page)) << fetched.message;
        EXPECT_EQ(fetched.code, m_row.page.code) << fetched.message;
        expectSame(m_row.page.bodies, fetched.bodies);
        EXPECT_NE(fetched.message.find(m_row.page.words), std::string::npos) << fetched.message;
        expectWithinBounds(m_row, fetched);
    }

private:
    /// Fetches in another process, which this one ends.
    void expectHeld(const Stage& stage)
    {
        const bool looksUp = m_row.client.host == "127.0.0.1";
        zol_test::ChildProcess child(
            {"/proc/self/exe", "--fetch", m_row.name, std::to_string(stage.port()), stage.trustFile()});
        if (looksUp)
        {
            ASSERT_TRUE(stage.server().waitForConnections(1)) << child.errorOutput();
        }
        // Several times the limit on a read that makes no progress.
        std::this_thread::sleep_for(
            std::chrono::duration<double>(3 * std::min(m_row.client.limit, m_row.client.connectLimit)));
        EXPECT_TRUE(child.running()) << child.output() << child.errorOutput();
        child.stop(0ms);
    }

    const Row& m_row;
};

void registerRows()
{
    for (const Row& row : table())
    {
        const std::string suite = "Hostile/" + row.name;
        testing::RegisterTest(suite.c_str(), "ThroughExchange", nullptr, nullptr, __FILE__, __LINE__,
                              [&row]() -> testing::Test* { return new ThroughExchange(row); });
        testing::RegisterTest(suite.c_str(), "ThroughGetPage", nullptr, nullptr, __FILE__, __LINE__,
                              [&row]() -> testing::Test* { return new ThroughGetPage(row); });
    }
}

const Row* requireRow(const char* name)
{
    const Row* const row = rowNamed(name);
    if (row == nullptr)
    {
        std::cerr << "there is no row " << name << '\n';
    }
    return row;
}

/// --fetch ROW PORT TRUST: fetches through getPage() and says what came of it.
int fetch(const char* name, const char* port, const char* trustFile)
{
    const Row* const row = requireRow(name);
    if (row == nullptr)
    {
        return EXIT_FAILURE;
    }
    const FetchedByPage fetched =
        fetchByPage(*row, {static_cast<std::uint16_t>(std::strtoul(port, nullptr, 10)), trustFile});
    std::cout << "returned: " << fetched.status << ' ' << fetched.type << ' ' << fetched.message << std::endl;
    return EXIT_SUCCESS;
}

/// --serve ROW: says where the row's server is, and serves until the standard input ends.
int serve(const char* name)
{
    const Row* const row = requireRow(name);
    if (row == nullptr)
    {
        return EXIT_FAILURE;
    }
    const Stage stage(*row);
    std::cout << stage.port() << ' ' << stage.trustFile() << std::endl;
    std::cin.ignore(std::numeric_limits<std::streamsize>::max());
    return EXIT_SUCCESS;
}

} // namespace

int main(int argc, char** argv)
{
    const std::string_view command = argc > 1 ? argv[1] : "";
    if (command == "--fetch" && argc == 5)
    {
        return fetch(argv[2], argv[3], argv[4]);
    }
    if (command == "--serve" && argc == 3)
    {
        return serve(argv[2]);
    }
    if (command == "--list" && argc == 2)
    {
        writeTable(std::cout);
        return EXIT_SUCCESS;
    }
    registerRows();
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
