#include "support/ScriptedContent.hpp"
#include "support/TemporaryDirectory.hpp"

#include "zol/mime/MultipartMixedContent.hpp"
#include "zol/mime/OctetStreamContent.hpp"
#include "zol/mime/TextContent.hpp"

#include <gtest/gtest.h>

#include <limits>
#include <random>
#include <string>
#include <vector>

namespace
{

using namespace ZOLNS2::MIME;

/// Makes contents of every kind, nested to a depth, and returns the bytes that they have to deliver.
class Grower
{
public:
    explicit Grower(unsigned int seed) : m_random(seed) {}

    struct Grown
    {
        ContentRef content;
        std::string bytes;
    };

    Grown grow(int depth)
    {
        switch (m_random() % (depth > 0 ? 6 : 4))
        {
        case 0:
        {
            const std::string text = randomBytes();
            return {ContentRef(new TextPlainContent(blocxx::String(text))), text};
        }
        case 1:
        {
            const std::string bytes = randomBytes();
            return {ContentRef(new ApplicationOctetStreamContent(bytes.data(), bytes.size())), bytes};
        }
        case 2:
            return growFiles();
        case 3:
        {
            const std::string bytes = randomBytes();
            return {zol_test::scripted(zol_test::byteByByte(bytes)), bytes};
        }
        default:
            return growMultipart(depth - 1);
        }
    }

    Grown growMultipart(int depth)
    {
        const std::string boundary = "b" + std::to_string(m_random() % 1000) + std::string(m_random() % 12, '=');
        auto* const multipart = new MultipartMixedContent(blocxx::String(boundary));
        const ContentRef content(multipart);
        std::string bytes;
        for (size_t parts = 1 + m_random() % 4; parts > 0; --parts)
        {
            const Grown part = grow(depth);
            multipart->addPart(part.content);
            const blocxx::String type = toString(part.content->getContentType());
            bytes += "--" + boundary + "\r\ncontent-type: " + type.c_str() + "\r\n\r\n" + part.bytes + "\r\n";
        }
        return {content, bytes + "--" + boundary + "--"};
    }

private:
    Grown growFiles()
    {
        blocxx::Array<blocxx::String> names;
        std::string bytes;
        for (size_t files = 1 + m_random() % 3; files > 0; --files)
        {
            const std::string content = randomBytes();
            names.push_back(blocxx::String(m_directory.write(std::to_string(m_file++), content)));
            bytes += content;
        }
        return {ContentRef(new FileApplicationOctetStreamContent(names)), bytes};
    }

    std::string randomBytes()
    {
        std::string bytes(m_random() % 60, '\0');
        for (char& c : bytes)
        {
            c = static_cast<char>(m_random());
        }
        return bytes;
    }

    zol_test::TemporaryDirectory m_directory;
    std::mt19937 m_random;
    int m_file = 0;
};

/// One reader of a content.
class Cursor
{
public:
    explicit Cursor(Content& content) : m_content(content), m_state(content.createInitialStreamState()) {}

    /// False at the end.
    bool read(size_t size)
    {
        m_buffer.resize(size);
        const size_t got = m_content.getData(m_buffer.data(), size, m_state);
        if (got == END_OF_DATA)
        {
            return false;
        }
        m_bytes.append(m_buffer.data(), got);
        return true;
    }

    const std::string& bytes() const { return m_bytes; }

private:
    Content& m_content;
    const ContentStreamStateRef m_state;
    std::vector<char> m_buffer;
    std::string m_bytes;
};

class MultipartMixedContentTrees : public testing::TestWithParam<unsigned int>
{
};

TEST_P(MultipartMixedContentTrees, DeliverTheirAnnouncedLengthAndTheSameBytesForEveryReadSize)
{
    Grower grower(GetParam());
    for (int tree = 0; tree < 10; ++tree)
    {
        const Grower::Grown grown = grower.growMultipart(3);
        ASSERT_TRUE(grown.content->hasContentLength());
        ASSERT_EQ(grown.content->getContentLength(), grown.bytes.size());
        for (size_t size = 1; size <= 100; ++size)
        {
            Cursor cursor(*grown.content);
            while (cursor.read(size))
            {
            }
            ASSERT_EQ(cursor.bytes(), grown.bytes) << "in reads of " << size;
        }
    }
}

TEST_P(MultipartMixedContentTrees, DeliverTheSameToTwoReadersThatTakeTurns)
{
    Grower grower(GetParam() + 1000);
    for (int tree = 0; tree < 20; ++tree)
    {
        const Grower::Grown grown = grower.growMultipart(3);
        Cursor first(*grown.content);
        Cursor second(*grown.content);
        bool more = true;
        for (size_t turn = 0; more; ++turn)
        {
            const bool firstGoesOn = first.read(1 + turn * 7 % 31);
            const bool secondGoesOn = second.read(1 + turn * 5 % 17);
            more = firstGoesOn || secondGoesOn;
        }
        ASSERT_EQ(first.bytes(), grown.bytes);
        ASSERT_EQ(second.bytes(), grown.bytes);
    }
}

INSTANTIATE_TEST_SUITE_P(Seeds, MultipartMixedContentTrees, testing::Range(1U, 11U));

} // namespace
