#include "zol/mime/ContentTypeHeader.hpp"

#include "support/LogCapture.hpp"

#include "blocxx/Format.hpp"
#include "zol/mime/ContentException.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <iomanip>
#include <sstream>

using blocxx::Array;
using blocxx::String;
using testing::ElementsAre;
using zol_test::LogCapture;
using ZOLNS2::HTTP::Parameter;
using ZOLNS2::MIME::ContentException;
using ZOLNS2::MIME::ContentTypeHeader;

namespace
{

ContentTypeHeader parsed(const String& headerLine)
{
    ContentTypeHeader header;
    header.setContentTypeString(headerLine);
    return header;
}

/// The parameters, each as "name=value".
std::vector<std::string> parametersOf(const ContentTypeHeader& header)
{
    std::vector<std::string> texts;
    const Array<Parameter> parameters = header.getParameters();
    for (const Parameter& parameter : parameters)
    {
        texts.push_back((parameter.name + "=" + parameter.value).c_str());
    }
    return texts;
}

std::string written(const String& value)
{
    const String text = toString(ContentTypeHeader("a", "b", Array<Parameter>(1, Parameter("n", value))));
    const std::string whole(text.c_str(), text.length());
    EXPECT_EQ(whole.substr(0, 7), "a/b; n=");
    return whole.substr(7);
}

} // namespace

TEST(ContentTypeHeader, StartsEmpty)
{
    const ContentTypeHeader header;
    EXPECT_EQ(header.getType(), "");
    EXPECT_EQ(header.getSubType(), "");
    EXPECT_EQ(header.getContentTypeString(), "");
    EXPECT_TRUE(header.getParameters().empty());
}

TEST(ContentTypeHeader, MadeFromItsPartsHasNoHeaderText)
{
    const ContentTypeHeader header("text", "plain", Array<Parameter>(1, Parameter("charset", "UTF-8")));
    EXPECT_EQ(header.getType(), "text");
    EXPECT_EQ(header.getSubType(), "plain");
    EXPECT_THAT(parametersOf(header), ElementsAre("charset=UTF-8"));
    EXPECT_EQ(header.getContentTypeString(), "");
}

TEST(ContentTypeHeader, AccessorsGiveCopies)
{
    const ContentTypeHeader header("text", "plain", Array<Parameter>(1, Parameter("charset", "UTF-8")));
    Array<Parameter> parameters = header.getParameters();
    parameters[0].value = "changed";
    EXPECT_EQ(header.getParameterValue("charset"), "UTF-8");
}

TEST(ContentTypeHeader, TypeSubtypeAndParameterAreParsed)
{
    const ContentTypeHeader header = parsed("Content-Type: text/plain; charset=UTF-8");
    EXPECT_EQ(header.getType(), "text");
    EXPECT_EQ(header.getSubType(), "plain");
    EXPECT_THAT(parametersOf(header), ElementsAre("charset=UTF-8"));
    EXPECT_EQ(header.getContentTypeString(), "Content-Type: text/plain; charset=UTF-8");
}

TEST(ContentTypeHeader, ParametersKeepTheirOrderAndDuplicates)
{
    EXPECT_THAT(parametersOf(parsed("t: a/b;x=1; y=2 ;x=3")), ElementsAre("x=1", "y=2 ", "x=3"));
}

TEST(ContentTypeHeader, CaseIsKept)
{
    const ContentTypeHeader header = parsed("CONTENT-TYPE: Text/PLAIN; Charset=Utf-8");
    EXPECT_EQ(header.getType(), "Text");
    EXPECT_EQ(header.getSubType(), "PLAIN");
    EXPECT_THAT(parametersOf(header), ElementsAre("Charset=Utf-8"));
}

TEST(ContentTypeHeader, TypeAndSubtypeAreTrimmed)
{
    const ContentTypeHeader header = parsed("Content-Type:  text / plain ");
    EXPECT_EQ(header.getType(), "text");
    EXPECT_EQ(header.getSubType(), "plain");
    EXPECT_EQ(parsed("Content-Type: text/ plain ; a=b").getSubType(), "plain");
}

TEST(ContentTypeHeader, OnlyTheFirstColonCounts)
{
    EXPECT_EQ(parsed("a:b:c/d").getType(), "b:c");
}

TEST(ContentTypeHeader, NameOfTheHeaderIsNotChecked)
{
    const ContentTypeHeader header = parsed("a/b;c=d: e/f");
    EXPECT_EQ(header.getType(), "e");
    EXPECT_EQ(header.getSubType(), "f");
    EXPECT_TRUE(header.getParameters().empty());
}

TEST(ContentTypeHeader, EmptyValueGivesAnEmptyUnslashedType)
{
    const ContentTypeHeader header = parsed("Content-Type:");
    EXPECT_EQ(header.getType(), "");
    EXPECT_EQ(header.getSubType(), "");
}

TEST(ContentTypeHeader, QuotedValueLosesItsQuotes)
{
    EXPECT_THAT(parametersOf(parsed("t: multipart/mixed; boundary=\"xyz\"")), ElementsAre("boundary=xyz"));
    EXPECT_THAT(parametersOf(parsed("t: a/b; c=\"\"")), ElementsAre("c="));
}

TEST(ContentTypeHeader, OpeningQuoteTakesTheLastCharacterWhateverItIs)
{
    EXPECT_THAT(parametersOf(parsed("t: a/b; c=\"a")), ElementsAre("c="));
    EXPECT_THAT(parametersOf(parsed("t: a/b; c=\"abc")), ElementsAre("c=ab"));
    EXPECT_THAT(parametersOf(parsed("t: a/b; c=\"abc\" ")), ElementsAre("c=abc\""));
    EXPECT_THAT(parametersOf(parsed("t: a/b; c=\"")), ElementsAre("c="));
}

TEST(ContentTypeHeader, EscapesInsideQuotesStay)
{
    EXPECT_THAT(parametersOf(parsed("t: a/b; c=\"x\\\"y\"")), ElementsAre("c=x\\\"y"));
}

TEST(ContentTypeHeader, SemicolonInsideQuotesEndsTheValue)
{
    EXPECT_THAT(parametersOf(parsed("t: a/b; c=\"x;y=z\"")), ElementsAre("c=", "y=z\""));
}

TEST(ContentTypeHeader, ValueIsNotTrimmedAndABlankKeepsItsQuotes)
{
    EXPECT_THAT(parametersOf(parsed("t: a/b; c= x ")), ElementsAre("c= x "));
    EXPECT_THAT(parametersOf(parsed("t: a/b; c= \"x\"")), ElementsAre("c= \"x\""));
}

TEST(ContentTypeHeader, ParameterNameIsTrimmed)
{
    EXPECT_THAT(parametersOf(parsed("t: a/b; \tc =d")), ElementsAre("c=d"));
    EXPECT_THAT(parametersOf(parsed("t: a/b; =d")), ElementsAre("=d"));
}

TEST(ContentTypeHeader, ValueRunsToTheNextSemicolonWithItsEqualsSigns)
{
    EXPECT_THAT(parametersOf(parsed("t: a/b; c=d=e; f=")), ElementsAre("c=d=e", "f="));
}

TEST(ContentTypeHeader, NameReachesAcrossSemicolonsToTheNextEqualsSign)
{
    EXPECT_THAT(parametersOf(parsed("Content-Type: x/a; b; c=d")), ElementsAre("b; c=d"));
}

TEST(ContentTypeHeader, WithoutSlashTheTypeKeepsItsBlank)
{
    const ContentTypeHeader header = parsed("Content-Type: text");
    EXPECT_EQ(header.getType(), " text");
    EXPECT_EQ(header.getSubType(), "");
}

TEST(ContentTypeHeader, WithoutSlashTheIndexOfTheSemicolonIsTheLength)
{
    const ContentTypeHeader whole = parsed("Content-Type: text;a=b");
    EXPECT_EQ(whole.getType(), " text;a=b");
    EXPECT_THAT(parametersOf(whole), ElementsAre("a=b"));
    // The ";" has index 3: three characters, counted from after the colon.
    EXPECT_EQ(parsed("T:x;abc=d").getType(), "x;a");
}

TEST(ContentTypeHeader, SlashAfterTheSemicolonCounts)
{
    const ContentTypeHeader header = parsed("Content-Type: a;b=c/d");
    EXPECT_EQ(header.getType(), "a;b=c");
    EXPECT_EQ(header.getSubType(), "d");
    EXPECT_THAT(parametersOf(header), ElementsAre("b=c/d"));
}

TEST(ContentTypeHeader, SlashDirectlyAfterTheSemicolonGivesTheRestAsSubtype)
{
    const ContentTypeHeader header = parsed("t: a;/b=c");
    EXPECT_EQ(header.getType(), "a;");
    EXPECT_EQ(header.getSubType(), "b=c");
    EXPECT_EQ(parsed("t: a;b=c/").getSubType(), "");
}

TEST(ContentTypeHeader, LineWithoutColonIsRefusedAndStored)
{
    ContentTypeHeader header("old", "kept", Array<Parameter>(1, Parameter("a", "b")));
    try
    {
        header.setContentTypeString("text/plain");
        FAIL() << "not refused";
    }
    catch (const ContentException& exception)
    {
        EXPECT_STREQ(exception.getMessage(), "Malformed content-type header: text/plain");
        EXPECT_STREQ(exception.getFile(), "HTTPContent");
        EXPECT_GT(exception.getLine(), 0);
        EXPECT_EQ(exception.getErrorCode(), -1);
        EXPECT_EQ(exception.getSubClassId(), -1);
        EXPECT_EQ(exception.getSubException(), nullptr);
    }
    EXPECT_EQ(header.getContentTypeString(), "text/plain");
    EXPECT_EQ(header.getType(), "old");
    EXPECT_EQ(header.getSubType(), "kept");
    EXPECT_THAT(parametersOf(header), ElementsAre("a=b"));
}

TEST(ContentTypeHeader, EmptyLineIsRefused)
{
    EXPECT_THROW(parsed(""), ContentException);
}

TEST(ContentTypeHeader, SecondLineReplacesTheTypeAndAddsItsParameters)
{
    ContentTypeHeader header = parsed("Content-Type: text/plain; charset=UTF-8");
    header.setContentTypeString("Content-Type: text/xml; a=b");
    EXPECT_EQ(header.getSubType(), "xml");
    EXPECT_EQ(header.getContentTypeString(), "Content-Type: text/xml; a=b");
    EXPECT_THAT(parametersOf(header), ElementsAre("charset=UTF-8", "a=b"));
}

TEST(ContentTypeHeader, CopyTakenBeforeASecondLineKeepsItsParameters)
{
    ContentTypeHeader header = parsed("Content-Type: text/plain; charset=UTF-8");
    const ContentTypeHeader copy(header);
    header.setContentTypeString("Content-Type: text/xml; a=b");
    EXPECT_THAT(parametersOf(copy), ElementsAre("charset=UTF-8"));
}

TEST(ContentTypeHeader, ParameterIsLookedUpByItsExactName)
{
    const ContentTypeHeader header = parsed("Content-Type: text/plain; charset=1; charset=2; empty=");
    EXPECT_EQ(header.getParameterValue("charset"), "1");
    EXPECT_EQ(header.getParameterValue("Charset"), "");
    EXPECT_EQ(header.getParameterValue("empty"), "");
    EXPECT_EQ(header.getParameterValue("char"), "");
}

TEST(ContentTypeHeader, DefaultOneIsWrittenAsASlash)
{
    EXPECT_EQ(toString(ContentTypeHeader()), "/");
}

TEST(ContentTypeHeader, IsWrittenWithoutNameAndLineEnd)
{
    EXPECT_EQ(toString(parsed("Content-Type: text/plain;charset=UTF-8")), "text/plain; charset=UTF-8");
    Array<Parameter> parameters(1, Parameter("charset", "UTF-8"));
    parameters.push_back(Parameter("name", "a b"));
    EXPECT_EQ(toString(ContentTypeHeader("text", "plain", parameters)), "text/plain; charset=UTF-8; name=\"a b\"");
}

TEST(ContentTypeHeader, ValueIsQuotedExactlyForTheBytesThatNeedIt)
{
    const std::string specials = "()<>@,;:\\\"/[]?={} \x7f";
    for (int byte = 0; byte < 256; ++byte)
    {
        const char c = static_cast<char>(byte);
        const std::string value{'x', c, 'y'};
        const std::string content = c == '"' ? "x\\\"y" : value;
        const bool quoted = byte < 0x20 || specials.find(c) != std::string::npos;
        EXPECT_EQ(written(String(value.data(), value.size())), quoted ? "\"" + content + "\"" : content) << byte;
    }
}

TEST(ContentTypeHeader, BackslashIsWrittenUnescaped)
{
    EXPECT_EQ(written("a\\b"), "\"a\\b\"");
    EXPECT_EQ(written("\\\""), "\"\\\\\"\"");
}

TEST(ContentTypeHeader, EmptyValueIsWrittenAsNothing)
{
    EXPECT_EQ(written(""), "");
}

TEST(ContentTypeHeader, TypeAndNamesAreWrittenAsTheyAre)
{
    EXPECT_EQ(toString(ContentTypeHeader("a b", "c;d", Array<Parameter>(1, Parameter("n \"m", "v")))),
              "a b/c;d; n \"m=v");
}

TEST(ContentTypeHeader, CanBeFormattedAndIsNotPadded)
{
    const ContentTypeHeader header("text", "plain", Array<Parameter>());
    EXPECT_EQ(blocxx::Format("[%1]", header).toString(), "[text/plain]");
    std::ostringstream out;
    out << std::setw(20) << header;
    EXPECT_EQ(out.str(), "text/plain");
}

TEST(ContentTypeHeader, LongTextIsWrittenWhole)
{
    const String longValue(std::string(10000, 'x'));
    EXPECT_EQ(toString(ContentTypeHeader("a", "b", Array<Parameter>(1, Parameter("n", longValue)))),
              "a/b; n=" + longValue);
}

TEST(ContentTypeHeader, ParsingIsLoggedAtDebug3)
{
    const LogCapture log;
    parsed("Content-Type: a/b; c=\"d\"; e=f");
    EXPECT_THAT(log.messages("zol.common.http.content"),
                ElementsAre("HTTP Content: content type: a, sub type: b",
                            "HTTP Content: content-type param[0]: name = c, value = \"d\"",
                            "HTTP Content: content-type param[0]: name = e, value = f"));
    for (const zol_test::LogRecord& record : log.records())
    {
        EXPECT_EQ(record.category, "DEBUG3");
        EXPECT_EQ(record.file, "HTTPContent");
        EXPECT_GT(record.line, 0);
        EXPECT_FALSE(record.method.empty());
    }
}

TEST(ContentTypeHeader, MissingSlashIsLoggedBeforeTheType)
{
    const LogCapture log;
    parsed("Content-Type: text");
    EXPECT_THAT(log.messages("zol.common.http.content"),
                ElementsAre("HTTP Content: No '/' found in content type: Content-Type: text",
                            "HTTP Content: content type:  text, sub type: "));
    EXPECT_EQ(log.records().front().category, "DEBUG3");
}

TEST(ContentTypeHeader, ParsingIsNotLoggedBelowDebug3)
{
    const LogCapture log(blocxx::E_DEBUG2_LEVEL);
    parsed("Content-Type: text; c=d");
    EXPECT_TRUE(log.records().empty());
}
