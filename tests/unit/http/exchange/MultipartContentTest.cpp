#include "zol/mime/MultipartContent.hpp"

#include "ReadContent.hpp"
#include "support/ScriptedContent.hpp"
#include "support/TemporaryDirectory.hpp"

#include "blocxx/NULLReferenceException.hpp"
#include "zol/http/MIMEContentIStream.hpp"
#include "zol/mime/ContentBIO.hpp"
#include "zol/mime/FileContent.hpp"
#include "zol/mime/MultipartMixedContent.hpp"
#include "zol/mime/OctetStreamContent.hpp"
#include "zol/mime/TextContent.hpp"
#include "zol/mime/TypedContent.hpp"

#include <gmock/gmock.h>

#include <iterator>
#include <stdexcept>

namespace
{

using namespace ZOLNS2::MIME;
using blocxx::String;
using testing::AllOf;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::StartsWith;
using zol_test::contentRefusal;
using zol_test::readAll;
using zol_test::readOnce;
using zol_test::scripted;
using ZOLNS2::HTTP::Headers;

using MultipartRef = blocxx::IntrusiveReference<MultipartContent>;

MultipartRef multipart(const char* subtype, const char* boundary = "b")
{
    return MultipartRef(new MultipartContent(subtype, boundary));
}

ContentRef typed(const std::string& bytes, const char* type = "a/b")
{
    return ContentRef(new TypedContent(String(bytes), type));
}

Headers headers(const char* name, const char* value)
{
    Headers result;
    result.addHeader(name, value);
    return result;
}

TEST(MultipartContent, PartsCarryHeadersOfTheirOwn)
{
    const MultipartRef content = multipart("mixed");
    content->addPart(typed("first"));
    content->addPart(typed("second", "c/d"), headers("Content-ID", "<2>"));
    content->addPart(typed("third"), headers("content-type", "e/f"));
    EXPECT_EQ(readAll(content, 4096), "--b\r\nContent-Type: a/b\r\n\r\nfirst\r\n"
                                      "--b\r\nContent-ID: <2>\r\nContent-Type: c/d\r\n\r\nsecond\r\n"
                                      "--b\r\ncontent-type: e/f\r\n\r\nthird\r\n"
                                      "--b--\r\n");
}

TEST(MultipartContent, ItsTypeNamesSubtypeBoundaryAndParameters)
{
    const MultipartRef content = multipart("related", "a b");
    EXPECT_EQ(toString(content->getContentType()), "multipart/related; boundary=\"a b\"");
    content->setParameter("type", "text/html");
    content->setParameter("start", "<a@b>");
    EXPECT_EQ(toString(content->getContentType()),
              "multipart/related; boundary=\"a b\"; type=\"text/html\"; start=\"<a@b>\"");
    EXPECT_EQ(content->getBoundary(), "a b");
}

TEST(MultipartContent, ParametersAndSubtypesThatCannotBeWrittenAreRefused)
{
    const MultipartRef content = multipart("related");
    EXPECT_THAT(contentRefusal([&] { content->setParameter("Boundary", "c"); }), HasSubstr("already"));
    content->setParameter("type", "a/b");
    EXPECT_THAT(contentRefusal([&] { content->setParameter("type", "a/b"); }), HasSubstr("already"));
    EXPECT_NE(contentRefusal([&] { content->setParameter("a b", "c"); }), "");
    EXPECT_NE(contentRefusal([&] { content->setParameter("a", "b\r\nX: y"); }), "");
    EXPECT_NE(contentRefusal([&] { content->setParameter("a", ""); }), "");
    EXPECT_EQ(toString(content->getContentType()), "multipart/related; boundary=b; type=\"a/b\"");
    EXPECT_NE(contentRefusal([] { multipart(""); }), "");
    EXPECT_NE(contentRefusal([] { multipart("form data"); }), "");
    EXPECT_NE(contentRefusal([] { multipart("mixed\r\nX: y"); }), "");
    EXPECT_NE(contentRefusal([] { MultipartContent("form data"); }), "");
}

TEST(MultipartContent, MakesABoundaryOfItsOwn)
{
    MultipartContent one("mixed");
    MultipartContent two("mixed");
    EXPECT_THAT(one.getBoundary().c_str(), MatchesRegex("zol-[0-9a-f]{32}"));
    EXPECT_NE(one.getBoundary(), two.getBoundary());
}

TEST(MultipartContent, AGivenBoundaryIsCheckedByItsGrammar)
{
    for (const char* boundary : {"", "a ", "a\"b", "a;b", "a\nb"})
    {
        EXPECT_THAT(contentRefusal([&] { multipart("mixed", boundary); }), HasSubstr("is not a boundary"));
    }
}

TEST(MultipartContent, AGivenBoundaryThatOccursInAPartInMemoryIsRefused)
{
    const MultipartRef content = multipart("form-data", "xyz");
    EXPECT_THAT(contentRefusal([&] { content->addField("a", "text\r\n--xyz\r\n"); }),
                HasSubstr("The boundary \"xyz\" occurs in the content of a part"));
    EXPECT_NE(contentRefusal([&] { content->addField("a", typed("--xyz")); }), "");
    EXPECT_NE(contentRefusal([&] { content->addFile("a", typed("--xyz"), "f"); }), "");
    const MultipartRef outer = multipart("mixed", "outer");
    EXPECT_NE(contentRefusal([&] { outer->addPart(multipart("mixed", "outermost")); }), "") << "a nested one";
    EXPECT_EQ(readAll(content, 100), "--xyz--\r\n") << "what was refused was not added";
}

TEST(MultipartContent, AMadeBoundaryIsNotSearchedFor)
{
    MultipartContent content("mixed");
    const auto part = scripted({"x"});
    content.addPart(part);
    EXPECT_TRUE(part->requests.empty());
}

TEST(MultipartContent, FieldsAndFilesOfAForm)
{
    const zol_test::TemporaryDirectory directory;
    const MultipartRef form = multipart("form-data");
    form->addField("title", "a day\r\nat the sea");
    form->addField("about", typed("{}", "application/json"));
    form->addFile("photo", typed("jpeg", "image/jpeg"), "sea \"1\".jpg");
    form->addFile("notes", directory.write("notes.txt", "notes"), "text/plain");
    form->addFile("data", directory.write("data", "d"));
    EXPECT_EQ(readAll(form, 4096),
              "--b\r\nContent-Disposition: form-data; name=\"title\"\r\n\r\na day\r\nat the sea\r\n"
              "--b\r\nContent-Disposition: form-data; name=\"about\"\r\nContent-Type: application/json\r\n\r\n{}\r\n"
              "--b\r\nContent-Disposition: form-data; name=\"photo\"; filename=\"sea %221%22.jpg\"\r\n"
              "Content-Type: image/jpeg\r\n\r\njpeg\r\n"
              "--b\r\nContent-Disposition: form-data; name=\"notes\"; filename=\"notes.txt\"\r\n"
              "Content-Type: text/plain\r\n\r\nnotes\r\n"
              "--b\r\nContent-Disposition: form-data; name=\"data\"; filename=\"data\"\r\n"
              "Content-Type: application/octet-stream\r\n\r\nd\r\n"
              "--b--\r\n");
    EXPECT_EQ(form->getContentLength(), readAll(form, 4096).size());
}

TEST(MultipartContent, FieldsAreForFormsAndFormsHaveNothingElse)
{
    const MultipartRef mixed = multipart("mixed");
    EXPECT_THAT(contentRefusal([&] { mixed->addField("a", "b"); }), HasSubstr("multipart/mixed has no fields"));
    EXPECT_NE(contentRefusal([&] { mixed->addField("a", typed("b")); }), "");
    EXPECT_NE(contentRefusal([&] { mixed->addFile("a", typed("b"), "c"); }), "");
    const MultipartRef form = multipart("Form-Data");
    EXPECT_THAT(contentRefusal([&] { form->addPart(typed("a")); }), HasSubstr("needs a name"));
    form->addPart(typed("a"), headers("content-disposition", "form-data; name=x"));
    form->addField("a", "b");
    EXPECT_EQ(form->getParts().size(), 2U);
}

TEST(MultipartContent, NamesThatCannotBeWrittenAreRefused)
{
    const MultipartRef form = multipart("form-data");
    EXPECT_NE(contentRefusal([&] { form->addField(String("a\0", 2), "b"); }), "");
    EXPECT_NE(contentRefusal([&] { form->addFile("a", typed("b"), "\x1b"); }), "");
    EXPECT_NE(contentRefusal([&] { form->addPart(typed("a"), headers("Content-Disposition", "x\r\ny")); }), "");
    EXPECT_NE(contentRefusal([&] { form->addPart(typed("a"), headers("Content Disposition", "x")); }), "");
    EXPECT_TRUE(form->getParts().empty());
}

TEST(MultipartContent, ATypeOfAPartThatCannotBeWrittenIsRefused)
{
    const MultipartRef content = multipart("mixed");
    const auto part = scripted({"x"});
    part->type = ContentTypeHeader("a", "b\r\nX: y", blocxx::Array<ZOLNS2::HTTP::Parameter>());
    EXPECT_THAT(contentRefusal([&] { content->addPart(part); }), HasSubstr("is not a media type"));
    part->type = ContentTypeHeader();
    EXPECT_THAT(contentRefusal([&] { content->addPart(part); }), HasSubstr("is not a media type"));
    EXPECT_TRUE(content->getParts().empty());
}

TEST(MultipartContent, APartIsNeverNull)
{
    EXPECT_THAT(contentRefusal([] { multipart("mixed")->addPart(ContentRef()); }), HasSubstr("needs a content"));
    EXPECT_THAT(contentRefusal([] { multipart("form-data")->addFile("a", ContentRef(), "b"); }),
                HasSubstr("needs a content"));
}

TEST(MultipartContent, ReadsOfAnySizeGiveTheSameBytesAsManyAsAnnounced)
{
    const std::string large = zol_test::distinctBytes(100000);
    const MultipartRef inner = multipart("alternative", "inner");
    inner->addPart(typed(large));
    inner->addPart(typed(""));
    const MultipartRef content = multipart("mixed", "outer");
    content->addPart(typed(""));
    content->addPart(inner, headers("X-Comment", "nested"));
    content->addPart(ContentRef(new TextPlainContent("text")));
    const std::string whole = readAll(content, 1000000);
    EXPECT_THAT(whole, HasSubstr("Content-Type: multipart/alternative; boundary=inner\r\n\r\n--inner\r\n"));
    EXPECT_TRUE(content->hasContentLength());
    EXPECT_EQ(content->getContentLength(), whole.size());
    for (const size_t size : {1U, 2U, 3U, 5U, 100U, 4096U, 65536U})
    {
        EXPECT_EQ(readAll(content, size), whole) << size;
    }
}

TEST(MultipartContent, WithoutPartsItIsTheClosingDelimiter)
{
    const MultipartRef content = multipart("mixed");
    EXPECT_EQ(readAll(content, 100), "--b--\r\n");
    EXPECT_TRUE(content->hasContentLength());
    EXPECT_EQ(content->getContentLength(), 7U);
}

TEST(MultipartContent, APartWithoutALengthLeavesTheWholeWithoutOne)
{
    const MultipartRef content = multipart("mixed");
    content->addPart(typed("x"));
    const auto part = scripted({"y"});
    part->lengthIsKnown = false;
    content->addPart(part);
    EXPECT_FALSE(content->hasContentLength());
    EXPECT_THAT(contentRefusal([&] { content->getContentLength(); }), HasSubstr("length is not known"));
    EXPECT_THAT(readAll(content, 100), HasSubstr("\r\n\r\ny\r\n--b--")) << "it is written all the same";
}

TEST(MultipartContent, ARequestOfNothingIsNotTheEnd)
{
    const MultipartRef content = multipart("mixed");
    content->addPart(ContentRef(new MultipartMixedContent(Contents(1, typed("x")), "i")));
    const ContentStreamStateRef state = content->createInitialStreamState();
    std::string all;
    for (std::string piece; piece != "END"; piece = readOnce(content, 1, state))
    {
        all += piece;
        EXPECT_EQ(readOnce(content, 0, state), all.size() == content->getContentLength() ? "END" : "");
    }
    EXPECT_EQ(all, readAll(content, 100)) << "not that of a part either";
}

TEST(MultipartContent, APartThatHasNothingThisTimeGivesTheTurnBack)
{
    const MultipartRef content = multipart("mixed");
    content->addPart(scripted({"", "x"}));
    const ContentStreamStateRef state = content->createInitialStreamState();
    EXPECT_THAT(readOnce(content, 100, state), StartsWith("--b\r\n"));
    EXPECT_EQ(readOnce(content, 100, state), "");
    EXPECT_EQ(readOnce(content, 100, state), "x");
    EXPECT_EQ(readOnce(content, 100, state), "\r\n--b--\r\n");
    EXPECT_EQ(readOnce(content, 100, state), "END");
}

TEST(MultipartContent, WhatAPartThrowsPassesThroughAndLosesNothing)
{
    const auto part = scripted({"ab", "cd"});
    part->throwAtPiece = 1;
    const MultipartRef content = multipart("mixed");
    content->addPart(part);
    const ContentStreamStateRef state = content->createInitialStreamState();
    EXPECT_EQ(readOnce(content, 100, state), "--b\r\nContent-Type: application/x-scripted\r\n\r\n");
    EXPECT_EQ(readOnce(content, 100, state), "ab");
    EXPECT_THROW(readOnce(content, 100, state), std::runtime_error);
    EXPECT_THROW(readOnce(content, 100, state), std::runtime_error) << "it never turns into an end";
    part->throwAtPiece = 9;
    EXPECT_EQ(readOnce(content, 100, state), "cd");
    EXPECT_EQ(readOnce(content, 100, state), "\r\n--b--\r\n");
}

class CutContent : public zol_test::ScriptedContent, public ContentEnd
{
public:
    using ScriptedContent::ScriptedContent;
    bool endedBadly(const ContentStreamStateRef&) const override { return true; }
};

TEST(MultipartContent, APartThatEndsBadlyEndsTheReading)
{
    const MultipartRef content = multipart("mixed");
    content->addPart(typed("x"));
    content->addPart(ContentRef(new CutContent({"abc"})));
    content->addPart(typed("never reached"));
    const ContentStreamStateRef state = content->createInitialStreamState();
    std::string all;
    EXPECT_EQ(contentRefusal(
                  [&]
                  {
                      for (;;)
                      {
                          all += readOnce(content, 100, state);
                      }
                  }),
              "The content of part 2 ended before all of its data was delivered");
    EXPECT_THAT(all, testing::EndsWith("\r\n\r\nabc"));
    EXPECT_TRUE(endedBadly(content, state));
    EXPECT_NE(contentRefusal([&] { readOnce(content, 100, state); }), "") << "it never turns into an end";
    const MultipartRef missing = multipart("mixed");
    missing->addPart(ContentRef(new FileApplicationOctetStreamContent("/nonexistent")));
    EXPECT_NE(contentRefusal([&] { readAll(missing, 100); }), "") << "one that returns 0 for ever";
}

TEST(MultipartContent, AnOrderlyEndIsNotABadOne)
{
    const MultipartRef content = multipart("mixed");
    content->addPart(typed("x"));
    const ContentStreamStateRef state = content->createInitialStreamState();
    EXPECT_FALSE(endedBadly(content, state));
    while (readOnce(content, 100, state) != "END")
    {
    }
    EXPECT_FALSE(endedBadly(content, state));
}

TEST(MultipartContent, AFileThatBecomesShorterIsNotSentAsIfItWereWhole)
{
    const zol_test::TemporaryDirectory directory;
    const std::string path = directory.write("a", std::string(1000, 'x'));
    const MultipartRef form = multipart("form-data");
    form->addFile("a", path);
    const size_t announced = form->getContentLength();
    std::filesystem::resize_file(path, 500);
    EXPECT_THAT(contentRefusal([&] { readAll(form, 100); }), AllOf(HasSubstr(path), HasSubstr("has become shorter")));
    std::filesystem::resize_file(path, 2000);
    EXPECT_EQ(readAll(form, 100).size(), announced);
    EXPECT_NE(contentRefusal([&] { form->addFile("b", directory.file("missing")); }), "");
}

TEST(MultipartContent, APartThatCanBeReadOnceMayStandAnywhere)
{
    const MultipartRef content = multipart("mixed");
    for (int i = 0; i < 2; ++i)
    {
        const auto part = scripted({"x"});
        part->refusesSecondReader = true;
        content->addPart(part);
    }
    EXPECT_EQ(readAll(content, 100).size(), content->getContentLength());
    EXPECT_THROW(content->createInitialStreamState(), std::runtime_error) << "before anything is read";
}

TEST(MultipartContent, GivesBackWhatThePartsHoldOneByOne)
{
    class CountedState : public ContentStreamState
    {
    public:
        explicit CountedState(int& states) : m_states(states) { ++m_states; }
        CountedState(const CountedState&) = delete;
        CountedState& operator=(const CountedState&) = delete;
        ~CountedState() override { --m_states; }

    private:
        int& m_states;
    };
    class CountedContent : public TextPlainContent
    {
    public:
        explicit CountedContent(int& states) : TextPlainContent(""), m_states(states) {}
        size_t getData(char*, size_t, const ContentStreamStateRef&) override { return END_OF_DATA; }
        ContentStreamStateRef createInitialStreamState() const override
        {
            return ContentStreamStateRef(new CountedState(m_states));
        }

    private:
        int& m_states;
    };
    int states = 0;
    const MultipartRef content(new MultipartContent("mixed"));
    content->addPart(ContentRef(new CountedContent(states)));
    content->addPart(ContentRef(new CountedContent(states)));
    const ContentStreamStateRef state = content->createInitialStreamState();
    EXPECT_EQ(states, 2);
    readOnce(content, 1000, state);
    readOnce(content, 1000, state);
    EXPECT_EQ(states, 1);
    readOnce(content, 1000, state);
    EXPECT_EQ(states, 0);
}

TEST(MultipartContent, AReadingIsOneOfThePartsThatWereThereWhenItBegan)
{
    const MultipartRef content = multipart("mixed");
    content->addPart(typed("x"));
    const ContentStreamStateRef before = content->createInitialStreamState();
    content->addPart(typed("y"));
    std::string all;
    for (std::string piece; piece != "END"; piece = readOnce(content, 100, before))
    {
        all += piece;
    }
    EXPECT_EQ(all, "--b\r\nContent-Type: a/b\r\n\r\nx\r\n--b--\r\n");
    EXPECT_THAT(readAll(content, 100), HasSubstr("\r\n\r\ny\r\n--b--"));
}

TEST(MultipartContent, IsReadByTwoReadersAtOnce)
{
    const MultipartRef content = multipart("mixed");
    content->addPart(typed("x"));
    const ContentStreamStateRef one = content->createInitialStreamState();
    const ContentStreamStateRef two = content->createInitialStreamState();
    EXPECT_EQ(readOnce(content, 3, one), "--b");
    EXPECT_EQ(readOnce(content, 100, two), "--b\r\nContent-Type: a/b\r\n\r\n");
    EXPECT_EQ(readOnce(content, 100, one), "\r\nContent-Type: a/b\r\n\r\n");
    EXPECT_EQ(readOnce(content, 100, two), "x");
    EXPECT_EQ(readOnce(content, 100, one), "x");
}

TEST(MultipartContent, ANullStateAndOneOfAnotherKindAreRefused)
{
    const MultipartRef content = multipart("mixed");
    char byte = 0;
    EXPECT_THROW(content->getData(&byte, 1, ContentStreamStateRef()), blocxx::NULLReferenceException);
    EXPECT_THROW(content->getData(&byte, 1, typed("x")->createInitialStreamState()), blocxx::NULLReferenceException);
    EXPECT_THROW(content->endedBadly(ContentStreamStateRef()), blocxx::NULLReferenceException);
}

TEST(MultipartContent, IsAStreamAPartAndABio)
{
    const MultipartRef content = multipart("mixed");
    content->addPart(typed(zol_test::distinctBytes(10000)));
    const std::string whole = readAll(content, 100000);
    ZOLNS2::HTTP::MIMEContentIStream stream(content);
    EXPECT_EQ(stream.getContentLength(), whole.size());
    EXPECT_EQ(std::string((std::istreambuf_iterator<char>(stream)), std::istreambuf_iterator<char>()), whole);
    EXPECT_FALSE(stream.bad());
    const blocxx::IntrusiveReference<MultipartMixedContent> mixed(new MultipartMixedContent("x"));
    mixed->addPart(content);
    EXPECT_THAT(readAll(mixed, 100), HasSubstr("content-type: multipart/mixed; boundary=b\r\n\r\n" + whole));
    BIO* const bio = BIO_new_httpcontent(content);
    char buffer[100];
    EXPECT_EQ(BIO_read(bio, buffer, sizeof(buffer)), 26);
    BIO_free(bio);
}

} // namespace
