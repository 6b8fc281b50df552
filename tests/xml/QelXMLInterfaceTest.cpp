#include "qel/xml/QelMasterXMLInterface.h"
#include "tests/support/QelTestApp.h"

#include <gtest/gtest.h>

#include <memory>
#include <vector>

namespace
{
/// A document loaded from text, with the cursor on its root element.
struct Doc
{
    explicit Doc(const std::string& strText) { EXPECT_TRUE(m.LoadDataFromString(strText)) << strText; }
    QelMasterXMLInterface m;
};

std::string ChildText(QelMasterXMLInterface& x, const std::string& strName)
{
    x.PushPosition();
    std::string s = x.MoveToChildNode(strName) ? x.GetNodeContent() : "(none)";
    x.PopPosition();
    return s;
}
} // namespace

TEST(QelXMLInterface, NavigationVisitsElementsOnly)
{
    Doc d("<r>text<!--c--><a/>\n  <?pi x?><b>t</b>\n\n<c/>tail &amp; end</r>");
    QelXMLInterface& c = d.m;
    EXPECT_EQ(c.GetNumChildNodes(), 3u);
    EXPECT_EQ(c.GetNodeContent(), "text\n  \n\ntail & end");
    EXPECT_FALSE(c.MoveToChildNode(3u));
    EXPECT_TRUE(c.MoveToChildNode(1u) && c.MoveToNextSibling());
    EXPECT_EQ(c.GetNodeName(), "c");
    EXPECT_EQ(c.GetLineNumber(), 4u);
    EXPECT_FALSE(c.MoveToNextSibling());
    EXPECT_TRUE(c.MoveToPreviousSibling() && c.MoveToPreviousSibling());
    EXPECT_FALSE(c.MoveToPreviousSibling() || c.MoveToFirstChildNode());
    EXPECT_EQ(c.GetNodeName(), "a");
    EXPECT_TRUE(c.MoveToParent());
    EXPECT_FALSE(c.MoveToParent()); // the root element
    EXPECT_TRUE(c.MoveToLastChildNode());
    EXPECT_EQ(c.GetNodeName(), "c");
    EXPECT_TRUE(c.MoveToRootNode() && c.MoveToFirstChildNode());
    EXPECT_EQ(c.GetNodeName() + c.GetRootNodeName(), "ar");
}

TEST(QelXMLInterface, QualifiedChildLookupTriesTheNamespaceFirstThenThePlainName)
{
    // Document, name asked for, text found. An element "a:b" with an unbound prefix is named so literally.
    const char* const cases[][3] = {
        {"<r><a:b>plain</a:b><a:b xmlns:a='urn:a'>ns</a:b></r>", "a:b", "ns"},
        {"<r><a:b>plain</a:b><b xmlns='urn:a'>default</b></r>", "a:b", "plain"},
        {"<r><a:b>plain</a:b></r>", "A:b", "(none)"},
        {"<r><a:b>plain</a:b></r>", "b", "(none)"},
        {"<r xmlns:p='urn:p'><p:v>1</p:v></r>", "q:v", "(none)"},
        {"<r xmlns:p='urn:p'><p:v>1</p:v></r>", "v", "1"}, // the element's own name is the local one
    };
    for (const auto& k : cases)
    {
        Doc d(k[0]);
        EXPECT_EQ(d.m.ReadString(k[1], "(none)") + "|" + ChildText(d.m, k[1]), k[2] + std::string("|") + k[2]);
    }
}

TEST(QelXMLInterface, TypedReadsConvertLikeTheCRuntimeAndAttributesMatchByNameOrQualifiedNameOnly)
{
    Doc d("<!DOCTYPE r [<!ENTITY who 'world'>]><r xmlns:p='urn:p' p:w='2.5' w='1.5' n=' 12x' b='TRUE' e=''><e/>"
          "<i>12abc</i><j>abc</j><k>  -4</k><t>TRUE</t><y>yes</y><f>2.5e1x</f><s>hi &who;&#33; &amp;</s><ch>xyz</ch>"
          "<dup>1</dup><dup>2</dup><nested><in>5</in></nested></r>");
    QelXMLInterface& c = d.m;
    const std::pair<const char*, int> ints[] = {{"e", 7},   {"i", 12},      {"j", 0},  {"k", -4},
                                                {"dup", 1}, {"missing", 7}, {"in", 7}, {"nested", 7}};
    for (const auto& k : ints)
        EXPECT_EQ(c.ReadInt(k.first, 7), k.second) << k.first;
    EXPECT_TRUE(c.ReadBool("t", false) && !c.ReadBool("y", true) && c.ReadBool("missing", true));
    EXPECT_FLOAT_EQ(c.ReadFloat("f", 0), 25.0f);
    EXPECT_DOUBLE_EQ(c.ReadDouble("f", 0), 25.0);
    EXPECT_EQ(c.ReadString("s", "") + "|" + c.ReadString("e", "def"), "hi world! &|def");
    EXPECT_EQ(c.ReadChar("ch", '-'), 'x');

    EXPECT_FLOAT_EQ(c.ReadFloatAttribute("p:w", 0), 2.5f);
    EXPECT_FLOAT_EQ(c.ReadFloatAttribute("w", 0), 2.5f); // the first attribute called w, whatever its namespace
    EXPECT_EQ(c.ReadIntAttribute("n", 0), 12);
    EXPECT_TRUE(c.ReadBoolAttribute("b", false) && !c.ReadBoolAttribute("n", true));
    EXPECT_EQ(c.ReadStringAttribute("e", "d"), "");
    // No unqualified second scan for attributes.
    EXPECT_EQ(c.ReadStringAttribute("q:w", "d") + c.ReadStringAttribute("missing", "d"), "dd");
    EXPECT_EQ(c.GetNodeName(), "r"); // reads never move the cursor
}

TEST(QelXMLInterface, WritesUseTheirFormatsAndAppendElements)
{
    QelMasterXMLInterface x;
    x.NewData("r", "");
    EXPECT_TRUE(x.WriteFloat("f", 0.1f) && x.WriteDouble("d", 3.14159265358979) && x.WriteInt("i", -42) &&
                x.WriteBool("b", false) && x.WriteChar("c", '<') && x.WriteString("s", "a&b<c>") &&
                x.WriteString("s", "second"));
    EXPECT_TRUE(x.WriteFloatAttribute("fa", 0.1f) && x.WriteIntAttribute("ia", 5) && x.WriteIntAttribute("ia", 6) &&
                x.WriteBoolAttribute("ba", true) && x.WriteStringAttribute("sa", "q\"<"));
    EXPECT_FALSE(x.WriteFloatAttribute("big", 1e30f)); // "%f" of this does not fit 32 bytes: refused
    EXPECT_EQ(x.ReadString("s", ""), "a&b<c>");
    EXPECT_EQ(x.SaveDataToString(), "<r fa=\"0.100000\" ia=\"6\" ba=\"true\" sa=\"q&quot;&lt;\">\n    <f>0.1</f>\n"
                                    "    <d>3.14159</d>\n    <i>-42</i>\n    <b>false</b>\n    <c>&lt;</c>\n"
                                    "    <s>a&amp;b&lt;c&gt;</s>\n    <s>second</s>\n  </r>");
}

TEST(QelXMLInterface, Base64HasNoPaddingDecodesLenientlyAndRefusesOversizedBlocks)
{
    QelCapture cap;
    QelMasterXMLInterface x;
    x.NewData("r", "");
    std::vector<char> data(256);
    for (int i = 0; i < 256; ++i)
        data[i] = static_cast<char>(i);
    const char ff[] = {static_cast<char>(0xFF)};
    EXPECT_TRUE(x.WriteData("abc", data.data(), 3) && x.WriteData("two", data.data() + 1, 2) &&
                x.WriteData("ff", ff, 1) && x.WriteData("none", nullptr, 0) && x.WriteData("all", data.data(), 256));
    EXPECT_EQ(ChildText(x, "abc") + "|" + ChildText(x, "two") + "|" + ChildText(x, "ff") + "|" + ChildText(x, "none"),
              "AAEC|AQI|/w|");
    EXPECT_EQ(ChildText(x, "all").find_first_of("=\n\r "), std::string::npos);
    // The vector form is as long as the text, not the data; old values beyond the decoded bytes stay.
    std::vector<char> out, abc, old(6, 'z');
    EXPECT_TRUE(x.ReadData("all", out) && x.ReadData("abc", abc) && x.ReadData("ff", old));
    EXPECT_EQ(out.size(), 342u);
    EXPECT_TRUE(std::equal(data.begin(), data.end(), out.begin()));
    EXPECT_EQ(abc, (std::vector<char>{0, 1, 2, 0}));
    EXPECT_EQ(old, (std::vector<char>{'\xFF', 'z'}));

    // The buffer form compares the caller's size with the length of the encoded text.
    char buf[4] = {1, 1, 1, 1};
    EXPECT_FALSE(x.ReadData("ff", buf, 4));
    EXPECT_EQ(buf[0], 1);
    EXPECT_TRUE(x.ReadData("ff", buf, 2) && x.ReadData("ff", buf, 0));
    EXPECT_EQ(std::vector<char>(buf, buf + 4), (std::vector<char>{'\xFF', 0, 1, 1}));
    EXPECT_FALSE(x.ReadData("none", buf, 0) || x.ReadData("missing", buf, 1) || x.ReadData("ff", nullptr, 2));

    // Oversized blocks are refused from the size alone: the one byte behind them is never read.
    EXPECT_FALSE(x.WriteData("big", ff, 536870912u) || x.WriteData("big", ff, 0xFFFFFFFFu));
    EXPECT_FALSE(x.WriteData("null", nullptr, 3));
    ASSERT_EQ(cap.Messages().size(), 2u);
    EXPECT_EQ(cap.Messages()[0], "<error> QelXMLInterface - data block of 536870912 bytes is too large to write\n");
    EXPECT_EQ(x.GetNumChildNodes(), 5u);

    // Characters outside the alphabet, padding and white space are skipped; a lone one decodes to nothing.
    Doc d("<r><p>A A\nE=C==</p><junk>*&amp;!~</junk><one>Q</one><pad>/w==</pad></r>");
    const std::pair<const char*, std::vector<char>> lenient[] = {
        {"p", {0, 1, 2, 0, 0, 0, 0, 0, 0}}, {"junk", {0, 0, 0, 0}}, {"one", {0}}, {"pad", {'\xFF', 0, 0, 0}}};
    for (const auto& k : lenient)
    {
        std::vector<char> v;
        EXPECT_TRUE(d.m.ReadData(k.first, v));
        EXPECT_EQ(v, k.second) << k.first;
    }
}

TEST(QelXMLInterface, LockedRootPositionsAndRemoval)
{
    Doc d("<r><a><b/></a><c/></r>");
    QelMasterXMLInterface& x = d.m;
    EXPECT_FALSE(x.PopPosition());
    ASSERT_TRUE(x.PushPosition() && x.MoveToChildNode("a") && x.PushPosition());
    x.LockRoot();
    ASSERT_TRUE(x.MoveToChildNode("b"));
    x.LockRoot(); // a second lock does nothing while one is set
    EXPECT_TRUE(x.MoveToRootNode());
    EXPECT_EQ(x.GetNodeName() + x.GetRootNodeName(), "aa");
    EXPECT_EQ(x.SaveDataToString(), "<a>\n    <b/>\n  </a>");
    // Standing on the locked root, the climb goes on to the root element, then stops.
    EXPECT_TRUE(x.MoveToParent());
    EXPECT_EQ(x.GetNodeName(), "r");
    EXPECT_FALSE(x.MoveToParent());
    x.UnlockRoot();
    EXPECT_EQ(x.GetNodeName(), "a");
    EXPECT_TRUE(x.MoveToRootNode());
    EXPECT_EQ(x.GetNodeName() + x.GetRootNodeName(), "rr");
    // Last in, first out.
    EXPECT_TRUE(x.PopPosition());
    EXPECT_EQ(x.GetNodeName(), "a");
    EXPECT_TRUE(x.PopPosition());
    EXPECT_EQ(x.GetNodeName(), "r");
    EXPECT_FALSE(x.PopPosition());

    // Removing a node frees its subtree; stacked positions and a lock inside it are forgotten.
    ASSERT_TRUE(x.MoveToChildNode("a") && x.PushPosition());
    x.LockRoot();
    ASSERT_TRUE(x.MoveToChildNode("b") && x.PushPosition() && x.MoveToParent() && x.RemoveNode());
    EXPECT_EQ(x.GetNodeName() + x.GetRootNodeName(), "rr");
    EXPECT_EQ(x.GetNumChildNodes(), 1u);
    EXPECT_FALSE(x.PopPosition());
    EXPECT_FALSE(x.RemoveNode()); // the root element is never freed
    EXPECT_TRUE(x.MoveToChildNode("c") && x.RemoveNode());
    EXPECT_EQ(x.SaveDataToString(), "<r/>");

    // A lock into a freed document leads nowhere afterwards.
    ASSERT_TRUE(x.LoadDataFromString("<r><a/></r>") && x.MoveToChildNode("a"));
    x.LockRoot();
    x.CloseData();
    EXPECT_EQ(x.GetRootNodeName(), "");
    ASSERT_TRUE(x.LoadDataFromString("<s><t/></s>"));
    x.UnlockRoot();
    EXPECT_EQ(x.GetNodeName() + x.GetRootNodeName(), "ss");
}

TEST(QelXMLInterface, NodesMovePastSiblingsOfAnyType)
{
    QelMasterXMLInterface x;
    x.NewData("r", "");
    EXPECT_TRUE(x.AddChildNode("a") && x.AddChildNode("b") && x.AddChildNode("c") && x.MoveToChildNode("a"));
    EXPECT_TRUE(x.MoveNodeForward() && x.MoveNodeForward());
    EXPECT_FALSE(x.MoveNodeForward());
    EXPECT_EQ(x.GetNodeName(), "a");
    EXPECT_TRUE(x.MoveToParent() && x.MoveToChildNode("c") && x.MoveNodeBackward());
    EXPECT_FALSE(x.MoveNodeBackward());
    EXPECT_TRUE(x.MoveToParent());
    EXPECT_EQ(x.SaveDataToString(), "<r>\n    <c/>\n    <b/>\n    <a/>\n  </r>");
    // Loaded from indented text, one step passes the white space only.
    Doc d("<r>\n <a/>\n <b/>\n</r>");
    EXPECT_TRUE(d.m.MoveToChildNode("a") && d.m.MoveNodeForward());
    EXPECT_FALSE(d.m.MoveToPreviousSibling());
    EXPECT_TRUE(d.m.MoveNodeForward() && d.m.MoveToPreviousSibling());
    EXPECT_EQ(d.m.GetNodeName(), "b");
}

TEST(QelXMLInterface, CopyNodeCopiesDeeplyWithinAndAcrossDocumentsButNotTooDeep)
{
    QelCapture cap;
    Doc src("<s><item k='v'><sub>1</sub></item></s>");
    ASSERT_TRUE(src.m.MoveToChildNode("item"));
    QelMasterXMLInterface dst;
    dst.NewData("d", "");
    EXPECT_TRUE(dst.CopyNode(&src.m) && dst.CopyNode(&src.m));
    EXPECT_TRUE(src.m.CopyNode(&src.m)); // into the same document, even into itself
    EXPECT_EQ(src.m.GetNumChildNodes(), 2u);
    src.m.CloseData(); // the copies belong to their own documents
    EXPECT_FALSE(dst.CopyNode(&src.m) || dst.CopyNode(nullptr));
    EXPECT_EQ(dst.GetNumChildNodes(), 2u);
    EXPECT_TRUE(dst.MoveToChildNode(1u));
    EXPECT_EQ(dst.ReadStringAttribute("k", "") + dst.ReadString("sub", ""), "v1");
    EXPECT_TRUE(cap.Messages().empty());

    // A hand-built tree deeper than documents may nest is neither saved nor copied (which would
    // exhaust the stack); each refusal says so.
    QelMasterXMLInterface deep;
    deep.NewData("r", "");
    for (int i = 0; i < 50000; ++i)
        ASSERT_TRUE(deep.AddAndMoveToChildNode("d"));
    EXPECT_EQ(deep.SaveDataToString(), "<d/>");
    deep.MoveToRootNode();
    EXPECT_EQ(deep.SaveDataToString(), "");
    unsigned int nSize = 0;
    EXPECT_FALSE(std::unique_ptr<char[]>(deep.SaveDataToMemory(nSize, true)));
    dst.NewData("c", "");
    EXPECT_FALSE(dst.CopyNode(&deep));
    EXPECT_EQ(cap.Errors(), 3u);
    EXPECT_EQ(dst.GetNumChildNodes(), 0u);
    deep.NewData("r", "");
    for (int i = 0; i < 4000; ++i)
        deep.AddAndMoveToChildNode("d");
    deep.MoveToRootNode();
    EXPECT_TRUE(dst.CopyNode(&deep)); // four thousand levels still copy
}
