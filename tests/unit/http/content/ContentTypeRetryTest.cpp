#include "blocxx/LogAppender.hpp"
#include "blocxx/LogMessage.hpp"
#include "zol/mime/ContentTypeHeader.hpp"

#include <gtest/gtest.h>

#include <poll.h>
#include <sys/prctl.h>
#include <sys/types.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <string>

namespace
{

const std::string EXPECTED_LINE =
    "zol.common.http.content ERROR HTTP Content: Huh?  No equals sign after the semi-colon in Content-type parse\n";

/// Writes every record to a descriptor, one a line.
class DescriptorAppender : public blocxx::LogAppender
{
public:
    explicit DescriptorAppender(int descriptor) : LogAppender(only("*"), only("ERROR")), m_descriptor(descriptor) {}

private:
    static blocxx::StringArray only(const char* text) { return blocxx::StringArray(1, blocxx::String(text)); }

    void doProcessLogMessage(const blocxx::String&, const blocxx::LogMessage& message) const override
    {
        const blocxx::String line = message.component + " " + message.category + " " + message.message + "\n";
        if (::write(m_descriptor, line.c_str(), line.length()) < 0)
        {
            ::_exit(2);
        }
    }

    int m_descriptor;
};

/// Parses in a process of its own, which ends with this object, with the test, or after half a minute by itself.
class ParsingChild
{
public:
    explicit ParsingChild(const char* headerLine)
    {
        int ends[2] = {-1, -1};
        if (::pipe(ends) != 0)
        {
            throw std::runtime_error("no pipe");
        }
        m_input = ends[0];
        m_pid = ::fork();
        if (m_pid == 0)
        {
            ::prctl(PR_SET_PDEATHSIG, SIGKILL);
            ::alarm(30);
            ::close(ends[0]);
            blocxx::LogAppender::setDefaultLogAppender(new DescriptorAppender(ends[1]));
            ZOLNS2::MIME::ContentTypeHeader().setContentTypeString(headerLine);
            ::_exit(0);
        }
        ::close(ends[1]);
    }
    ~ParsingChild()
    {
        ::kill(m_pid, SIGKILL);
        ::waitpid(m_pid, nullptr, 0);
        ::close(m_input);
    }
    ParsingChild(const ParsingChild&) = delete;
    ParsingChild& operator=(const ParsingChild&) = delete;

    bool started() const { return m_pid > 0; }

    bool running() const { return ::waitpid(m_pid, nullptr, WNOHANG) == 0; }

    /// At least `length` bytes of what was logged; fewer when the child ends or twenty seconds pass before.
    std::string read(size_t length) const
    {
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
        std::string text;
        while (text.size() < length && std::chrono::steady_clock::now() < deadline)
        {
            pollfd waiting = {m_input, POLLIN, 0};
            char block[4096];
            if (::poll(&waiting, 1, 1000) == 1)
            {
                const ssize_t count = ::read(m_input, block, sizeof(block));
                if (count <= 0)
                {
                    break;
                }
                text.append(block, static_cast<size_t>(count));
            }
        }
        return text;
    }

private:
    pid_t m_pid = -1;
    int m_input = -1;
};

} // namespace

TEST(ContentTypeHeader, MissingEqualsSignKeepsLoggingAndDoesNotReturn)
{
    const ParsingChild child("Content-Type: a/b; c=d; e");
    ASSERT_TRUE(child.started());
    const size_t lines = 5000; // far more than the line has characters, and more than a pipe holds
    const std::string text = child.read(lines * EXPECTED_LINE.size());
    ASSERT_GE(text.size(), lines * EXPECTED_LINE.size());
    for (size_t line = 0; line < lines; ++line)
    {
        ASSERT_EQ(text.compare(line * EXPECTED_LINE.size(), EXPECTED_LINE.size(), EXPECTED_LINE), 0) << line;
    }
    EXPECT_TRUE(child.running());
}

TEST(ContentTypeHeader, SemicolonAtTheEndKeepsLoggingToo)
{
    const ParsingChild child("Content-Type: a/b;");
    ASSERT_TRUE(child.started());
    EXPECT_GE(child.read(1000 * EXPECTED_LINE.size()).size(), 1000 * EXPECTED_LINE.size());
    EXPECT_TRUE(child.running());
}
