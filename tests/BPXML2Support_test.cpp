// The XML layer: what the writer writes, byte for byte, and what the reader finds in documents of friend and foe.
#include "src/BPXML2Support.h"

#include "src/platform/BPFiles.h"
#include "tests/CoreTest.h"

#include <cstdio>
#include <cstring>
#include <unistd.h>

namespace {

struct DocumentRelease {
    void operator()(BPXML2Document* document) const { BPXML2_FreeDocument(document); }
};
using DocumentPtr = std::unique_ptr<BPXML2Document, DocumentRelease>;

DocumentPtr Parse(std::string_view text)
{
    return DocumentPtr(BPXML2_ReadXMLDocument(text.data(), text.size(), "test.xml"));
}

std::string StringAt(std::string_view document, const char* key)
{
    const DocumentPtr parsed = Parse(document);
    if (!parsed) return "(no document)";
    const char* text = BPXML2_GetString(BPXML2_DocumentNode(parsed.get()), key);
    return text != nullptr ? text : "(null)";
}

float FloatAt(std::string_view document, const char* key)
{
    const DocumentPtr parsed = Parse(document);
    return parsed ? BPXML2_GetFloat(BPXML2_DocumentNode(parsed.get()), key) : -99.0f;
}

TEST(BPXML2Writer, ADocumentIsWrittenByteForByte)
{
    BPXML2Writer writer;
    BPXML2_WriteText(&writer, "<!-- 100% & < \" -->\n");
    BPXML2_OpenTag(&writer, "List", "xmlns=\"urn:x\"");
    BPXML2_OpenTag(&writer, "Item", "");
    BPXML2_EmptyTag(&writer, "Empty", "");
    BPXML2_EmptyTag(&writer, "Empty", "ref=\"a b\"");
    BPXML2_FloatElement(&writer, "Number", -0.1234567);
    BPXML2_TextElement(&writer, "Text", "a&b<c>d\"e~f'%s");
    BPXML2_Utf8Element(&writer, "Name", "a&b<c>d\"e~f'%s");
    BPXML2_Utf8Element(&writer, "Nothing", nullptr);
    BPXML2_Utf8Element(&writer, "Nothing", "");
    BPXML2_CloseTag(&writer, "Item");
    BPXML2_CloseTag(&writer, "List");
    EXPECT_EQ(writer.text, "<!-- 100% & < \" -->\n"
                           "<List xmlns=\"urn:x\">\n"
                           "\t<Item>\n"
                           "\t\t<Empty/>\n"
                           "\t\t<Empty ref=\"a b\"/>\n"
                           "\t\t<Number>-0.123457</Number>\n"
                           "\t\t<Text>a&amp;b&lt;c&gt;d&quot;e~f'%s</Text>\n"
                           "\t\t<Name>a&amp;b&lt;c&gt;d&quot;e&tilde;f'%s</Name>\n"
                           "\t\t<Nothing></Nothing>\n"
                           "\t\t<Nothing></Nothing>\n"
                           "\t</Item>\n"
                           "</List>\n");
    EXPECT_EQ(writer.depth, 0);
    EXPECT_EQ(writer.status, bpNoErr);
}

TEST(BPXML2Writer, AClosingTagBringsTheDepthBack)
{
    BPXML2Writer writer;
    BPXML2_OpenTag(&writer, "a", "");
    EXPECT_EQ(writer.depth, 1);
    BPXML2_CloseTag(&writer, "a");
    EXPECT_EQ(writer.depth, 0);
    EXPECT_EQ(writer.text, "<a>\n</a>\n");
}

TEST(BPXML2Writer, ANegativeChangeOfTheDepthComesBeforeTheTabsAndAPositiveOneAfter)
{
    BPXML2Writer writer;
    BPXML2_WriteIndent(&writer, 2);
    EXPECT_EQ(writer.text, "");
    BPXML2_WriteIndent(&writer, 0);
    EXPECT_EQ(writer.text, "\t\t");
    BPXML2_WriteIndent(&writer, -1);
    EXPECT_EQ(writer.text, "\t\t\t");
    EXPECT_EQ(writer.depth, 1);
}

TEST(BPXML2Writer, MoreThanFiftyLevelsAndFewerThanNoneAreSafe)
{
    BPXML2Writer writer;
    BPXML2_WriteIndent(&writer, 1000);
    BPXML2_WriteIndent(&writer, 0);
    EXPECT_EQ(writer.text, std::string(50, '\t'));
    writer = {};
    BPXML2_CloseTag(&writer, "a");
    EXPECT_EQ(writer.text, "</a>\n");
}

TEST(BPXML2Writer, TwoRecordsDoNotShareADepth)
{
    BPXML2Writer first, second;
    BPXML2_OpenTag(&first, "a", "");
    BPXML2_OpenTag(&second, "b", "");
    EXPECT_EQ(second.text, "<b>\n");
}

TEST(BPXML2Writer, ATextThatEscapesToMoreThanTwiceItsLengthEndsBeforeAWholeEntity)
{
    std::string escaped;
    EXPECT_EQ(BPXML2_Escape("a&bcd", &escaped), bpNoErr);
    EXPECT_EQ(escaped, "a&amp;bcd");
    EXPECT_EQ(BPXML2_Escape("&&&", &escaped), bpMemFullErr);
    EXPECT_EQ(escaped, "&amp;");
    EXPECT_EQ(BPXML2_Escape("&", &escaped), bpMemFullErr);
    EXPECT_EQ(escaped, "");
    EXPECT_EQ(BPXML2_Escape("", &escaped), bpNoErr);
    EXPECT_EQ(escaped, "");
    EXPECT_EQ(BPXML2_Escape("~<>", &escaped), bpMemFullErr); // 1 + 4 + 4 of 6
    EXPECT_EQ(escaped, "~&lt;");

    BPXML2Writer writer;
    BPXML2_WriteEscaped(&writer, "x < y");
    EXPECT_EQ(writer.text, "x &lt; y");
    EXPECT_EQ(writer.status, bpNoErr);
    BPXML2_WriteEscaped(&writer, "&&");
    BPXML2_WriteEscaped(&writer, "ab");
    EXPECT_EQ(writer.text, "x &lt; yab");
    EXPECT_EQ(writer.status, bpMemFullErr);
}

TEST(BPXML2Writer, AnElementOfTextIsNeverCut)
{
    BPXML2Writer writer;
    BPXML2_TextElement(&writer, "t", std::string(300, '&'));
    EXPECT_EQ(writer.text.size(), 3 + 1500 + 5u);
    EXPECT_EQ(writer.status, bpNoErr);
}

TEST(BPXML2Writer, ALongTextOfTheUserIsCutAt255BytesAndNeverInsideACharacter)
{
    BPXML2Writer writer;
    BPXML2_Utf8Element(&writer, "d", std::string(400, 'x').c_str());
    EXPECT_EQ(writer.text, "<d>" + std::string(255, 'x') + "</d>\n");
    writer = {};
    BPXML2_Utf8Element(&writer, "d", (std::string(254, 'x') + "\xC3\xBC").c_str());
    EXPECT_EQ(writer.text, "<d>" + std::string(254, 'x') + "</d>\n");
    writer = {};
    BPXML2_Utf8Element(&writer, "d", (std::string(253, 'x') + "\xC3\xBC").c_str());
    EXPECT_EQ(writer.text, "<d>" + std::string(253, 'x') + "\xC3\xBC</d>\n");
    writer = {};
    BPXML2_Utf8Element(&writer, "d", std::string(255, '&').c_str()); // cut first, escaped then
    EXPECT_EQ(writer.text.size(), 3 + 5 * 255 + 5u);
}

TEST(BPXML2Writer, BytesThatAreNoCharactersBecomeTheReplacementCharacter)
{
    const std::string mark = "\xEF\xBF\xBD";
    struct {
        std::string_view text;
        std::string valid;
    } const cases[] = {
        {"plain\ttext\n", "plain\ttext\n"},
        {"\xC3\xBC \xE2\x82\xAC \xF0\x9F\x8E\xA8", "\xC3\xBC \xE2\x82\xAC \xF0\x9F\x8E\xA8"},
        {"\xFC", mark},
        {"a\x80z", "a" + mark + "z"},
        {"\xC3", mark},
        {"\xE2\x82", mark + mark},
        {"\xC0\x80", mark + mark},                       // overlong
        {"\xED\xA0\x80", mark + mark + mark},            // half of a pair
        {"\xF4\x90\x80\x80", mark + mark + mark + mark}, // beyond the last
        {"\xEF\xBF\xBF", mark + mark + mark},            // not allowed in XML
        {"a\x01z\x1F", "a" + mark + "z" + mark},
        {std::string_view("a\0b", 3), "a" + mark + "b"},
    };
    for (const auto& row : cases) EXPECT_EQ(BPXML2_ValidUtf8(row.text), row.valid) << row.text;
}

TEST(BPXML2Writer, WhatItWritesIsReadBack)
{
    BPXML2Writer writer;
    BPXML2_OpenTag(&writer, "a", "");
    BPXML2_TextElement(&writer, "t", "x & \"<>\" y");
    BPXML2_FloatElement(&writer, "f", 1.25);
    BPXML2_Utf8Element(&writer, "u", "\xFC & \x02");
    BPXML2_CloseTag(&writer, "a");
    EXPECT_EQ(StringAt(writer.text, "t"), "x & \"<>\" y");
    EXPECT_EQ(FloatAt(writer.text, "f"), 1.25f);
    EXPECT_EQ(StringAt(writer.text, "u"), "\xEF\xBF\xBD & \xEF\xBF\xBD");
}

TEST(BPXML2Reader, ANameOnTwoLevelsIsFoundInTheOrderOfTheDocument)
{
    EXPECT_EQ(StringAt("<r><a><x>deep</x></a><x>shallow</x></r>", "x"), "deep");
    EXPECT_EQ(StringAt("<r><x>shallow</x><a><x>deep</x></a></r>", "x"), "shallow");
    EXPECT_EQ(StringAt("<x>root<x>inner</x></x>", "x"), "root");
}

TEST(BPXML2Reader, NamesMatchInAnyLetterCaseAndWithoutTheirPrefix)
{
    EXPECT_EQ(StringAt("<r><sLOPE>1</sLOPE></r>", "Slope"), "1");
    EXPECT_EQ(StringAt("<c:r xmlns:c='urn:x'><c:Slope>2</c:Slope></c:r>", "slope"), "2");
    EXPECT_EQ(StringAt("<r><Slopes>1</Slopes></r>", "Slope"), "(null)");
}

TEST(BPXML2Reader, NumbersAreReadFromTheStartOfTheText)
{
    EXPECT_EQ(FloatAt("<r><f>  -1.5e1 px</f></r>", "f"), -15.0f);
    EXPECT_EQ(FloatAt("<r><f>none</f></r>", "f"), 0.0f);
    EXPECT_EQ(FloatAt("<r><f/></r>", "f"), 0.0f);
    EXPECT_EQ(FloatAt("<r><f><g>3</g></f></r>", "f"), 0.0f);
    EXPECT_EQ(FloatAt("<r/>", "f"), 0.0f);
    EXPECT_EQ(FloatAt("<r><f><![CDATA[4]]></f></r>", "f"), 0.0f);
    EXPECT_EQ(FloatAt("<r><f><g/>5</f></r>", "f"), 5.0f);
}

TEST(BPXML2Reader, AStringIsTextOrTheTextOfADeclaredEntity)
{
    const std::string head = "<!DOCTYPE r [<!ENTITY num '1 2 3'><!ENTITY far SYSTEM 'file:///etc/passwd'>]>";
    EXPECT_EQ(StringAt(head + "<r><s>&num;</s></r>", "s"), "1 2 3");
    EXPECT_EQ(StringAt(head + "<r><s>4&num;</s></r>", "s"), "4");
    EXPECT_EQ(StringAt(head + "<r><s>&far;</s></r>", "s"), "(null)");
    EXPECT_EQ(StringAt("<r><s><![CDATA[1 2 3]]></s></r>", "s"), "(null)");
    EXPECT_EQ(StringAt("<r><s><![CDATA[1]]>2</s></r>", "s"), "2");
    EXPECT_EQ(StringAt("<r><s>1<!-- c -->2</s></r>", "s"), "1");
    EXPECT_EQ(StringAt("<r><s>&#49;&amp;</s></r>", "s"), "1&");
}

TEST(BPXML2Reader, ElementsInsideAnEntityAreNotSearched)
{
    EXPECT_EQ(StringAt("<!DOCTYPE r [<!ENTITY e '<x>1</x>'>]><r>&e;</r>", "x"), "(null)");
}

TEST(BPXML2Reader, NoOtherFileIsRead)
{
    const std::string path = testing::TempDir() + "/other-" + std::to_string(getpid()) + ".dtd";
    const std::string_view other = "<!ENTITY n '4 5 6'>";
    ASSERT_EQ(BPWriteFile(path.c_str(), other.data(), other.size()), bpNoErr);
    LogCatch log;
    // As the document type, as a parameter of it, and as a general entity.
    for (const std::string& head :
         {"<!DOCTYPE r SYSTEM 'file://" + path + "'>", "<!DOCTYPE r [<!ENTITY % p SYSTEM 'file://" + path + "'>%p;]>",
          "<!DOCTYPE r [<!ENTITY n SYSTEM 'file://" + path + "'>]>"}) {
        const std::string found = StringAt(head + "<r><s>&n;</s></r>", "s");
        EXPECT_TRUE(found == "(null)" || found == "(no document)") << head << " gave " << found;
    }
    std::remove(path.c_str());
}

TEST(BPXML2Reader, TheFirstChildOfKindTextIsFound)
{
    const DocumentPtr document = Parse("<r><a><b/>text</a></r>");
    ASSERT_TRUE(document);
    BPXML2Node* root = BPXML2_DocumentNode(document.get());
    EXPECT_NE(BPXML2_FindTextNode(root, "a"), nullptr);
    EXPECT_EQ(BPXML2_FindTextNode(root, "b"), nullptr);
    EXPECT_EQ(BPXML2_FindTextNode(root, "c"), nullptr);
}

TEST(BPXML2Reader, ANullNodeOrKeyIsReportedAndFindsNothing)
{
    LogCatch log;
    const DocumentPtr document = Parse("<r/>");
    ASSERT_TRUE(document);
    EXPECT_EQ(BPXML2_FindElement(nullptr, "a"), nullptr);
    EXPECT_EQ(BPXML2_FindElement(BPXML2_DocumentNode(document.get()), nullptr), nullptr);
    EXPECT_EQ(BPXML2_GetString(nullptr, "a"), nullptr);
    EXPECT_EQ(BPXML2_GetFloat(nullptr, "a"), 0.0f);
    ASSERT_EQ(log.reports.size(), 4u);
    EXPECT_NE(log.reports[0].find("Assert (node != 0) failed. [BPXML2Support: "), std::string::npos);
    EXPECT_NE(log.reports[1].find("Assert (keyString != 0) failed. [BPXML2Support: "), std::string::npos);
}

TEST(BPXML2Reader, WhatIsNoXMLGivesNoDocumentAndALogLine)
{
    for (const std::string_view text : {"", "x", "<r>", "<r></s>", "<r>&tilde;</r>", "\xFF\xFE<", "<r>\x01</r>",
                                        "<?xml version='1.0' encoding='no-such'?><r/>", "<r/><r/>"}) {
        LogCatch log;
        testing::internal::CaptureStderr();
        EXPECT_FALSE(Parse(text)) << text;
        EXPECT_EQ(testing::internal::GetCapturedStderr(), "") << text;
        EXPECT_NE(log.Text(), "") << text;
        if (!text.empty()) {
            EXPECT_EQ(log.Text().rfind("test.xml:", 0), 0u) << log.Text();
        }
        EXPECT_EQ(log.Text().back(), '\n');
    }
}

TEST(BPXML2Reader, AHostileDocumentCannotFloodTheLog)
{
    std::string text = "<r>";
    for (int i = 0; i < 5000; ++i) text += "<p:a/>"; // each with an undeclared prefix
    text += "</r>";
    LogCatch log;
    EXPECT_TRUE(Parse(text));
    const std::string lines = log.Text();
    EXPECT_EQ(std::count(lines.begin(), lines.end(), '\n'), 20);
}

TEST(BPXML2Reader, DepthAndEntitiesAreBounded)
{
    LogCatch log;
    std::string deep, laughs = "<!DOCTYPE r [<!ENTITY l0 'ha'>";
    for (int i = 0; i < 100000; ++i) deep += "<a>";
    EXPECT_FALSE(Parse(deep));
    for (int i = 1; i < 40; ++i) {
        const std::string below = "&l" + std::to_string(i - 1) + ";";
        laughs += "<!ENTITY l" + std::to_string(i) + " '" + below + below + below + below + "'>";
    }
    laughs += "]><r><s>&l39;</s></r>";
    Parse(laughs); // refused or left unexpanded: what counts is that it ends, and soon
}

TEST(BPXML2Reader, AFileIsReadFromItsPath)
{
    const std::string path = testing::TempDir() + "/xml-" + std::to_string(getpid()) + ".xml";
    const char text[] = "<r><f>2.5</f></r>";
    ASSERT_EQ(BPWriteFile(path.c_str(), text, sizeof text - 1), bpNoErr);
    const DocumentPtr document(BPXML2_ReadXMLDocIntoMemory(path.c_str()));
    ASSERT_TRUE(document);
    EXPECT_EQ(BPXML2_GetFloat(BPXML2_DocumentNode(document.get()), "f"), 2.5f);
    std::remove(path.c_str());

    LogCatch log;
    EXPECT_EQ(BPXML2_ReadXMLDocIntoMemory(path.c_str()), nullptr);
    EXPECT_EQ(BPXML2_ReadXMLDocIntoMemory("/"), nullptr);
    EXPECT_NE(log.Text().find("err=-43\n"), std::string::npos);
}

} // namespace
