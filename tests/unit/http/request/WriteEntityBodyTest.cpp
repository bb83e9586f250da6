#include "request/WriteEntityBody.hpp"

#include "support/ScriptedContent.hpp"
#include "support/TemporaryDirectory.hpp"

#include "zol/http/HTTPException.hpp"
#include "zol/http/MIMEContentIStream.hpp"
#include "zol/mime/ContentEnd.hpp"
#include "zol/mime/OctetStreamContent.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

using namespace ZOLNS2::HTTP;

namespace
{

void expectRefusal(std::ios_base::iostate state)
{
    std::istringstream body("body");
    body.setstate(state);
    std::ostringstream out;
    out << "head";
    try
    {
        writeEntityBody(out, body);
        FAIL() << "not refused";
    }
    catch (const HTTPException& exception)
    {
        EXPECT_STREQ(exception.getMessage(), "Cannot copy request payload: stream was initially bad");
        EXPECT_STREQ(exception.getFile(), "HTTPRequest");
        EXPECT_GT(exception.getLine(), 0);
        EXPECT_EQ(exception.getErrorCode(), -1);
        EXPECT_EQ(exception.getSubClassId(), -1);
        EXPECT_EQ(exception.getSubException(), nullptr);
    }
    EXPECT_EQ(out.str(), "head");
    EXPECT_TRUE(out.good());
}

using Pieces = std::vector<std::string>;

/// What was written of a content, and the bits that `out` shows then.
struct Written
{
    std::string bytes;
    std::ios_base::iostate bits;
};

Written written(const ZOLNS2::MIME::ContentRef& content)
{
    MIMEContentIStream body(content);
    std::ostringstream out;
    writeEntityBody(out, body);
    return {out.str(), out.rdstate()};
}

Written writtenPieces(Pieces pieces)
{
    return written(ZOLNS2::MIME::ContentRef(new zol_test::ScriptedContent(std::move(pieces))));
}

Written writtenFiles(const Pieces& names)
{
    return written(ZOLNS2::MIME::ContentRef(new ZOLNS2::MIME::FileApplicationOctetStreamContent(
        blocxx::Array<blocxx::String>(names.begin(), names.end()))));
}

/// Empty reads, and a piece after them.
Pieces afterEmptyReads(size_t count)
{
    Pieces pieces(1, "first");
    pieces.resize(1 + count);
    pieces.emplace_back("last");
    return pieces;
}

/// Has less to deliver than it should, and says so.
class CutContent : public zol_test::ScriptedContent, public ZOLNS2::MIME::ContentEnd
{
public:
    using ScriptedContent::ScriptedContent;
    bool endedBadly(const ZOLNS2::MIME::ContentStreamStateRef&) const override { return true; }
};

/// Accepts a limited number of bytes.
class FullBuffer : public std::stringbuf
{
public:
    explicit FullBuffer(std::streamsize room) : m_room(room) {}

protected:
    std::streamsize xsputn(const char* from, std::streamsize count) override
    {
        const std::streamsize taken = std::stringbuf::xsputn(from, std::min(count, m_room));
        m_room -= taken;
        return taken;
    }

private:
    std::streamsize m_room;
};

} // namespace

TEST(WriteEntityBody, BadStreamIsRefused)
{
    expectRefusal(std::ios_base::badbit);
}

TEST(WriteEntityBody, FailedStreamIsRefused)
{
    expectRefusal(std::ios_base::failbit);
}

TEST(WriteEntityBody, EndOfFileAloneIsNotAReasonToRefuse)
{
    std::istringstream body("body");
    body.setstate(std::ios_base::eofbit);
    std::ostringstream out;
    writeEntityBody(out, body);
    EXPECT_EQ(out.str(), "body");
    EXPECT_TRUE(out.good());
}

TEST(WriteEntityBody, EmptyBodyLeavesFailbit)
{
    std::istringstream body("");
    std::ostringstream out;
    writeEntityBody(out, body);
    EXPECT_TRUE(out.fail());
    EXPECT_FALSE(out.bad());
}

TEST(WriteEntityBody, ContinuesAfterAReadOfNoBytes)
{
    const Written body = writtenPieces({"", "one", "", "", "two", ""});
    EXPECT_EQ(body.bytes, "onetwo");
    EXPECT_EQ(body.bits, std::ios_base::goodbit);
}

TEST(WriteEntityBody, SendsAllFilesAlsoWhereOneEndsWithTheBuffer)
{
    const zol_test::TemporaryDirectory directory;
    const std::string full(4096, 'a');
    const Written body = writtenFiles({directory.write("full", full), directory.write("short", "tail")});
    EXPECT_EQ(body.bytes, full + "tail");
    EXPECT_EQ(body.bits, std::ios_base::goodbit);
}

TEST(WriteEntityBody, TakesSixtyThreeReadsOfNoBytesInARow)
{
    const Written body = writtenPieces(afterEmptyReads(63));
    EXPECT_EQ(body.bytes, "firstlast");
    EXPECT_EQ(body.bits, std::ios_base::goodbit);
}

TEST(WriteEntityBody, TakesTheSixtyFourthForABodyThatIsNotWhole)
{
    const Written body = writtenPieces(afterEmptyReads(64));
    EXPECT_EQ(body.bytes, "first");
    EXPECT_EQ(body.bits, std::ios_base::failbit);
}

TEST(WriteEntityBody, CountsReadsOfNoBytesFromTheLastByteOn)
{
    Pieces pieces = afterEmptyReads(63);
    const Pieces again = afterEmptyReads(63);
    pieces.insert(pieces.end(), again.begin(), again.end());
    const Written body = writtenPieces(pieces);
    EXPECT_EQ(body.bytes, "firstlastfirstlast");
    EXPECT_EQ(body.bits, std::ios_base::goodbit);
}

TEST(WriteEntityBody, DoesNotCountEmptyFiles)
{
    const zol_test::TemporaryDirectory directory;
    Pieces names(200, directory.write("empty", ""));
    names.push_back(directory.write("last", "bytes"));
    const Written body = writtenFiles(names);
    EXPECT_EQ(body.bytes, "bytes");
    EXPECT_EQ(body.bits, std::ios_base::goodbit);
}

TEST(WriteEntityBody, EndsWhereAFileCannotBeOpened)
{
    const zol_test::TemporaryDirectory directory;
    const std::string missing = (directory.path() / "missing").string();
    const Written first = writtenFiles({missing});
    EXPECT_EQ(first.bytes, "");
    EXPECT_EQ(first.bits, std::ios_base::failbit);
    const Written later = writtenFiles({directory.write("file", "abc"), missing});
    EXPECT_EQ(later.bytes, "abc");
    EXPECT_EQ(later.bits, std::ios_base::failbit);
}

TEST(WriteEntityBody, ContentThatEndsBadlyLeavesFailbitAfterItsBytes)
{
    const Written body = written(ZOLNS2::MIME::ContentRef(new CutContent({"abc"})));
    EXPECT_EQ(body.bytes, "abc");
    EXPECT_EQ(body.bits, std::ios_base::failbit);
}

TEST(WriteEntityBody, OutputThatStopsInTheMiddleShowsNothing)
{
    FullBuffer buffer(6000);
    std::ostream out(&buffer);
    MIMEContentIStream body{ZOLNS2::MIME::ContentRef(new zol_test::ScriptedContent({std::string(10000, 'x')}))};
    writeEntityBody(out, body);
    EXPECT_EQ(buffer.str().size(), 6000U);
    EXPECT_TRUE(out.good());
}

TEST(WriteEntityBody, OutputThatAcceptsNothingFails)
{
    FullBuffer buffer(0);
    std::ostream out(&buffer);
    MIMEContentIStream body{ZOLNS2::MIME::ContentRef(new zol_test::ScriptedContent({"abc"}))};
    writeEntityBody(out, body);
    EXPECT_EQ(out.rdstate(), std::ios_base::failbit);
}

TEST(WriteEntityBody, FailedOutputIsNotWrittenTo)
{
    std::ostringstream out;
    out.setstate(std::ios_base::badbit);
    const blocxx::IntrusiveReference<zol_test::ScriptedContent> content(new zol_test::ScriptedContent({"abc"}));
    MIMEContentIStream body{content};
    writeEntityBody(out, body);
    EXPECT_EQ(out.str(), "");
    EXPECT_TRUE(content->requests.empty());
}

TEST(WriteEntityBody, ExceptionOfTheContentPassesWhereTheOutputAsksForIt)
{
    const blocxx::IntrusiveReference<zol_test::ScriptedContent> content(new zol_test::ScriptedContent({"abc", "def"}));
    content->throwAtPiece = 1;
    MIMEContentIStream body{content};
    std::ostringstream out;
    out.exceptions(std::ios_base::failbit);
    EXPECT_THROW(writeEntityBody(out, body), std::runtime_error);
    EXPECT_EQ(out.str(), "abc");
    EXPECT_TRUE(out.fail());
}
