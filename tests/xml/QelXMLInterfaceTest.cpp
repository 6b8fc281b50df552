#include "qel/xml/QelMasterXMLInterface.h"
#include "tests/support/QelTestApp.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <vector>

namespace
{
/// A document loaded from text, with the cursor on its root element.
struct Doc
{
    explicit Doc(const std::string& strText)
    {
        EXPECT_TRUE(m.LoadDataFromString(strText)) << strText;
    }
    QelMasterXMLInterface m;
};

std::string ChildText(QelMasterXMLInterface& x, const std::string& strName)
{
    x.PushPosition();
    std::string s;
    if (x.MoveToChildNode(strName))
        s = x.GetNodeContent();
    x.PopPosition();
    return s;
}
} // namespace

TEST(QelXMLInterface, ACursorWithoutDocumentFailsEverything)
{
    QelCapture cap;
    QelMasterXMLInterface x;
    QelXMLInterface& c = x;
    EXPECT_FALSE(c.IsValid());
    EXPECT_FALSE(c.MoveToRootNode());
    EXPECT_FALSE(c.MoveToNextSibling());
    EXPECT_FALSE(c.MoveToPreviousSibling());
    EXPECT_FALSE(c.MoveToParent());
    EXPECT_EQ(c.GetNumChildNodes(), 0u);
    EXPECT_FALSE(c.MoveToFirstChildNode());
    EXPECT_FALSE(c.MoveToLastChildNode());
    EXPECT_FALSE(c.MoveToChildNode(0u));
    EXPECT_FALSE(c.MoveToChildNode("a"));
    EXPECT_FALSE(c.AddChildNode("a"));
    EXPECT_FALSE(c.AddAndMoveToChildNode("a"));
    EXPECT_EQ(c.GetLineNumber(), 0u);
    EXPECT_FALSE(c.PushPosition());
    EXPECT_FALSE(c.PopPosition());
    EXPECT_EQ(c.GetRootNodeName(), "");
    EXPECT_EQ(c.GetNodeName(), "");
    EXPECT_EQ(c.GetNodeContent(), "");
    EXPECT_TRUE(c.ReadBool("a", true));
    EXPECT_EQ(c.ReadInt("a", 7), 7);
    EXPECT_EQ(c.ReadChar("a", 'q'), 'q');
    EXPECT_EQ(c.ReadFloat("a", 1.5f), 1.5f);
    EXPECT_EQ(c.ReadDouble("a", 2.5), 2.5);
    EXPECT_EQ(c.ReadString("a", "d"), "d");
    char buf[4];
    std::vector<char> vec(3, 'z');
    EXPECT_FALSE(c.ReadData("a", buf, 4));
    EXPECT_FALSE(c.ReadData("a", vec));
    EXPECT_EQ(vec.size(), 3u);
    EXPECT_EQ(c.ReadStringAttribute("a", "d"), "d");
    EXPECT_EQ(c.ReadFloatAttribute("a", 1.5f), 1.5f);
    EXPECT_EQ(c.ReadIntAttribute("a", 3), 3);
    EXPECT_TRUE(c.ReadBoolAttribute("a", true));
    EXPECT_FALSE(c.WriteBool("a", true));
    EXPECT_FALSE(c.WriteInt("a", 1));
    EXPECT_FALSE(c.WriteChar("a", 'c'));
    EXPECT_FALSE(c.WriteFloat("a", 1));
    EXPECT_FALSE(c.WriteDouble("a", 1));
    EXPECT_FALSE(c.WriteString("a", "s"));
    EXPECT_FALSE(c.WriteData("a", "abc", 3));
    EXPECT_FALSE(c.WriteStringAttribute("a", "s"));
    EXPECT_FALSE(c.WriteFloatAttribute("a", 1));
    EXPECT_FALSE(c.WriteIntAttribute("a", 1));
    EXPECT_FALSE(c.WriteBoolAttribute("a", true));
    // The operations that test no validity refuse safely without a current node.
    EXPECT_FALSE(c.MoveNodeForward());
    EXPECT_FALSE(c.MoveNodeBackward());
    EXPECT_FALSE(c.CopyNode(&x));
    EXPECT_FALSE(c.RemoveNode());
    EXPECT_TRUE(cap.Messages().empty());
}

TEST(QelXMLInterface, NavigationVisitsElementsOnly)
{
    Doc d("<r>text<!--c--><a/>\n  <?pi x?><b>t</b><c/>tail</r>");
    QelXMLInterface& c = d.m;
    EXPECT_EQ(c.GetNumChildNodes(), 3u);
    ASSERT_TRUE(c.MoveToChildNode(1u));
    EXPECT_EQ(c.GetNodeName(), "b");
    EXPECT_TRUE(c.MoveToNextSibling());
    EXPECT_EQ(c.GetNodeName(), "c");
    EXPECT_FALSE(c.MoveToNextSibling());
    EXPECT_EQ(c.GetNodeName(), "c");
    EXPECT_TRUE(c.MoveToPreviousSibling());
    EXPECT_TRUE(c.MoveToPreviousSibling());
    EXPECT_EQ(c.GetNodeName(), "a");
    EXPECT_FALSE(c.MoveToPreviousSibling());
    EXPECT_EQ(c.GetNodeName(), "a");
    EXPECT_FALSE(c.MoveToFirstChildNode());
    EXPECT_TRUE(c.MoveToParent());
    EXPECT_EQ(c.GetNodeName(), "r");
    EXPECT_FALSE(c.MoveToParent());
    EXPECT_FALSE(c.MoveToChildNode(3u));
    EXPECT_TRUE(c.MoveToLastChildNode());
    EXPECT_EQ(c.GetNodeName(), "c");
    EXPECT_TRUE(c.MoveToRootNode());
    EXPECT_TRUE(c.MoveToFirstChildNode());
    EXPECT_EQ(c.GetNodeName(), "a");
    EXPECT_TRUE(c.MoveToRootNode());
    EXPECT_EQ(c.GetRootNodeName(), "r");
    EXPECT_EQ(c.GetNodeContent(), "text\n  tail");
}

TEST(QelXMLInterface, QualifiedChildLookupPrefersTheNamespacedElement)
{
    Doc d("<r xmlns:a='urn:a'><a:b>1</a:b></r>");
    // The element literally named "a:b" comes first, but the namespaced b wins.
    d.m.NewData("r", "");
    ASSERT_TRUE(d.m.AddChildNode("a:b"));
    {
        QelMasterXMLInterface src;
        ASSERT_TRUE(src.LoadDataFromString("<r xmlns:a='urn:a'><a:b>ns</a:b></r>"));
        ASSERT_TRUE(src.MoveToFirstChildNode());
        ASSERT_TRUE(d.m.CopyNode(&src));
    }
    EXPECT_EQ(d.m.GetNumChildNodes(), 2u);
    EXPECT_EQ(d.m.ReadString("a:b", "none"), "ns");
    ASSERT_TRUE(d.m.MoveToChildNode("a:b"));
    EXPECT_EQ(d.m.GetNodeContent(), "ns");

    // Without a namespaced match the plain name is found, byte for byte.
    QelMasterXMLInterface plain;
    plain.NewData("r", "");
    ASSERT_TRUE(plain.WriteString("x:y", "plain"));
    EXPECT_EQ(plain.ReadString("x:y", "none"), "plain");
    EXPECT_EQ(plain.ReadString("X:y", "none"), "none");
    EXPECT_EQ(plain.ReadString("y", "none"), "none");

    // A namespaced element is not found by its local name with the wrong prefix.
    Doc ns("<r xmlns:p='urn:p'><p:v>1</p:v></r>");
    EXPECT_EQ(ns.m.ReadInt("q:v", 9), 9);
    EXPECT_EQ(ns.m.ReadInt("p:v", 9), 1);
    EXPECT_EQ(ns.m.ReadInt("v", 9), 1); // the whole string "v" matches the element's own name
}

TEST(QelXMLInterface, AttributesMatchByNameOrQualifiedNameOnly)
{
    Doc d("<r xmlns:p='urn:p' p:w='2.5' w='1.5' n=' 12x' b='TRUE' e=''/>");
    QelXMLInterface& c = d.m;
    EXPECT_FLOAT_EQ(c.ReadFloatAttribute("p:w", 0), 2.5f);
    EXPECT_FLOAT_EQ(c.ReadFloatAttribute("w", 0), 2.5f); // the first attribute called w, whatever its namespace
    EXPECT_EQ(c.ReadIntAttribute("n", 0), 12);
    EXPECT_TRUE(c.ReadBoolAttribute("b", false));
    EXPECT_EQ(c.ReadStringAttribute("e", "d"), "");
    EXPECT_EQ(c.ReadStringAttribute("q:w", "d"), "d"); // no unqualified second scan for attributes
    EXPECT_EQ(c.ReadStringAttribute("missing", "d"), "d");
    EXPECT_FALSE(c.ReadBoolAttribute("n", true));
}

TEST(QelXMLInterface, TypedReadsConvertLikeTheCRuntime)
{
    Doc d("<r><e/><i>12abc</i><j>abc</j><k>  -4</k><t>TRUE</t><y>yes</y><f>2.5e1x</f><s>a &amp; b</s>"
          "<ch>xyz</ch><dup>1</dup><dup>2</dup><nested><in>5</in></nested></r>");
    QelXMLInterface& c = d.m;
    EXPECT_EQ(c.ReadInt("e", 7), 7);
    EXPECT_EQ(c.ReadInt("i", 7), 12);
    EXPECT_EQ(c.ReadInt("j", 7), 0);
    EXPECT_EQ(c.ReadInt("k", 7), -4);
    EXPECT_EQ(c.ReadInt("missing", 7), 7);
    EXPECT_TRUE(c.ReadBool("t", false));
    EXPECT_FALSE(c.ReadBool("y", true));
    EXPECT_TRUE(c.ReadBool("missing", true));
    EXPECT_FLOAT_EQ(c.ReadFloat("f", 0), 25.0f);
    EXPECT_DOUBLE_EQ(c.ReadDouble("f", 0), 25.0);
    EXPECT_EQ(c.ReadString("s", ""), "a & b");
    EXPECT_EQ(c.ReadString("e", "def"), "def");
    EXPECT_EQ(c.ReadChar("ch", '-'), 'x');
    EXPECT_EQ(c.ReadInt("dup", 0), 1);
    EXPECT_EQ(c.ReadInt("nested", 3), 3); // only element children: no text
    EXPECT_EQ(c.ReadInt("in", 3), 3);     // only direct children count
    EXPECT_EQ(c.GetNodeName(), "r");      // reads never move the cursor
}

TEST(QelXMLInterface, WritesUseTheirFormatsAndAppendElements)
{
    QelMasterXMLInterface x;
    x.NewData("r", "");
    EXPECT_TRUE(x.WriteFloat("f", 0.1f));
    EXPECT_TRUE(x.WriteDouble("d", 3.14159265358979));
    EXPECT_TRUE(x.WriteInt("i", -42));
    EXPECT_TRUE(x.WriteBool("b", false));
    EXPECT_TRUE(x.WriteChar("c", '<'));
    EXPECT_TRUE(x.WriteString("s", "a&b<c>"));
    EXPECT_TRUE(x.WriteString("s", "second"));
    EXPECT_TRUE(x.WriteFloatAttribute("fa", 0.1f));
    EXPECT_TRUE(x.WriteIntAttribute("ia", 5));
    EXPECT_TRUE(x.WriteIntAttribute("ia", 6));
    EXPECT_TRUE(x.WriteBoolAttribute("ba", true));
    EXPECT_TRUE(x.WriteStringAttribute("sa", "q\"<"));
    // %f into a 32-byte buffer cannot hold this value: refused.
    EXPECT_FALSE(x.WriteFloatAttribute("big", 1e30f));
    EXPECT_EQ(x.GetNodeName(), "r");

    EXPECT_EQ(ChildText(x, "f"), "0.1");
    EXPECT_EQ(ChildText(x, "d"), "3.14159");
    EXPECT_EQ(ChildText(x, "i"), "-42");
    EXPECT_EQ(ChildText(x, "b"), "false");
    EXPECT_EQ(ChildText(x, "c"), "<");
    EXPECT_EQ(x.ReadStringAttribute("fa", ""), "0.100000");
    EXPECT_EQ(x.ReadStringAttribute("ia", ""), "6");
    EXPECT_EQ(x.ReadStringAttribute("big", "none"), "none");
    EXPECT_EQ(x.GetNumChildNodes(), 7u);
    EXPECT_EQ(x.ReadString("s", ""), "a&b<c>");

    std::string strText = x.SaveDataToString();
    EXPECT_NE(strText.find("<s>a&amp;b&lt;c&gt;</s>"), std::string::npos) << strText;
    EXPECT_NE(strText.find("<s>second</s>"), std::string::npos);
    EXPECT_NE(strText.find("fa=\"0.100000\""), std::string::npos);
    EXPECT_NE(strText.find("ia=\"6\""), std::string::npos);
}

TEST(QelXMLInterface, Base64HasNoPaddingAndDecodesLeniently)
{
    QelMasterXMLInterface x;
    x.NewData("r", "");
    const char abc[] = {0x00, 0x01, 0x02};
    const char ff[] = {static_cast<char>(0xFF)};
    EXPECT_TRUE(x.WriteData("abc", abc, 3));
    EXPECT_TRUE(x.WriteData("ff", ff, 1));
    EXPECT_TRUE(x.WriteData("none", nullptr, 0));
    EXPECT_EQ(ChildText(x, "abc"), "AAEC");
    EXPECT_EQ(ChildText(x, "ff"), "/w");
    ASSERT_TRUE(x.MoveToChildNode("none"));
    EXPECT_EQ(x.GetNumChildNodes(), 0u);
    EXPECT_EQ(x.GetNodeContent(), "");
    ASSERT_TRUE(x.MoveToParent());

    // The buffer form compares the size with the length of the encoded text.
    char buf[4] = {1, 1, 1, 1};
    EXPECT_FALSE(x.ReadData("ff", buf, 4));
    EXPECT_EQ(buf[0], 1);
    EXPECT_TRUE(x.ReadData("ff", buf, 2));
    EXPECT_EQ(static_cast<unsigned char>(buf[0]), 0xFF);
    EXPECT_EQ(buf[1], 0);
    EXPECT_EQ(buf[2], 1); // bytes beyond the caller's size are untouched
    EXPECT_TRUE(x.ReadData("ff", buf, 0));
    EXPECT_FALSE(x.ReadData("none", buf, 0)); // no text: the default, false
    EXPECT_FALSE(x.ReadData("missing", buf, 1));

    // The vector form is as long as the encoded text; old values beyond the decoded bytes stay.
    std::vector<char> vec;
    EXPECT_TRUE(x.ReadData("abc", vec));
    EXPECT_EQ(vec, (std::vector<char>{0, 1, 2, 0}));
    std::vector<char> old(6, 'z');
    EXPECT_TRUE(x.ReadData("ff", old));
    ASSERT_EQ(old.size(), 2u);
    EXPECT_EQ(static_cast<unsigned char>(old[0]), 0xFF);
    EXPECT_EQ(old[1], 'z');

    // Characters outside the alphabet, padding and white space are skipped.
    Doc d("<r><p>A A\nE=C==</p><junk>*&amp;!~</junk><one>Q</one><pad>/w==</pad></r>");
    std::vector<char> v;
    EXPECT_TRUE(d.m.ReadData("p", v));
    ASSERT_EQ(v.size(), 9u);
    EXPECT_EQ(std::vector<char>(v.begin(), v.begin() + 4), (std::vector<char>{0, 1, 2, 0}));
    std::vector<char> junk;
    EXPECT_TRUE(d.m.ReadData("junk", junk));
    EXPECT_EQ(junk, std::vector<char>(4, 0));
    std::vector<char> one;
    EXPECT_TRUE(d.m.ReadData("one", one)); // a lone character decodes to nothing
    EXPECT_EQ(one, std::vector<char>(1, 0));
    char big[64];
    std::memset(big, 9, sizeof(big));
    EXPECT_TRUE(d.m.ReadData("pad", big, 4));
    EXPECT_EQ(static_cast<unsigned char>(big[0]), 0xFF);
    EXPECT_EQ(big[1], 0);
    EXPECT_EQ(big[3], 0);
    EXPECT_EQ(big[4], 9);
}

TEST(QelXMLInterface, Base64RoundTripsEveryLengthAndByte)
{
    QelMasterXMLInterface x;
    x.NewData("r", "");
    std::vector<char> data(256);
    for (int i = 0; i < 256; ++i)
        data[i] = static_cast<char>(255 - i);
    for (unsigned int n = 0; n <= 7; ++n)
    {
        ASSERT_TRUE(x.WriteData("d", data.data(), n));
        std::string strText = ChildText(x, "d");
        EXPECT_EQ(strText.size(), n / 3 * 4 + (n % 3 ? n % 3 + 1 : 0));
        ASSERT_TRUE(x.MoveToChildNode("d"));
        ASSERT_TRUE(x.RemoveNode());
    }
    ASSERT_TRUE(x.WriteData("all", data.data(), 256));
    std::vector<char> out;
    ASSERT_TRUE(x.ReadData("all", out));
    ASSERT_GE(out.size(), 256u);
    EXPECT_TRUE(std::equal(data.begin(), data.end(), out.begin()));
    EXPECT_EQ(ChildText(x, "all").find_first_of("=\n\r "), std::string::npos);
}

TEST(QelXMLInterface, OversizedDataBlocksAreRefused)
{
    QelCapture cap;
    QelMasterXMLInterface x;
    x.NewData("r", "");
    char one = 'x';
    // Refused from the size alone, before a byte is read.
    EXPECT_FALSE(x.WriteData("big", &one, 536870912u));
    EXPECT_FALSE(x.WriteData("big", &one, 0xFFFFFFFFu));
    EXPECT_EQ(cap.Errors(), 2u);
    EXPECT_EQ(x.GetNumChildNodes(), 0u);
    EXPECT_FALSE(x.WriteData("null", nullptr, 3));
    char buf[2];
    x.WriteData("d", "ab", 2);
    EXPECT_FALSE(x.ReadData("d", nullptr, 2));
    EXPECT_TRUE(x.ReadData("d", buf, 2));
}

TEST(QelXMLInterface, ParentClimbsPastALockedRoot)
{
    Doc d("<r><a><b/></a></r>");
    QelMasterXMLInterface& x = d.m;
    ASSERT_TRUE(x.MoveToChildNode("a"));
    x.LockRoot();
    EXPECT_EQ(x.GetRootNodeName(), "a");
    ASSERT_TRUE(x.MoveToChildNode("b"));
    EXPECT_TRUE(x.MoveToRootNode());
    EXPECT_EQ(x.GetNodeName(), "a");
    // Standing on the locked root, the climb goes on to the root element, then stops.
    EXPECT_TRUE(x.MoveToParent());
    EXPECT_EQ(x.GetNodeName(), "r");
    EXPECT_FALSE(x.MoveToParent());
    EXPECT_EQ(x.GetNodeName(), "r");
    x.UnlockRoot();
    EXPECT_EQ(x.GetNodeName(), "a");
    EXPECT_TRUE(x.MoveToRootNode());
    EXPECT_EQ(x.GetNodeName(), "r");
    EXPECT_EQ(x.GetRootNodeName(), "r");

    // A second lock does nothing while one is set.
    ASSERT_TRUE(x.MoveToChildNode("a"));
    x.LockRoot();
    ASSERT_TRUE(x.MoveToChildNode("b"));
    x.LockRoot();
    EXPECT_EQ(x.GetRootNodeName(), "a");
    x.UnlockRoot();
    EXPECT_EQ(x.GetNodeName(), "a");
}

TEST(QelXMLInterface, PositionStackIsLastInFirstOut)
{
    Doc d("<r><a><b/></a><c/></r>");
    QelXMLInterface& c = d.m;
    EXPECT_FALSE(c.PopPosition());
    EXPECT_EQ(c.GetNodeName(), "r");
    ASSERT_TRUE(c.PushPosition());
    ASSERT_TRUE(c.MoveToChildNode("a"));
    ASSERT_TRUE(c.PushPosition());
    ASSERT_TRUE(c.MoveToChildNode("b"));
    EXPECT_TRUE(c.PopPosition());
    EXPECT_EQ(c.GetNodeName(), "a");
    EXPECT_TRUE(c.PopPosition());
    EXPECT_EQ(c.GetNodeName(), "r");
    EXPECT_FALSE(c.PopPosition());
}

TEST(QelXMLInterface, RemoveNodeFreesTheSubtreeAndForgetsPositionsInIt)
{
    Doc d("<r><a><b/></a><c/></r>");
    QelMasterXMLInterface& x = d.m;
    ASSERT_TRUE(x.MoveToChildNode("a"));
    ASSERT_TRUE(x.PushPosition());
    x.LockRoot();
    ASSERT_TRUE(x.MoveToChildNode("b"));
    ASSERT_TRUE(x.PushPosition());
    ASSERT_TRUE(x.MoveToParent());
    EXPECT_TRUE(x.RemoveNode());
    EXPECT_EQ(x.GetNodeName(), "r");
    EXPECT_EQ(x.GetNumChildNodes(), 1u);
    // The stacked positions and the lock were inside the removed node: nothing dangles.
    EXPECT_FALSE(x.PopPosition());
    EXPECT_EQ(x.GetRootNodeName(), "r");
    // The root element is never freed.
    EXPECT_FALSE(x.RemoveNode());
    EXPECT_TRUE(x.IsValid());
    EXPECT_EQ(x.GetNodeName(), "r");
    ASSERT_TRUE(x.MoveToChildNode("c"));
    EXPECT_TRUE(x.RemoveNode());
    EXPECT_EQ(x.SaveDataToString(), "<r/>");
}

TEST(QelXMLInterface, NodesMovePastSiblingsOfAnyType)
{
    QelMasterXMLInterface x;
    x.NewData("r", "");
    x.AddChildNode("a");
    x.AddChildNode("b");
    x.AddChildNode("c");
    ASSERT_TRUE(x.MoveToChildNode("a"));
    EXPECT_TRUE(x.MoveNodeForward());
    EXPECT_EQ(x.GetNodeName(), "a");
    EXPECT_TRUE(x.MoveNodeForward());
    EXPECT_FALSE(x.MoveNodeForward());
    EXPECT_TRUE(x.MoveToParent());
    EXPECT_EQ(x.SaveDataToString(), "<r>\n    <b/>\n    <c/>\n    <a/>\n  </r>");
    ASSERT_TRUE(x.MoveToChildNode("c"));
    EXPECT_TRUE(x.MoveNodeBackward());
    EXPECT_FALSE(x.MoveNodeBackward());
    x.MoveToParent();
    EXPECT_EQ(x.SaveDataToString(), "<r>\n    <c/>\n    <b/>\n    <a/>\n  </r>");

    // Loaded from indented text, one step passes the white space only.
    Doc d("<r>\n <a/>\n <b/>\n</r>");
    ASSERT_TRUE(d.m.MoveToChildNode("a"));
    EXPECT_TRUE(d.m.MoveNodeForward());
    EXPECT_EQ(d.m.GetNodeName(), "a");
    EXPECT_FALSE(d.m.MoveToPreviousSibling());
    EXPECT_TRUE(d.m.MoveNodeForward());
    EXPECT_TRUE(d.m.MoveToPreviousSibling());
    EXPECT_EQ(d.m.GetNodeName(), "b");
}

TEST(QelXMLInterface, CopyNodeCopiesDeeplyWithinAndAcrossDocuments)
{
    Doc src("<s><item k='v'><sub>1</sub></item></s>");
    ASSERT_TRUE(src.m.MoveToChildNode("item"));
    QelMasterXMLInterface dst;
    dst.NewData("d", "");
    EXPECT_TRUE(dst.CopyNode(&src.m));
    EXPECT_TRUE(dst.CopyNode(&src.m));
    EXPECT_EQ(dst.GetNumChildNodes(), 2u);
    ASSERT_TRUE(dst.MoveToChildNode(1u));
    EXPECT_EQ(dst.ReadStringAttribute("k", ""), "v");
    EXPECT_EQ(dst.ReadInt("sub", 0), 1);
    // Into the same document, even into itself.
    EXPECT_TRUE(src.m.CopyNode(&src.m));
    EXPECT_EQ(src.m.GetNumChildNodes(), 2u);
    src.m.CloseData(); // the copies belong to their own documents
    EXPECT_EQ(dst.ReadInt("sub", 0), 1);
    EXPECT_FALSE(dst.CopyNode(&src.m));
    EXPECT_FALSE(dst.CopyNode(nullptr));
}

TEST(QelXMLInterface, LineNumbersComeFromTheParsedText)
{
    Doc d("<r>\n<a/>\n\n<b/></r>");
    EXPECT_EQ(d.m.GetLineNumber(), 1u);
    ASSERT_TRUE(d.m.MoveToChildNode("b"));
    EXPECT_EQ(d.m.GetLineNumber(), 4u);
}

TEST(QelXMLInterface, ContentSubstitutesEntities)
{
    Doc d("<!DOCTYPE r [<!ENTITY who 'world'>]><r>hello &who;&#33;<x/></r>");
    EXPECT_EQ(d.m.GetNodeContent(), "hello world!");
    ASSERT_TRUE(d.m.MoveToChildNode("x"));
    EXPECT_EQ(d.m.GetNodeContent(), "");
}

TEST(QelXMLInterface, HandBuiltDeepTreesSaveButAreNotCopied)
{
    QelCapture cap;
    QelMasterXMLInterface x;
    x.NewData("r", "");
    for (int i = 0; i < 50000; ++i)
        ASSERT_TRUE(x.AddAndMoveToChildNode("d"));
    EXPECT_EQ(x.SaveDataToString(), "<d/>");
    x.MoveToRootNode();
    EXPECT_GT(x.SaveDataToString().size(), 50000u * 7);
    unsigned int nSize = 0;
    std::unique_ptr<char[]> pBlock(x.SaveDataToMemory(nSize, true));
    EXPECT_TRUE(pBlock);
    // Copying recurses in libxml2: a tree this deep is refused instead of exhausting the stack.
    QelMasterXMLInterface y;
    y.NewData("c", "");
    EXPECT_FALSE(y.CopyNode(&x));
    EXPECT_EQ(cap.Errors(), 1u);
    EXPECT_EQ(y.GetNumChildNodes(), 0u);
    // Four thousand levels still copy.
    x.NewData("r", "");
    for (int i = 0; i < 4000; ++i)
        x.AddAndMoveToChildNode("d");
    x.MoveToRootNode();
    EXPECT_TRUE(y.CopyNode(&x));
}
