#include "zol/mime/ContentEnd.hpp"

#include "support/ConnectTo.hpp"
#include "support/ScriptedContent.hpp"
#include "support/TemporaryDirectory.hpp"

#include "blocxx/NULLReferenceException.hpp"
#include "zol/mime/MultipartMixedContent.hpp"
#include "zol/mime/OctetStreamContent.hpp"
#include "zol/mime/TextContent.hpp"
#include "zol/mime/UnbufferedContent.hpp"

#include <gtest/gtest.h>

#include <ostream>
#include <string>

using namespace ZOLNS2::MIME;
using zol_test::connectTo;
using zol_test::resetAfterOneByte;
using zol_test::ScriptedServer;
using zol_test::ServerConnection;
using zol_test::TemporaryDirectory;

namespace
{

/// A program's own content that reports a bad end.
class LostContent : public zol_test::ScriptedContent, public ContentEnd
{
public:
    LostContent() : ScriptedContent({"what is left"}) {}
    bool endedBadly(const ContentStreamStateRef&) const override { return true; }
};

/// Reads until the end, or until nothing comes, and returns what the content says about it.
bool endsBadly(const ContentRef& content)
{
    const ContentStreamStateRef state = content->createInitialStreamState();
    char buffer[100];
    size_t count = 1;
    while (count != 0 && count != END_OF_DATA)
    {
        count = content->getData(buffer, sizeof(buffer), state);
    }
    return endedBadly(content, state);
}

ContentRef files(const std::vector<std::string>& names)
{
    return ContentRef(new FileApplicationOctetStreamContent(blocxx::Array<blocxx::String>(names.begin(), names.end())));
}

ContentRef unbuffered(ZOLNS2::HTTP::HTTPConnection connection, bool chunked, unsigned long length = END_OF_DATA)
{
    ZOLNS2::HTTP::Headers headers;
    if (chunked)
    {
        headers.addHeader("Transfer-Encoding", "chunked");
    }
    return ContentRef(
        new UnbufferedContent(ZOLNS2::HTTP::getTransferDecoder(connection, headers), ContentTypeHeader(), length));
}

bool receivedEndsBadly(bool chunked, const std::string& body, unsigned long length = END_OF_DATA)
{
    ScriptedServer server([&body](ServerConnection& peer) { peer.send(body); });
    return endsBadly(unbuffered(connectTo(server), chunked, length));
}

} // namespace

TEST(ContentEnd, IsOrderlyForBytesInMemory)
{
    EXPECT_FALSE(endsBadly(ContentRef(new TextPlainContent("abc"))));
    EXPECT_FALSE(endsBadly(ContentRef(new TextXMLContent(""))));
    EXPECT_FALSE(endsBadly(ContentRef(new ApplicationOctetStreamContent("abc", 3))));
}

TEST(ContentEnd, IsOrderlyForAContentThatDoesNotTell)
{
    EXPECT_FALSE(endsBadly(ContentRef(new zol_test::ScriptedContent({"abc"}))));
}

TEST(ContentEnd, IsReportedByAContentOfTheProgramsOwn)
{
    EXPECT_TRUE(endsBadly(ContentRef(new LostContent)));
}

TEST(ContentEnd, NullContentIsRefused)
{
    EXPECT_THROW(endedBadly(ContentRef(), ContentStreamStateRef()), blocxx::NULLReferenceException);
}

TEST(ContentEnd, OfFilesIsBadWhereOneCannotBeOpenedOrRead)
{
    const TemporaryDirectory directory;
    const std::string file = directory.write("file", "abc");
    const std::string empty = directory.write("empty", "");
    EXPECT_FALSE(endsBadly(files({file})));
    EXPECT_FALSE(endsBadly(files({file, file})));
    EXPECT_FALSE(endsBadly(files({})));
    EXPECT_TRUE(endsBadly(files({(directory.path() / "missing").string()})));
    EXPECT_TRUE(endsBadly(files({file, (directory.path() / "missing").string()})));
    EXPECT_TRUE(endsBadly(files({directory.path().string()}))) << "a directory is opened but cannot be read";

    const ContentRef border = files({empty, file});
    const ContentStreamStateRef state = border->createInitialStreamState();
    char buffer[10];
    EXPECT_EQ(border->getData(buffer, sizeof(buffer), state), 0U);
    EXPECT_FALSE(endedBadly(border, state)) << "nothing came this time, but there is more";
}

TEST(ContentEnd, OfFilesRefusesTheStateOfAnotherKind)
{
    const TemporaryDirectory directory;
    const ContentRef content = files({directory.write("file", "abc")});
    EXPECT_THROW(endedBadly(content, ContentStreamStateRef()), blocxx::NULLReferenceException);
    EXPECT_THROW(endedBadly(content, ContentStreamStateRef(new TextContentStreamState)),
                 blocxx::NULLReferenceException);
}

TEST(ContentEnd, OfAReceivedBodyIsBadAfterACut)
{
    EXPECT_FALSE(receivedEndsBadly(true, "3\r\nabc\r\n0\r\n\r\n"));
    EXPECT_TRUE(receivedEndsBadly(true, "3\r\nabc\r\n"));
    EXPECT_TRUE(receivedEndsBadly(true, "zz\r\n"));
    EXPECT_FALSE(receivedEndsBadly(false, "abc"));

    ScriptedServer resetting(resetAfterOneByte);
    ZOLNS2::HTTP::HTTPConnection connection = connectTo(resetting);
    connection.ostream() << 'x' << std::flush;
    EXPECT_TRUE(endsBadly(unbuffered(connection, false)));
}

TEST(ContentEnd, OfAReceivedBodyIsOrderlyShortOfTheAnnouncedLength)
{
    EXPECT_FALSE(receivedEndsBadly(false, "abc", 1000));
}

TEST(ContentEnd, OfAReceivedBodyIsNotBadBeforeItIsReached)
{
    ScriptedServer server([](ServerConnection& peer) { peer.send("3\r\nabc\r\n"); });
    const ContentRef content = unbuffered(connectTo(server), true);
    const ContentStreamStateRef state = content->createInitialStreamState();
    EXPECT_FALSE(endedBadly(content, state));
    char buffer[3];
    EXPECT_EQ(content->getData(buffer, sizeof(buffer), state), 3U);
    EXPECT_FALSE(endedBadly(content, state));
}

TEST(ContentEnd, OfAMultipartBodyIsBadWhereAPartEndedBadly)
{
    const ContentRef good(new TextPlainContent("abc"));
    const ContentRef bad(new LostContent);
    blocxx::IntrusiveReference<MultipartMixedContent> multipart(new MultipartMixedContent("B"));
    EXPECT_FALSE(endsBadly(multipart));
    multipart->addPart(good);
    EXPECT_FALSE(endsBadly(multipart));
    multipart->addPart(bad);
    EXPECT_TRUE(endsBadly(multipart));
    multipart->addPart(good);
    EXPECT_TRUE(endsBadly(multipart)) << "the parts after it do not repair it";
    blocxx::IntrusiveReference<MultipartMixedContent> outer(new MultipartMixedContent("O"));
    outer->addPart(multipart);
    EXPECT_TRUE(endsBadly(outer)) << "nor does another body around it";
    EXPECT_THROW(endedBadly(multipart, ContentStreamStateRef()), blocxx::NULLReferenceException);
}
