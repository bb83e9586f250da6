// A content of the library's own goes out in other ways while no log listens; the outcome has to be the same.

#include "request/WriteEntityBody.hpp"
#include "support/LogCapture.hpp"
#include "support/TemporaryDirectory.hpp"

#include "zol/http/MIMEContentIStream.hpp"
#include "zol/http/Response.hpp"
#include "zol/mime/OctetStreamContent.hpp"
#include "zol/mime/TextContent.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <initializer_list>
#include <ios>
#include <random>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

using namespace ZOLNS2;
using MIME::ContentRef;
using zol_test::LogCapture;

namespace
{

/// Takes so many bytes, and then throws, or refuses more once.
class LimitedBuffer : public std::streambuf
{
public:
    LimitedBuffer(std::size_t room, bool throws) : m_room(room), m_throws(throws) {}

    const std::string& taken() const { return m_taken; }

protected:
    std::streamsize xsputn(const char* from, std::streamsize count) override
    {
        const std::size_t step = std::min(static_cast<std::size_t>(count), m_room - m_taken.size());
        m_taken.append(from, step);
        if (m_throws && m_taken.size() == m_room)
        {
            throw std::runtime_error("the device broke");
        }
        if (step < static_cast<std::size_t>(count))
        {
            m_room += 1000;
        }
        return static_cast<std::streamsize>(step);
    }

private:
    std::size_t m_room;
    const bool m_throws;
    std::string m_taken;
};

struct Outcome
{
    std::string bytes;
    std::ios_base::iostate bits;

    bool operator==(const Outcome& other) const { return bytes == other.bytes && bits == other.bits; }
};

Outcome written(const ContentRef& content, std::size_t room, bool throws)
{
    HTTP::MIMEContentIStream body(content);
    LimitedBuffer buffer(room, throws);
    std::ostream out(&buffer);
    HTTP::writeEntityBody(out, body);
    return {buffer.taken(), out.rdstate()};
}

/// What a stream over the content delivers in reads of one size, and in what state it is after each.
std::vector<Outcome> readInBlocks(const ContentRef& content, std::size_t blockSize)
{
    HTTP::MIMEContentIStream body(content);
    std::vector<Outcome> outcomes;
    std::string block(blockSize, '\0');
    do
    {
        body.read(block.data(), static_cast<std::streamsize>(blockSize));
        outcomes.push_back({block.substr(0, static_cast<std::size_t>(body.gcount())), body.rdstate()});
    } while (body);
    return outcomes;
}

std::string bytes(std::size_t count)
{
    std::minstd_rand random(9);
    std::string text(count, '\0');
    std::generate(text.begin(), text.end(), [&] { return static_cast<char>(random()); });
    return text;
}

/// An octet stream whose bytes lie in the blocks in which they were received.
ContentRef received(std::size_t count)
{
    std::istringstream wire("HTTP/1.1 200 OK\r\nContent-Type: application/x-data\r\n\r\n" + bytes(count));
    HTTP::Response response;
    wire >> response;
    return response.getNextPart();
}

class UploadPaths : public testing::Test
{
protected:
    /// The size of a file that is not there.
    static constexpr std::size_t UNREADABLE = std::size_t(-1);

    ContentRef files(const std::vector<std::size_t>& sizes)
    {
        blocxx::Array<blocxx::String> names;
        for (const std::size_t size : sizes)
        {
            const std::string name = "file" + std::to_string(names.size());
            names.push_back(size == UNREADABLE ? name.c_str() : m_folder.write(name, bytes(size)).c_str());
        }
        return ContentRef(new MIME::FileApplicationOctetStreamContent(names));
    }

    std::vector<ContentRef> contents()
    {
        std::vector<ContentRef> all{
            ContentRef(new MIME::FileApplicationOctetStreamContent(blocxx::String("no such file"))),
            ContentRef(new MIME::FileApplicationOctetStreamContent(blocxx::Array<blocxx::String>())),
            files({0}),
            files({4096, 0, 65536, 1}),
            files({100000, 70000}),
            files({70000, UNREADABLE}),
            received(40000),
            received(16384),
        };
        for (const std::size_t size : std::initializer_list<std::size_t>{0, 1, 4095, 4096, 4097, 65536, 65537, 200000})
        {
            const std::string text = bytes(size);
            all.push_back(ContentRef(new MIME::ApplicationOctetStreamContent(text.data(), text.size())));
            all.push_back(ContentRef(new MIME::TextPlainContent(blocxx::String(text.data(), text.size()))));
            all.push_back(ContentRef(new MIME::TextXMLContent(blocxx::String(text.data(), text.size()))));
        }
        return all;
    }

private:
    const zol_test::TemporaryDirectory m_folder;
};

} // namespace

TEST_F(UploadPaths, WriteTheSameWhateverTheOutputTakes)
{
    std::minstd_rand random(3);
    for (const ContentRef& content : contents())
    {
        std::vector<std::size_t> rooms{0, 1, 4096, 65536, 1000000};
        std::generate_n(std::back_inserter(rooms), 10, [&] { return random() % 210000; });
        for (const std::size_t room : rooms)
        {
            for (const bool throws : {false, true})
            {
                SCOPED_TRACE(std::to_string(room) + (throws ? " bytes, then throws" : " bytes"));
                const Outcome fast = written(content, room, throws);
                const LogCapture log; // of everything: so that every way is the plain one
                const Outcome plain = written(content, room, throws);
                EXPECT_EQ(fast.bits, plain.bits);
                EXPECT_TRUE(fast == plain) << fast.bytes.size() << " bytes instead of " << plain.bytes.size();
            }
        }
    }
}

TEST_F(UploadPaths, ReadTheSameWhateverTheSizeOfTheReads)
{
    for (const ContentRef& content : contents())
    {
        for (const std::size_t blockSize : std::initializer_list<std::size_t>{1000, 4096, 5000, 65536, 1000000})
        {
            SCOPED_TRACE(blockSize);
            const std::vector<Outcome> fast = readInBlocks(content, blockSize);
            const LogCapture log;
            EXPECT_TRUE(readInBlocks(content, blockSize) == fast);
        }
    }
}
